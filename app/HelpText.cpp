#include "app/HelpText.h"

#include "app/HelpNotes.h"
#include "app/OptionText.h"
#include "app/ProgramNotes.h"

static constexpr std::size_t kWidth = 79;
static constexpr std::size_t kTextColumn = 23;

/** Name and explanation side by side, or below each other where the name is
 *  too long for that. */
static std::string row(const std::string& name, const std::string& explanation)
{
  std::string text = "  " + name;
  if (text.size() + 1 < kTextColumn) {
    text += std::string(kTextColumn - text.size(), ' ');
  } else {
    text += "\n" + std::string(kTextColumn, ' ');
  }
  return text + wrapped(explanation, kTextColumn, kWidth) + "\n";
}

static std::string textOf(const NotesBlock& block)
{
  if (!block.areLines) {
    return wrapped(block.text, 0, kWidth) + "\n";
  }
  std::string text = block.heading.empty() ? "" : block.heading + "\n";
  std::istringstream lines(block.text);
  for (std::string line; std::getline(lines, line);) {
    text += "  " + line + "\n";
  }
  return text;
}

/** Only the examples, or everything but them. */
static std::string notesOf(const std::vector<NotesBlock>& blocks, bool areExamples)
{
  std::string text;
  for (const NotesBlock& block : blocks) {
    if (block.areExamples() == areExamples) {
      text += "\n" + textOf(block);
    }
  }
  return text;
}

static std::string filesText(const CLI::App& command)
{
  std::string text;
  for (const CLI::Option* file : filesOf(command)) {
    text += row(signatureOfFile(*file), file->get_description());
  }
  return text.empty() ? "" : "\nFiles:\n" + text;
}

static std::string commandsText(const CLI::App& program)
{
  std::string text;
  for (const CLI::App* command : commandsOf(program)) {
    text += row(command->get_name(), command->get_description());
  }
  return text.empty() ? "" : "\nCommands:\n" + text;
}

static std::string optionsText(const CLI::App& command)
{
  std::string text;
  for (const OptionGroup& group : optionGroupsOf(command)) {
    text += "\n" + group.heading + ":\n";
    for (const CLI::Option* option : group.options) {
      text += row(signatureOf(*option), option->get_description());
    }
  }
  return text;
}

std::string helpOf(const CLI::App& app)
{
  const bool isProgram = app.get_parent() == nullptr;
  const std::vector<NotesBlock> notes = blocksOf(app.get_footer());
  std::string text = wrapped(app.get_description(), 0, kWidth) + "\n\nUsage: ";
  text += isProgram ? "tov COMMAND [OPTIONS] FILE..." : synopsisOf(app);
  text += "\n" + notesOf(notes, true);
  text += isProgram ? commandsText(app) : filesText(app);
  text += optionsText(app) + notesOf(notes, false);
  return text + notesOf(blocksOf(sharedNotesOf(app)), false);
}
