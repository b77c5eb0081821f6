#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "tests/app/Tov.h"

namespace support {

/** Reads the program's help as people do. */
class HelpTest : public TovTest {
protected:
  std::string helpOf(const std::string& command) const { return succeed({command, "--help"}).out; }

  /** The commands that the program's help lists. */
  std::vector<std::string> commands() const
  {
    const std::string help = succeed({"--help"}).out;
    const std::size_t begin = help.find("\nCommands:\n");
    const std::string list = help.substr(begin, help.find("\n\n", begin) - begin);
    static const std::regex row("\n  ([a-z]+) ");
    std::vector<std::string> names;
    for (std::sregex_iterator found(list.begin(), list.end(), row), end; found != end; ++found)
      names.push_back((*found)[1]);
    EXPECT_GE(names.size(), 8u);
    return names;
  }

  /** The long options of a command, each with the name of its value, which is
   *  empty for a switch. */
  std::map<std::string, std::string> optionsOf(const std::string& command) const
  {
    const std::string help = helpOf(command);
    static const std::regex row("\n  (?:-[a-z], )?(--[a-z-]+)(?: ([A-Z][A-Z=,]*))?(?=[ \n])");
    std::map<std::string, std::string> options;
    for (std::sregex_iterator found(help.begin(), help.end(), row), end; found != end; ++found)
      options[(*found)[1]] = (*found)[2];
    return options;
  }
};

/** For a child: its standard output is this file. */
inline std::function<void()> standardOutputIs(const std::string& path)
{
  return [path] { ::dup2(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), 1); };
}

} // namespace support
