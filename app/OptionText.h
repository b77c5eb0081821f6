#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

// What the parsers say of their options and files: the help, the manual page
// and the completions of the shells are all made from it.

/** The options of a command in the order in which they are shown: group by
 *  group, the help last. */
struct OptionGroup {
  std::string heading;
  std::vector<const CLI::Option*> options;
};

std::vector<OptionGroup> optionGroupsOf(const CLI::App& command);

/** The files that a command takes, in their order. */
std::vector<const CLI::Option*> filesOf(const CLI::App& command);

/** The commands of a program. */
std::vector<const CLI::App*> commandsOf(const CLI::App& program);

/** "-o" and "--output", as far as it has them. */
std::vector<std::string> namesOf(const CLI::Option& option);

/** "-o, --output FILE", "--force". */
std::string signatureOf(const CLI::Option& option);

/** "FILE...", "IN", "[FOLDER]". */
std::string signatureOfFile(const CLI::Option& file);

/** "tov mix [OPTIONS] FILE..." */
std::string synopsisOf(const CLI::App& command);

/** Whether the option takes a value. */
bool takesValue(const CLI::Option& option);

/** Whether the command has an option of this name or one that takes values of
 *  this name, such as "TIME". */
bool hasOptionNamed(const CLI::App& command, const std::string& name);
bool hasValueNamed(const CLI::App& command, const std::string& valueName);
