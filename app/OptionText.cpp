#include "app/OptionText.h"

#include <algorithm>

static bool isFile(const CLI::Option& option)
{
  return !option.nonpositional();
}

std::vector<OptionGroup> optionGroupsOf(const CLI::App& command)
{
  std::vector<OptionGroup> groups;
  const CLI::Option* const help = command.get_help_ptr();
  for (const CLI::Option* option : command.get_options()) {
    if (isFile(*option) || option == help) {
      continue;
    }
    const auto isOfGroup = [&](const OptionGroup& g) { return g.heading == option->get_group(); };
    auto group = std::find_if(groups.begin(), groups.end(), isOfGroup);
    if (group == groups.end()) {
      group = groups.insert(groups.end(), {option->get_group(), {}});
    }
    group->options.push_back(option);
  }
  if (groups.empty()) {
    groups.push_back({"Options", {}});
  }
  if (help != nullptr) {
    groups.back().options.push_back(help);
  }
  return groups;
}

std::vector<const CLI::Option*> filesOf(const CLI::App& command)
{
  std::vector<const CLI::Option*> files;
  for (const CLI::Option* option : command.get_options()) {
    if (isFile(*option)) {
      files.push_back(option);
    }
  }
  return files;
}

std::vector<const CLI::App*> commandsOf(const CLI::App& program)
{
  return program.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<std::string> namesOf(const CLI::Option& option)
{
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) {
    names.push_back("-" + name);
  }
  for (const std::string& name : option.get_lnames()) {
    names.push_back("--" + name);
  }
  return names;
}

bool takesValue(const CLI::Option& option)
{
  return option.get_items_expected_max() > 0;
}

std::string signatureOf(const CLI::Option& option)
{
  std::string text;
  for (const std::string& name : namesOf(option)) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return takesValue(option) ? text + " " + option.get_type_name() : text;
}

std::string signatureOfFile(const CLI::Option& file)
{
  const std::string name = file.get_name(true) + (file.get_allow_extra_args() ? "..." : "");
  const bool hasDefault = file.get_description().find("(default") != std::string::npos;
  return hasDefault ? "[" + name + "]" : name;
}

std::string synopsisOf(const CLI::App& command)
{
  std::string text = "tov " + command.get_name() + " [OPTIONS]";
  for (const CLI::Option* file : filesOf(command)) {
    text += " " + signatureOfFile(*file);
  }
  return text;
}

bool hasOptionNamed(const CLI::App& command, const std::string& name)
{
  return command.get_option_no_throw(name) != nullptr;
}

bool hasValueNamed(const CLI::App& command, const std::string& valueName)
{
  const std::vector<const CLI::Option*> options = command.get_options();
  return std::any_of(options.begin(), options.end(), [&](const CLI::Option* option) {
    return takesValue(*option) && !isFile(*option) && option->get_type_name() == valueName;
  });
}
