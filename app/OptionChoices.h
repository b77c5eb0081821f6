#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

/** The values that an option's description lists: "high" and "low" where it
 *  tells "Of the noise: high or low (default high)"; none where it lists no
 *  single words.  So what is completed is what the help tells. */
std::vector<std::string> wordsListedIn(const std::string& description);

/** The values that can be completed for an option. */
std::vector<std::string> choicesOf(const CLI::Option& option);

/** What stands for a value or an argument. */
enum class FileChoice { none, anyFile, soundFile, folder };

FileChoice fileChoiceOf(const CLI::Option& option);

/** "wav wave aif aiff": the suffixes of sound files, between @p separator. */
std::string soundSuffixes(const std::string& separator);
