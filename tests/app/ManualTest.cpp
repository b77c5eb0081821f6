// The manual page, as man reads it.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "tests/app/Help.h"

namespace {

using support::holds;
using support::Launch;
using support::Outcome;

class Manual : public support::HelpTest {
protected:
  Manual() : page(succeed({"manual"}).out) { std::ofstream(folder.path("tov.1")) << page; }

  Outcome runHere(const std::vector<std::string>& arguments) const
  {
    return support::run(Launch{.arguments = arguments,
                               .folder = folder.folder(),
                               .settings = {"LC_ALL=C.UTF-8", "MANWIDTH=80"}});
  }

  /** The page as it is shown, without what makes letters bold. */
  std::string shown() const
  {
    const Outcome outcome = runHere(
        {"groff", "-man", "-Tutf8", "-P-c", "-P-b", "-P-u", "-P-o", "-rLL=78n", "tov.1"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    return outcome.out;
  }

  const std::string page;
};

TEST_F(Manual, GivesNoWarnings)
{
  const Outcome typeset = runHere({"groff", "-man", "-Tutf8", "-ww", "-z", "tov.1"});
  EXPECT_EQ(typeset.exitCode, 0);
  EXPECT_EQ(typeset.err, "");
  const Outcome opened =
      runHere({"man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", "./tov.1"});
  EXPECT_EQ(opened.exitCode, 0);
  EXPECT_EQ(opened.err, "");
}

TEST_F(Manual, HasItsSectionsInOrder)
{
  std::size_t position = 0;
  for (const std::string title : {"NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS", "OPTIONS", "TIMES",
                                  "STANDARD OUTPUT", "EXIT STATUS", "EXAMPLES", "FILES"}) {
    const std::size_t found = page.find("\n.SH " + title + "\n");
    ASSERT_NE(found, std::string::npos) << title;
    EXPECT_GT(found, position) << title;
    position = found;
  }
}

TEST_F(Manual, HoldsEveryOptionOfEveryCommand)
{
  const std::string text = shown();
  for (const std::string& command : commands()) {
    const std::size_t begin = text.find("\n   tov " + command + " [OPTIONS]");
    ASSERT_NE(begin, std::string::npos) << command;
    const std::string part = text.substr(begin, text.find("\n   tov ", begin + 1) - begin);
    for (const auto& [option, value] : optionsOf(command))
      EXPECT_TRUE(holds(part, option + (value.empty() ? "" : " " + value))) << command;
  }
  EXPECT_TRUE(holds(text, "--version"));
}

/** Words alone, since lines are broken elsewhere. */
std::string withoutLineEnds(const std::string& text)
{
  std::string words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;)
    words += word + " ";
  return words;
}

TEST_F(Manual, SaysWhatTheHelpSays)
{
  const std::string text = withoutLineEnds(shown());
  for (const std::string& command : commands()) {
    const std::string help = helpOf(command);
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 2) {
      end = help.find("\n\n", begin);
      const std::string paragraph = help.substr(begin, end - begin);
      const bool isProse = paragraph.find("\n  ") == std::string::npos &&
                           !paragraph.starts_with("Usage:");
      if (isProse) {
        EXPECT_TRUE(holds(text, withoutLineEnds(paragraph).substr(0, paragraph.size() - 1)))
            << command;
      }
    }
  }
}

TEST_F(Manual, ShowsExamplesLetterByLetter)
{
  const std::string text = shown();
  EXPECT_TRUE(holds(text, "tov mix drums.wav --gain -3 bass.aiff --start 1.5 voice.wav -o mix.wav"));
  EXPECT_TRUE(holds(text, "source <(tov completion bash)"));
  EXPECT_TRUE(holds(text, "tov completion zsh > ~/.zsh/completions/_tov"));
  EXPECT_TRUE(holds(text, "SetAudio(\"...\");"));
  EXPECT_TRUE(holds(text, "[ ] \\"));
}

std::string textOf(const std::filesystem::path& file)
{
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST_F(Manual, IsInstalledAsItIsPrintedAndCompletionToo)
{
  const std::filesystem::path built = std::filesystem::path(TOV_PROGRAM).parent_path();
  EXPECT_EQ(textOf(built / "tov.1"), page);
  EXPECT_EQ(textOf(built / "tov.bash"), succeed({"completion", "bash"}).out);
  EXPECT_EQ(textOf(built / "tov.zsh"), succeed({"completion", "zsh"}).out);
}

TEST_F(Manual, IsTheSameEveryTimeAndHasNoDate)
{
  EXPECT_EQ(succeed({"manual"}).out, page);
  EXPECT_TRUE(page.starts_with(".TH TOV 1 \"\" \"tov "));
}

} // namespace
