#include "tests/app/Tov.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>

namespace support {

namespace {

/** The words of TOV_TEST_TOOL, a command that the program is to run under. */
std::vector<std::string> tool()
{
  const char* const words = std::getenv("TOV_TEST_TOOL");
  std::istringstream stream(words ? words : "");
  return {std::istream_iterator<std::string>(stream), {}};
}

} // namespace

Launch TovTest::launch(const std::vector<std::string>& arguments) const
{
  Launch launch{.arguments = tool(), .folder = folder.folder()};
  launch.arguments.emplace_back(TOV_PROGRAM);
  launch.arguments.insert(launch.arguments.end(), arguments.begin(), arguments.end());
  return launch;
}

Outcome TovTest::tov(const std::vector<std::string>& arguments) const
{
  return run(launch(arguments));
}

Outcome TovTest::succeed(const std::vector<std::string>& arguments) const
{
  const Outcome outcome = tov(arguments);
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  return outcome;
}

void TovTest::expectError(const std::vector<std::string>& arguments, int exitCode,
                          const std::string& sentence) const
{
  std::string command;
  for (const std::string& argument : arguments)
    command += " " + argument;
  SCOPED_TRACE(command);
  const Outcome outcome = tov(arguments);
  EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
  EXPECT_TRUE(holds(outcome.err, sentence));
  EXPECT_EQ(outcome.out, "");
  const std::vector<std::string> lines = linesOf(outcome.err);
  const std::size_t expectedLines = exitCode == 2 ? 2 : 1;
  EXPECT_EQ(lines.size(), expectedLines) << outcome.err;
  if (lines.size() == 2) {
    EXPECT_TRUE(holds(lines[1], "--help\" tells the usage"));
  }
}

void TovTest::write(const std::string& name, const IntegerSound& sound) const
{
  folder.write(name, name.ends_with(".wav") ? wavOf(sound) : aiffOf(sound));
}

IntegerSound TovTest::read(const std::string& name) const
{
  return soundOf(folder.read(name));
}

IntegerSound TovTest::mixed(std::vector<std::string> arguments) const
{
  arguments.insert(arguments.begin(), "mix");
  arguments.insert(arguments.end(), {"-o", "out.wav"});
  succeed(arguments);
  return read("out.wav");
}

std::vector<std::string> TovTest::names() const
{
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(folder.folder()))
    found.push_back(entry.path().filename().string());
  std::sort(found.begin(), found.end());
  return found;
}

testing::AssertionResult holds(const std::string& text, const std::string& part)
{
  if (text.find(part) != std::string::npos)
    return testing::AssertionSuccess();
  return testing::AssertionFailure() << "\"" << text << "\" does not hold \"" << part << "\"";
}

std::vector<std::string> linesOf(const std::string& text)
{
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

std::vector<nlohmann::json> jsonLines(const std::string& text)
{
  std::vector<nlohmann::json> objects;
  for (const std::string& line : linesOf(text))
    objects.push_back(nlohmann::json::parse(line));
  return objects;
}

double decibels(double factor)
{
  return 20.0 * std::log10(factor);
}

} // namespace support
