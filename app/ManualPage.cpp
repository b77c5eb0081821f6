#include "app/ManualPage.h"

#include <cctype>
#include <sstream>

#include "app/HelpNotes.h"
#include "app/OptionText.h"
#include "app/ProgramNotes.h"

/** Text for a line of its own, with what means something to man escaped. */
static std::string escaped(const std::string& text)
{
  std::string result = text.rfind('.', 0) == 0 || text.rfind('\'', 0) == 0 ? "\\&" : "";
  for (const char c : text) {
    switch (c) {
    case '\\':
      result += "\\e";
      break;
    case '-':
      result += "\\-";
      break;
    case '~':
      result += "\\(ti";
      break;
    case '^':
      result += "\\(ha";
      break;
    case '\'':
      result += "\\(aq";
      break;
    case '`':
      result += "\\(ga";
      break;
    default:
      result += c;
    }
  }
  return result;
}

static std::string section(const std::string& title)
{
  return ".SH " + title + "\n";
}

static std::string paragraph(const std::string& text)
{
  return ".PP\n" + escaped(text) + "\n";
}

/** "-o, --output FILE": the names stand out, and so does what is to be put in
 *  the value's place. */
static std::string emphasized(const CLI::Option& option)
{
  std::string text;
  for (const std::string& name : namesOf(option)) {
    text += (text.empty() ? "\\fB" : ", \\fB") + escaped(name) + "\\fR";
  }
  return takesValue(option) ? text + " \\fI" + escaped(option.get_type_name()) + "\\fR" : text;
}

static std::string entry(const std::string& name, const std::string& explanation)
{
  return ".TP\n" + name + "\n" + escaped(explanation) + "\n";
}

static std::string linesText(const std::string& text)
{
  std::string result = ".RS 4\n.nf\n";
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    result += escaped(line) + "\n";
  }
  return result + ".fi\n.RE\n";
}

static std::string textOf(const NotesBlock& block)
{
  if (!block.areLines) {
    return paragraph(block.text);
  }
  return (block.heading.empty() ? ".PP\n" : paragraph(block.heading)) + linesText(block.text);
}

static std::string notesText(const std::string& notes)
{
  std::string text;
  for (const NotesBlock& block : blocksOf(notes)) {
    text += textOf(block);
  }
  return text;
}

/** Notes whose heading is that of a section. */
static std::string sectionOf(const std::string& title, const std::string& notes)
{
  std::string text = section(title);
  for (const NotesBlock& block : blocksOf(notes)) {
    text += block.areLines ? ".PP\n" + linesText(block.text) : paragraph(block.text);
  }
  return text;
}

/** Only the examples, or everything but them. */
static std::string selectedNotes(const std::string& notes, bool areExamples)
{
  std::string text;
  for (const NotesBlock& block : blocksOf(notes)) {
    if (block.areExamples() == areExamples) {
      text += areExamples ? ".PP\n" + linesText(block.text) : textOf(block);
    }
  }
  return text;
}

static std::string optionsText(const CLI::App& command)
{
  std::string text;
  for (const OptionGroup& group : optionGroupsOf(command)) {
    text += paragraph(group.heading + ":");
    for (const CLI::Option* option : group.options) {
      text += entry(emphasized(*option), option->get_description());
    }
  }
  return text;
}

static std::string commandText(const CLI::App& command)
{
  std::string text = ".SS " + escaped(synopsisOf(command)) + "\n";
  text += escaped(command.get_description() + ".") + "\n";
  for (const CLI::Option* file : filesOf(command)) {
    text += entry("\\fI" + escaped(signatureOfFile(*file)) + "\\fR", file->get_description());
  }
  return text + optionsText(command) + notesText(command.get_footer());
}

static std::string header(const CLI::App& program)
{
  std::string name = program.get_description();
  name.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(name.front())));
  if (name.back() == '.') {
    name.pop_back();
  }
  // No date: the same sources give the same page.
  return ".TH TOV 1 \"\" \"" + escaped(program.version()) +
         "\" \"User Commands\"\n.nh\n.ad l\n.SH NAME\ntov \\- " + escaped(name) + "\n";
}

static std::string synopses(const CLI::App& program)
{
  std::string text = section("SYNOPSIS") + ".nf\n";
  for (const CLI::App* command : commandsOf(program)) {
    text += escaped(synopsisOf(*command)) + "\n";
  }
  return text + ".fi\n";
}

std::string manualPageOf(const CLI::App& program)
{
  std::string text = header(program) + synopses(program) + section("DESCRIPTION");
  text += selectedNotes(program.get_footer(), false) + section("COMMANDS");
  for (const CLI::App* command : commandsOf(program)) {
    text += commandText(*command);
  }
  text += section("OPTIONS") + optionsText(program);
  text += sectionOf("TIMES", kTimeNotes);
  text += sectionOf("STANDARD OUTPUT", std::string(kStandardOutputNotes) + "\n" + kJsonNotes);
  text += sectionOf("EXIT STATUS", kExitNotes);
  text += section("EXAMPLES") + selectedNotes(program.get_footer(), true);
  return text + sectionOf("FILES", kFileNotes);
}
