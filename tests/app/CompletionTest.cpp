// What Tab completes, in the shells themselves.
#include <filesystem>
#include <fstream>
#include <set>

#include "app/OptionChoices.h"
#include "tests/app/Help.h"

namespace {

using support::Launch;
using support::Outcome;
using Words = std::set<std::string>;

class Completion : public support::HelpTest {
protected:
  Completion()
  {
    for (const std::string name : {"drums.wav", "Bass.AIFF", "shot.script", "notes.txt", "a b.wav"})
      folder.write(name, support::Bytes());
    std::filesystem::create_directory(folder.path("sounds"));
    std::ofstream(folder.path("tov.bash")) << succeed({"completion", "bash"}).out;
  }

  /** What bash offers for the last of these words. */
  Words offered(const std::vector<std::string>& words) const
  {
    std::string line;
    for (const std::string& word : words)
      line += " '" + word + "'";
    const std::string script = "source ./tov.bash; COMP_WORDS=(" + line + "); COMP_CWORD=" +
                               std::to_string(words.size() - 1) +
                               "; _tov; for word in \"${COMPREPLY[@]}\"; do echo \"$word\"; done";
    const Outcome outcome = support::run(Launch{
        .arguments = {"bash", "--norc", "-u", "-c", script}, .folder = folder.folder()});
    EXPECT_EQ(outcome.err, "");
    Words found;
    for (const std::string& word : support::linesOf(outcome.out))
      found.insert(word);
    return found;
  }
};

TEST_F(Completion, OffersEveryCommand)
{
  const std::vector<std::string> listed = commands();
  Words all(listed.begin(), listed.end());
  all.insert({"-h", "--help", "--version"});
  EXPECT_EQ(offered({"tov", ""}), all);
  EXPECT_EQ(offered({"tov", "con"}), Words{"convert"});
  EXPECT_EQ(offered({"tov", "--v"}), Words{"--version"});
}

TEST_F(Completion, OffersEveryOptionOfEveryCommand)
{
  for (const std::string& command : commands()) {
    const Words found = offered({"tov", command, "--"});
    Words told;
    for (const auto& [option, value] : optionsOf(command))
      told.insert(option);
    EXPECT_EQ(found, told) << command;
  }
  EXPECT_EQ(offered({"tov", "mix", "drums.wav", "--ga"}), Words{"--gain"});
}

TEST_F(Completion, OffersTheValuesThatTheHelpLists)
{
  const struct {
    std::string command;
    std::string option;
    Words values;
  } lists[] = {{"mix", "--quality", {"proxy", "medium", "high", "highest"}},
               {"convert", "--bits", {"8", "16", "24", "32"}},
               {"mix", "--progress", {"auto", "text", "json", "none"}},
               {"convert", "--format", {"wav", "aiff"}},
               {"play", "--device", {"auto", "cubeb", "null"}},
               {"play", "--quality", {"proxy", "medium", "high", "highest"}},
               {"mix", "--gain", {}},
               {"mix", "--start", {}},
               {"play", "--volume", {}}};
  for (const auto& [command, option, values] : lists)
    EXPECT_EQ(offered({"tov", command, option, ""}), values) << option;
  EXPECT_EQ(offered({"tov", "mix", "--quality", "h"}), (Words{"high", "highest"}));
  // The shell takes --quality=h for three words.
  EXPECT_EQ(offered({"tov", "mix", "--quality", "=", "h"}), (Words{"high", "highest"}));
  EXPECT_EQ(offered({"tov", "mix", "--bits", "="}), (Words{"8", "16", "24", "32"}));
  EXPECT_TRUE(offered({"tov", "mix", "--rate", ""}).count("48000"));
  EXPECT_EQ(offered({"tov", "completion", ""}), (Words{"bash", "zsh"}));
}

TEST_F(Completion, OffersOnlyValuesThatAreTaken)
{
  write("in.wav", support::constantSound(1, 100, 8000, 16, 8192));
  for (const std::string option : {"--quality", "--bits", "--rate", "--progress", "--format"}) {
    for (const std::string& value : offered({"tov", "convert", option, ""}))
      EXPECT_EQ(tov({"convert", "in.wav", "out", "--format", "aiff", option, value}).exitCode, 0)
          << option << " " << value;
  }
}

TEST_F(Completion, OffersSoundFilesAndFolders)
{
  const Words sounds = {"drums.wav", "Bass.AIFF", "a b.wav", "sounds"};
  for (const std::string command : {"info", "convert", "mix", "play"})
    EXPECT_EQ(offered({"tov", command, ""}), sounds) << command;
  EXPECT_EQ(offered({"tov", "mix", "drums.wav", "--gain", "-3", "Ba"}), Words{"Bass.AIFF"});
  EXPECT_EQ(offered({"tov", "convert", "./dr"}), Words{"./drums.wav"});
}

TEST_F(Completion, OffersSessionsWhereNoSoundFileFits)
{
  EXPECT_EQ(offered({"tov", "mix", "sh"}), Words{"shot.script"});
  EXPECT_EQ(offered({"tov", "mix", "drums.wav", "--save", "sh"}), Words{"shot.script"});
  EXPECT_EQ(offered({"tov", "mix", "drums.wav", "-o", "not"}), Words{"notes.txt"});
  EXPECT_EQ(offered({"tov", "demo", "s"}), Words{"sounds"});
}

TEST_F(Completion, BelongsToTheProgramInBash)
{
  const Outcome outcome = support::run(Launch{
      .arguments = {"bash", "--norc", "-c", "source ./tov.bash; complete -p tov"},
      .folder = folder.folder()});
  EXPECT_EQ(outcome.out, "complete -F _tov tov\n");
}

TEST_F(Completion, OfZshHasEveryOptionAndIsValid)
{
  const std::string script = succeed({"completion", "zsh"}).out;
  EXPECT_TRUE(script.starts_with("#compdef tov\n"));
  for (const std::string& command : commands()) {
    const std::size_t begin = script.find("\n_tov_" + command + "()\n{");
    ASSERT_NE(begin, std::string::npos) << command;
    const std::string part = script.substr(begin, script.find("\n}\n", begin) - begin);
    for (const auto& [option, value] : optionsOf(command))
      EXPECT_TRUE(support::holds(part, "'*" + option + "[")) << command;
  }
  EXPECT_TRUE(support::holds(script, ":QUALITY:(proxy medium high highest)'"));
  std::ofstream(folder.path("_tov")) << script;
  const Outcome outcome =
      support::run(Launch{.arguments = {"zsh", "-f", "-n", "_tov"}, .folder = folder.folder()});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST(WordsListed, AreTheSingleWordsOfAList)
{
  using List = std::vector<std::string>;
  EXPECT_EQ(wordsListedIn("light or dark (default light)"), (List{"light", "dark"}));
  EXPECT_EQ(wordsListedIn("Of it: a (the first, or not), b or c (default: a); more or less"),
            (List{"a", "b", "c"}));
  EXPECT_EQ(wordsListedIn("8, 16 or 24"), (List{"8", "16", "24"}));
  for (const std::string other :
       {"", "Level in decibels, up to +18.06 (default 0)", "0 to 1, or decibels up to 0, as -6dB",
        "From -1 (left) to 1 (right), linear law (default 0)", "Where to end (default: its end)"})
    EXPECT_EQ(wordsListedIn(other), List()) << other;
}

} // namespace
