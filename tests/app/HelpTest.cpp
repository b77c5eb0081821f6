// The texts that tell how the program is used, and how commands end.
#include "tests/app/Help.h"

namespace {

using support::holds;
using support::Outcome;

class Help : public support::HelpTest {};

TEST_F(Help, ListsEveryCommandWithWhatItDoes)
{
  const std::vector<std::string> found = commands();
  for (const std::string name :
       {"info", "convert", "mix", "play", "save", "demo", "completion", "manual"})
    EXPECT_EQ(std::count(found.begin(), found.end(), name), 1) << name;
}

TEST_F(Help, FitsInto79Columns)
{
  for (const std::string& command : commands()) {
    for (const std::string& line : support::linesOf(helpOf(command)))
      EXPECT_LE(line.size(), 79u) << command << ": " << line;
  }
  for (const std::string& line : support::linesOf(succeed({"--help"}).out))
    EXPECT_LE(line.size(), 79u) << line;
}

TEST_F(Help, HasUsageThenExamplesThenOptionsThenExitStatuses)
{
  for (const std::string& command : commands()) {
    SCOPED_TRACE(command);
    const std::string help = helpOf(command);
    const std::size_t usage = help.find("\nUsage: tov " + command + " [OPTIONS]");
    const std::size_t examples = help.find("\nExamples:\n  ");
    const std::size_t options = help.find("\nOptions");
    const std::size_t statuses = help.find("\nExit status:\n  0 ");
    ASSERT_NE(statuses, std::string::npos);
    EXPECT_LT(usage, examples);
    EXPECT_LT(examples, options);
    EXPECT_LT(options, statuses);
    for (const std::string number : {"\n  1 ", "\n  2 ", "\n  130 "})
      EXPECT_NE(help.find(number, statuses), std::string::npos);
  }
}

TEST_F(Help, OfACommandWithTimesTellsTheirForms)
{
  for (const std::string& command : commands()) {
    SCOPED_TRACE(command);
    const std::string help = helpOf(command);
    const bool takesTimes = help.find(" TIME ") != std::string::npos;
    EXPECT_EQ(help.find("\nTimes:\n") != std::string::npos, takesTimes);
    EXPECT_EQ(help.find("22050smp") != std::string::npos, takesTimes);
  }
  for (const std::string command : {"convert", "mix", "play", "save"})
    EXPECT_TRUE(holds(helpOf(command), "HH:MM:SS:FF"));
}

TEST_F(Help, NamesTheSameKindOfValueByTheSameOption)
{
  std::map<std::string, std::string> values;
  for (const std::string& command : commands()) {
    for (const auto& [option, value] : optionsOf(command)) {
      const auto [known, isNew] = values.emplace(option, value);
      EXPECT_EQ(known->second, value) << option << " of " << command;
    }
  }
  EXPECT_EQ(values.at("--rate"), "HZ");
  EXPECT_EQ(values.at("--from"), "TIME");
}

TEST_F(Help, OfEveryCommandThatDoesWorkOffersJson)
{
  for (const std::string command : {"info", "convert", "mix", "play", "save", "demo"})
    EXPECT_TRUE(holds(helpOf(command), "\n  --json ")) << command;
}

class Ending : public support::TovTest {
protected:
  Ending() { write("a.wav", support::constantSound(1, 1000, 48000, 16, 8192)); }
};

TEST_F(Ending, IsStatus0WhereTheCommandIsDone)
{
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"info", "a.wav"},
        {"convert", "a.wav", "b.aiff"},
        {"mix", "a.wav", "-o", "b.wav"},
        {"play", "a.wav", "--device", "null", "--quiet"},
        {"save", "b.script", "a.wav"},
        {"demo", "sounds"},
        {"completion", "bash"},
        {"completion", "zsh"},
        {"manual"}})
    succeed(arguments);
}

TEST_F(Ending, IsStatus1WhereItFails)
{
  EXPECT_EQ(tov({"info", "gone.wav"}).exitCode, 1);
  expectError({"convert", "gone.wav", "b.aiff"}, 1, "gone.wav: no such file");
  expectError({"mix", "gone.wav", "-o", "b.wav"}, 1, "gone.wav: no such file");
  expectError({"play", "gone.wav", "--device", "null"}, 1, "gone.wav: no such file");
  expectError({"save", "b.script", "gone.wav"}, 1, "gone.wav: no such file");
  expectError({"demo", "a.wav"}, 1, "a.wav: cannot be made");
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"manual"},
        {"completion", "bash"},
        {"info", "--json", "a.wav"},
        {"info", "a.wav"},
        {"convert", "a.wav", "b.aiff"},
        {"mix", "a.wav", "-o", "b.wav"},
        {"mix", "--help"},
        {"--version"}}) {
    support::Launch launched = launch(arguments);
    launched.beforeExec = support::standardOutputIs("/dev/full");
    const Outcome outcome = support::run(launched);
    EXPECT_EQ(outcome.exitCode, 1) << arguments[0];
    EXPECT_EQ(outcome.err, "standard output: could not be written\n");
  }
}

TEST_F(Ending, IsAllThatQuietLeavesOfInfo)
{
  const Outcome outcome = tov({"info", "--quiet", "a.wav", "gone.wav"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.err, "gone.wav: no such file\n");
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(succeed({"info", "--quiet", "--json", "a.wav"}).out, "");
}

TEST_F(Ending, IsStatus2WhereTheUsageIsWrong)
{
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"info"},
        {"convert", "a.wav"},
        {"mix", "a.wav"},
        {"play"},
        {"save"},
        {"demo", "one", "two"},
        {"completion"},
        {"manual", "page"}}) {
    SCOPED_TRACE(arguments[0]);
    expectError(arguments, 2, "tov " + arguments[0] + ": ");
  }
  expectError({"completion", "fish"}, 2, "there is no script for \"fish\"; write bash or zsh");
  expectError({"completion", "zhs"}, 2, "did you mean zsh?");
  expectError({"manul"}, 2, "did you mean manual?");
  expectError({"help"}, 2, "help is an option, of the program and of each command");
}

} // namespace
