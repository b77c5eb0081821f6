#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

/** One line of a command's table of options. */
struct OptionRow {
  const char* names;     ///< as "-o,--output"
  const char* valueName; ///< null for a switch
  const char* group;     ///< heading in the help
  const char* description;
};

/** One thing the user wrote, in the order written. */
struct Argument {
  std::string option; ///< its long name with dashes; empty for a file
  std::string value;  ///< the option's value or the file's name

  bool isFile() const { return option.empty(); }
};

/** What a command takes beside its options. */
struct FileRow {
  const char* name; ///< in the help
  const char* description;
  bool isList; ///< any number of them
};

/** Adds options and files to a command. */
void declareArguments(CLI::App& command, const std::vector<OptionRow>& options,
                      const std::vector<FileRow>& files);

/** What the command was given, in order.  Throws UsageError, with the nearest
 *  option, for one that it does not have. */
std::vector<Argument> argumentsInOrder(const CLI::App& command);

/** Long and short names of all options of a command, with dashes. */
std::vector<std::string> optionNamesOf(const CLI::App& command);
