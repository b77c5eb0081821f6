#include "app/CommandLine.h"

#include <map>

#include "app/Failures.h"
#include "app/Suggestion.h"

static void declareOption(CLI::App& command, const OptionRow& row)
{
  if (row.valueName == nullptr) {
    command.add_flag(row.names, row.description)
        ->group(row.group)
        ->disable_flag_override()
        ->take_all();
  } else {
    command.add_option(row.names, CLI::callback_t(), row.description)
        ->group(row.group)
        ->type_name(row.valueName)
        ->take_all();
  }
}

static void declareFile(CLI::App& command, const FileRow& row)
{
  CLI::Option* file = command.add_option(row.name, CLI::callback_t(), row.description);
  file->type_name("")->take_all();
  if (row.isList) {
    file->allow_extra_args();
  }
}

void declareArguments(CLI::App& command, const std::vector<OptionRow>& options,
                      const std::vector<FileRow>& files)
{
  // Unknown options are left over and reported by argumentsInOrder(), which
  // knows what to suggest.
  command.allow_extras();
  for (const OptionRow& row : options) {
    declareOption(command, row);
  }
  for (const FileRow& row : files) {
    declareFile(command, row);
  }
}

std::vector<std::string> optionNamesOf(const CLI::App& command)
{
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names.push_back("--" + name);
    }
    for (const std::string& name : option->get_snames()) {
      names.push_back("-" + name);
    }
  }
  return names;
}

static void rejectLeftOver(const CLI::App& command)
{
  std::vector<std::string> leftOver = command.remaining();
  // What only separates files from options is no argument.
  std::erase(leftOver, "--");
  if (leftOver.empty()) {
    return;
  }
  if (leftOver.front().empty() || leftOver.front().front() != '-') {
    throw UsageError("\"" + leftOver.front() + "\" is more than the command takes");
  }
  const std::string option = leftOver.front().substr(0, leftOver.front().find('='));
  throw UsageError("there is no option " + option + suggestion(option, optionNamesOf(command)));
}

std::vector<Argument> argumentsInOrder(const CLI::App& command)
{
  rejectLeftOver(command);
  std::vector<Argument> arguments;
  std::map<const CLI::Option*, std::size_t> taken;
  for (const CLI::Option* option : command.parse_order()) {
    const std::string& value = option->results().at(taken[option]++);
    const bool isFile = option->get_lnames().empty();
    if (isFile && value.empty()) {
      throw UsageError("the name of a file is empty");
    }
    arguments.push_back({isFile ? std::string() : "--" + option->get_lnames().front(), value});
  }
  return arguments;
}
