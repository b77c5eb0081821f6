#include "app/Completion.h"

#include <algorithm>

#include "app/OptionChoices.h"
#include "app/OptionText.h"

/** In single quotes for the shell, with what means something to _arguments
 *  behind a backslash. */
static std::string escaped(const std::string& text)
{
  std::string result;
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
    } else {
      result += (c == '[' || c == ']' || c == ':' || c == '\\') ? std::string("\\") + c
                                                                : std::string(1, c);
    }
  }
  return result;
}

/** The beginning of a description, as far as a list of options shows it. */
static std::string briefly(const std::string& description)
{
  std::size_t end = description.size();
  for (const char* mark : {" (", ";", ": "}) {
    end = std::min(end, description.find(mark));
  }
  return escaped(description.substr(0, end));
}

static std::string completerOf(const CLI::Option& option)
{
  std::string words;
  for (const std::string& choice : choicesOf(option)) {
    words += (words.empty() ? "" : " ") + choice;
  }
  if (!words.empty()) {
    return "(" + words + ")";
  }
  switch (fileChoiceOf(option)) {
  case FileChoice::anyFile:
    return "_files";
  case FileChoice::soundFile:
    return "_files -g \"*.(" + soundSuffixes("|") + ")\"";
  case FileChoice::folder:
    return "_files -/";
  case FileChoice::none:
    break;
  }
  return " ";
}

static std::string optionArguments(const CLI::App& command)
{
  std::string text;
  for (const OptionGroup& group : optionGroupsOf(command)) {
    for (const CLI::Option* option : group.options) {
      const std::string value =
          takesValue(*option) ? ":" + escaped(option->get_type_name()) + ":" + completerOf(*option)
                              : "";
      for (const std::string& name : namesOf(*option)) {
        text.append(" \\\n    '*").append(name).append("[");
        text.append(briefly(option->get_description())).append("]").append(value).append("'");
      }
    }
  }
  return text;
}

static std::string operandArguments(const CLI::App& command)
{
  std::string text;
  for (const CLI::Option* file : filesOf(command)) {
    text += std::string(" \\\n    '") + (file->get_allow_extra_args() ? "*" : "") + ":" +
            escaped(file->get_name(true)) + ":" + completerOf(*file) + "'";
  }
  return text;
}

static std::string functionOf(const CLI::App& command)
{
  return "_tov_" + command.get_name() + "()\n{\n  _arguments" + optionArguments(command) +
         operandArguments(command) + "\n}\n\n";
}

std::string zshCompletionOf(const CLI::App& program)
{
  std::string functions;
  std::string descriptions;
  for (const CLI::App* command : commandsOf(program)) {
    functions += functionOf(*command);
    descriptions +=
        "        '" + command->get_name() + ":" + escaped(command->get_description()) + "'\n";
  }
  return "#compdef tov\n# zsh completion for tov; printed by \"tov completion zsh\".\n\n" +
         functions +
         "_tov()\n{\n  local curcontext=\"$curcontext\" state line\n  typeset -A opt_args\n"
         "  _arguments -C" +
         optionArguments(program) +
         " \\\n    '1:command:->command' \\\n    '*::argument:->argument'\n"
         "  case $state in\n    command)\n      local -a commands\n      commands=(\n" +
         descriptions +
         "      )\n      _describe command commands\n      ;;\n"
         "    argument) (( $+functions[_tov_$words[1]] )) && _tov_$words[1] ;;\n"
         "  esac\n}\n\n_tov \"$@\"\n";
}
