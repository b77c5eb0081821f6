// Exit codes and what is said on wrong usage.
#include "tests/app/Tov.h"

namespace {

using support::holds;
using support::Outcome;

class Usage : public support::TovTest {
protected:
  Usage() { write("a.wav", support::constantSound(1, 1000, 48000, 16, 8192)); }
};

TEST_F(Usage, HelpGoesToStandardOutputWithStatus0)
{
  for (const std::vector<std::string>& command : {std::vector<std::string>{"--help"},
                                                  {"-h"},
                                                  {"info", "--help"},
                                                  {"convert", "--help"},
                                                  {"mix", "--help"},
                                                  {"mix", "-h"}}) {
    const Outcome outcome = succeed(command);
    EXPECT_TRUE(holds(outcome.out, "Usage:"));
    EXPECT_EQ(outcome.err, "");
  }
  EXPECT_TRUE(holds(succeed({"--version"}).out, "tov "));
}

TEST_F(Usage, HelpOfMixTellsEveryOption)
{
  const std::string help = succeed({"mix", "--help"}).out;
  for (const std::string option :
       {"--gain", "--pan",       "--width",    "--start",    "--end",    "--in",
        "--out",  "--play-rate", "--channels", "--mute",     "--solo",   "--output",
        "-o",     "--rate",      "--bits",     "--quality",  "--master", "--from",
        "--to",   "--fps",       "--dither",   "--progress", "--quiet",  "--force"})
    EXPECT_TRUE(holds(help, option));
  for (const std::string form : {"HH:MM:SS.mmm", "120f", "timecode"})
    EXPECT_TRUE(holds(help, form));
}

TEST_F(Usage, WithoutACommandIsWrong)
{
  expectError({}, 2, "tov: a command is missing: info, convert, mix");
  expectError({"bla"}, 2, "there is no command \"bla\"");
  expectError({"mxi", "a.wav"}, 2, "did you mean mix?");
  expectError({"covnert", "a.wav", "b.wav"}, 2, "did you mean convert?");
}

TEST_F(Usage, AMistypedOptionIsAnsweredWithTheNearest)
{
  const struct {
    const char* typed;
    const char* meant;
  } mistakes[] = {
      {"--gian", "--gain"},          {"--gan", "--gain"},         {"--pann", "--pan"},
      {"--widht", "--width"},        {"--strat", "--start"},      {"--nd", "--end"},
      {"--playrate", "--play-rate"}, {"--chanels", "--channels"}, {"--muted", "--mute"},
      {"--slo", "--solo"},           {"--ouput", "--output"},     {"--rte", "--rate"},
      {"--bit", "--bits"},           {"--quallity", "--quality"}, {"--mastr", "--master"},
      {"--form", "--from"},          {"--fsp", "--fps"},          {"--dithre", "--dither"},
      {"--progres", "--progress"},   {"--quit", "--quiet"},       {"--forse", "--force"}};
  for (const auto& [typed, meant] : mistakes) {
    expectError({"mix", "a.wav", typed, "1", "-o", "out.wav"}, 2,
                std::string("tov mix: there is no option ") + typed + " (did you mean " + meant +
                    "?)");
  }
  expectError({"mix", "a.wav", "--gian=-3", "-o", "out.wav"}, 2, "did you mean --gain?");
  expectError({"convert", "a.wav", "b.wav", "--bist", "16"}, 2, "did you mean --bits?");
  expectError({"info", "a.wav", "--jason"}, 2, "did you mean --json?");
}

TEST_F(Usage, AnOptionLikeNoOtherIsAnsweredWithoutAGuess)
{
  const Outcome outcome = tov({"mix", "a.wav", "--xylophone", "-o", "out.wav"});
  EXPECT_EQ(outcome.exitCode, 2);
  EXPECT_TRUE(holds(outcome.err, "there is no option --xylophone"));
  EXPECT_FALSE(holds(outcome.err, "did you mean"));
}

TEST_F(Usage, AMissingValueIsNamed)
{
  expectError({"mix", "a.wav", "-o", "out.wav", "--gain"}, 2, "--gain");
  expectError({"mix", "a.wav", "-o"}, 2, "-o");
  expectError({"convert", "a.wav", "out.wav", "--bits"}, 2, "--bits");
}

TEST_F(Usage, AWrongInvocationLeavesTheOldTarget)
{
  folder.write("out.wav", support::Bytes().text("old"));
  expectError({"mix", "a.wav", "--bits", "7", "-o", "out.wav"}, 2, "--bits");
  expectError({"mix", "gone.wav", "-o", "out.wav"}, 1, "gone.wav: no such file");
  EXPECT_EQ(folder.read("out.wav"), support::Bytes().text("old").data());
  EXPECT_EQ(names(), (std::vector<std::string>{"a.wav", "out.wav"}));
}

TEST_F(Usage, AFileWhoseNameBeginsWithAMinusIsAFile)
{
  write("-a.wav", support::constantSound(1, 1000, 48000, 16, 8192));
  succeed({"mix", "-o", "out.wav", "--", "-a.wav"});
  EXPECT_EQ(read("out.wav").frames(), 1000);
  succeed({"mix", "./-a.wav", "-o", "out.wav"});
  EXPECT_EQ(read("out.wav").frames(), 1000);
}

TEST_F(Usage, OddFileNamesAreNamesLikeAnyOther)
{
  for (const std::string name : {"with blank.wav", "ümläut.wav", "a=b.wav", "quote\".wav",
                                 "50%s.wav", "#1.wav", "a,b.aiff"}) {
    SCOPED_TRACE(name);
    write(name, support::constantSound(1, 1000, 48000, 16, 8192));
    succeed({"mix", name, "-o", "out " + name});
    EXPECT_EQ(read("out " + name).frames(), 1000);
    EXPECT_TRUE(holds(succeed({"info", name}).out, name + "\n"));
    EXPECT_EQ(nlohmann::json::parse(succeed({"info", "--json", name}).out)[0]["file"], name);
  }
}

} // namespace
