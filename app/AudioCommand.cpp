#include "app/AudioCommand.h"

#include <cstring>

#include "core/TovScript.h"

namespace {

/** Goes over a script's text, command by command, string by string. */
class ScriptScanner {
public:
  explicit ScriptScanner(const std::string& script) : text(script) {}

  bool isAtEnd() const { return position >= text.size(); }
  std::size_t getPosition() const { return position; }
  void skipCharacter() { ++position; }
  void skipBlanksAndComments();
  bool take(char expected);
  std::optional<std::string> takeString();
  std::string takeWord();

private:
  bool stands(const char* mark) const
  {
    return text.compare(position, std::strlen(mark), mark) == 0;
  }
  bool isFirstOfLine() const;
  void skipBehind(const char* mark);

  const std::string& text;
  std::size_t position = 0;
};

bool isBlank(char c)
{
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isWordPart(char c)
{
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

char unescaped(char c)
{
  switch (c) {
  case 'n':
    return '\n';
  case 't':
    return '\t';
  default:
    return c;
  }
}

void ScriptScanner::skipBlanksAndComments()
{
  while (!isAtEnd()) {
    if (stands("//") || (stands("#") && isFirstOfLine())) {
      skipBehind("\n");
    } else if (stands("/*")) {
      position += 2;
      skipBehind("*/");
    } else if (isBlank(text[position])) {
      ++position;
    } else {
      return;
    }
  }
}

bool ScriptScanner::take(char expected)
{
  skipBlanksAndComments();
  if (isAtEnd() || text[position] != expected) {
    return false;
  }
  ++position;
  return true;
}

/** The contents of the string that begins here; nothing where none begins, or
 *  where it does not end before the script does. */
std::optional<std::string> ScriptScanner::takeString()
{
  if (!take('"')) {
    return std::nullopt;
  }
  std::string contents;
  while (!isAtEnd()) {
    const char c = text[position++];
    if (c == '"') {
      return contents;
    }
    contents += c == '\\' && !isAtEnd() ? unescaped(text[position++]) : c;
  }
  return std::nullopt;
}

std::string ScriptScanner::takeWord()
{
  const std::size_t begin = position;
  while (!isAtEnd() && isWordPart(text[position])) {
    ++position;
  }
  return text.substr(begin, position - begin);
}

bool ScriptScanner::isFirstOfLine() const
{
  std::size_t i = position;
  while (i > 0 && (text[i - 1] == ' ' || text[i - 1] == '\t')) {
    --i;
  }
  return i == 0 || text[i - 1] == '\n';
}

void ScriptScanner::skipBehind(const char* mark)
{
  const std::size_t found = text.find(mark, position);
  position = found == std::string::npos ? text.size() : found + std::strlen(mark);
}

} // namespace

std::optional<AudioCommand> findAudioCommand(const std::string& script)
{
  ScriptScanner scanner(script);
  for (;;) {
    scanner.skipBlanksAndComments();
    if (scanner.isAtEnd()) {
      return std::nullopt;
    }
    const std::size_t begin = scanner.getPosition();
    const std::string word = scanner.takeWord();
    if (word == TovScript::_audioLoadCmd) {
      if (scanner.take('(')) {
        const std::optional<std::string> argument = scanner.takeString();
        if (scanner.take(')')) {
          return AudioCommand{begin, scanner.getPosition(), argument};
        }
      }
    } else if (word.empty() && !scanner.takeString()) {
      if (scanner.isAtEnd()) {
        return std::nullopt;
      }
      scanner.skipCharacter();
    }
  }
}
