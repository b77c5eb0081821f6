#include "bench/Child.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <stdexcept>

namespace {

std::string quoted(const std::string& word)
{
  std::string text = "'";
  for (const char c : word)
    if (c == '\'')
      text.append("'\\''");
    else
      text.push_back(c);
  text.push_back('\'');
  return text;
}

std::string outputOf(const std::string& command)
{
  std::FILE* const pipe = popen(command.c_str(), "r");
  if (!pipe)
    throw std::runtime_error("no process for " + command);
  std::string text;
  std::array<char, 256> piece{};
  while (std::fgets(piece.data(), piece.size(), pipe))
    text += piece.data();
  if (pclose(pipe) != 0)
    throw std::runtime_error(command + " failed\n" + text);
  return text;
}

} // namespace

ChildUsage runChild(const std::vector<std::string>& command, const std::string& kernels)
{
  const std::filesystem::path here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  std::string line;
  if (!kernels.empty())
    line.append("TOV_KERNELS=").append(kernels).append(" ");
  line.append(quoted((here / "usage-of-command").string()));
  for (const std::string& word : command)
    line.append(" ").append(quoted(word));

  // The usage is the last line, behind what the program may have said.
  std::istringstream lines(outputOf(line));
  std::string last;
  while (std::getline(lines, line))
    last = line;
  ChildUsage usage{};
  std::istringstream(last) >> usage.seconds >> usage.peakKiB;
  return usage;
}
