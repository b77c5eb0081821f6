#include "app/HelpNotes.h"

#include <sstream>

static bool isIndented(const std::string& line)
{
  return line.rfind("  ", 0) == 0;
}

static bool isHeading(const std::string& line)
{
  return !line.empty() && !isIndented(line) && line.back() == ':';
}

static void addLine(NotesBlock& block, const std::string& line)
{
  if (isIndented(line)) {
    block.areLines = true;
    block.text += line.substr(2) + "\n";
  } else {
    block.text += (block.text.empty() ? "" : " ") + line;
  }
}

std::vector<NotesBlock> blocksOf(const std::string& notes)
{
  std::vector<NotesBlock> blocks;
  std::istringstream stream(notes);
  std::string heading;
  bool isOpen = false;
  for (std::string line; std::getline(stream, line);) {
    if (line.empty()) {
      isOpen = false;
      continue;
    }
    if (isHeading(line) && stream.peek() == ' ') {
      heading = line;
      isOpen = false;
      continue;
    }
    if (!isOpen || blocks.back().areLines != isIndented(line)) {
      blocks.push_back({heading, "", false});
      heading.clear();
      isOpen = true;
    }
    addLine(blocks.back(), line);
  }
  return blocks;
}

std::string wrapped(const std::string& text, std::size_t indent, std::size_t width)
{
  std::string lines;
  std::size_t column = indent;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) {
    const bool isFirst = lines.empty();
    if (!isFirst && column + 1 + word.size() > width) {
      lines += '\n';
      lines.append(indent, ' ');
      column = indent;
    } else if (!isFirst) {
      lines += ' ';
      ++column;
    }
    lines += word;
    column += word.size();
  }
  return lines;
}
