// Every option that takes a time takes every form of it.
#include <cmath>
#include <set>

#include "tests/app/Help.h"

namespace {

using support::IntegerSound;

/** At 8000 samples and 24 frames per second, each the same time. */
const std::vector<std::string> kOneAndAHalf = {
    "1.5",      "+1.5",        "1.500",    "0:01.5", "00:01.500", "0:00:01.5", "00:00:01.500",
    "12000smp", "00:00:01:12", "0:0:1:12", "36f",    "+36f",      "+12000smp"};
const std::vector<std::string> kHalf = {"0.5",   "0:00.5",      "0:00:00.500",
                                        "4000smp", "00:00:00:12", "12f"};

class TimeForms : public support::HelpTest {
protected:
  TimeForms()
  {
    write("a.wav", support::randomSound(2, 24000, 8000, 16, 1, 0.4));
    write("b.wav", support::randomSound(1, 32000, 16000, 16, 2, 0.4));
  }

  /** The command with each form of the time in "TIME"'s place writes the same
   *  out.wav. */
  void expectSame(const std::vector<std::string>& command,
                  const std::vector<std::string>& forms = kOneAndAHalf) const
  {
    std::vector<std::uint8_t> first;
    for (const std::string& form : forms) {
      SCOPED_TRACE(form);
      std::vector<std::string> arguments = command;
      std::replace(arguments.begin(), arguments.end(), std::string("TIME"), form);
      succeed(arguments);
      if (first.empty())
        first = folder.read("out.wav");
      EXPECT_TRUE(folder.read("out.wav") == first);
    }
    EXPECT_GT(first.size(), 1000u);
  }

  /** Played towards the time: it stops there, however late it is looked at. */
  double positionAfter(const std::string& option, const std::string& form) const
  {
    std::vector<std::string> command = {"play", "a.wav", "--device", "null",
                                        option, form, "--json", "--mute"};
    const std::vector<std::string> otherEnd =
        option == "--to" ? std::vector<std::string>{"--from", "1.45"}
                         : std::vector<std::string>{"--to", "1.55", "--reverse"};
    command.insert(command.end(), otherEnd.begin(), otherEnd.end());
    return support::jsonLines(succeed(command).out).back()["position"].get<double>();
  }
};

TEST_F(TimeForms, AreTheSameInMix)
{
  expectSame({"mix", "a.wav", "--start", "TIME", "-o", "out.wav"});
  expectSame({"mix", "a.wav", "--end", "TIME", "-o", "out.wav"});
  expectSame({"mix", "a.wav", "--in", "TIME", "-o", "out.wav"});
  expectSame({"mix", "a.wav", "--out", "TIME", "-o", "out.wav"});
  expectSame({"mix", "a.wav", "--from", "TIME", "-o", "out.wav"});
  expectSame({"mix", "a.wav", "--to", "TIME", "-o", "out.wav"});
}

TEST_F(TimeForms, AreTheSameInConvert)
{
  for (const std::string rate : {"8000", "11025"}) {
    expectSame({"convert", "a.wav", "out.wav", "--from", "TIME", "--rate", rate});
    expectSame({"convert", "a.wav", "out.wav", "--to", "TIME", "--rate", rate});
  }
  succeed({"save", "shot.script", "a.wav"});
  expectSame({"convert", "shot.script", "out.wav", "--from", "TIME"});
  expectSame({"convert", "shot.script", "out.wav", "--to", "TIME"});
}

TEST_F(TimeForms, AreTheSameInSave)
{
  for (const std::string option : {"--start", "--end", "--in", "--out"}) {
    std::vector<std::uint8_t> first;
    for (const std::string& form : kHalf) {
      succeed({"save", "shot.script", "a.wav", option, form, "--quiet"});
      if (first.empty())
        first = folder.read("shot.script");
      EXPECT_TRUE(folder.read("shot.script") == first) << option << " " << form;
    }
  }
}

TEST_F(TimeForms, AreTheSameInPlay)
{
  for (const std::string& form : kOneAndAHalf) {
    EXPECT_NEAR(positionAfter("--from", form), 1.5, 1.0 / 44100) << form;
    EXPECT_NEAR(positionAfter("--to", form), 1.5, 1.0 / 44100) << form;
  }
}

TEST_F(TimeForms, AreAllOptionsThatTakeTimes)
{
  // Whoever adds an option with times adds it to the tables above.
  std::map<std::string, std::set<std::string>> taking;
  for (const std::string command : {"convert", "mix", "play", "save", "info", "demo"}) {
    for (const auto& [option, value] : optionsOf(command)) {
      if (value == "TIME")
        taking[command].insert(option);
    }
  }
  const std::set<std::string> ofTracks = {"--start", "--end", "--in", "--out"};
  const std::set<std::string> ofSpan = {"--from", "--to"};
  std::set<std::string> all = ofTracks;
  all.insert(ofSpan.begin(), ofSpan.end());
  EXPECT_EQ(taking, (std::map<std::string, std::set<std::string>>{
                        {"convert", ofSpan}, {"mix", all}, {"play", all}, {"save", ofTracks}}));
}

TEST_F(TimeForms, MayBeNegativeOnTheTimeline)
{
  const std::vector<std::string> forms = {"-0.5", "-0:00.5", "-00:00:00.500", "-00:00:00:12",
                                          "-12f", "-4000smp"};
  expectSame({"mix", "a.wav", "--start", "TIME", "-o", "out.wav"}, forms);
  expectSame({"mix", "a.wav", "--from", "TIME", "-o", "out.wav"}, forms);
  for (const std::string& form : forms) {
    expectError({"mix", "a.wav", "--in", form, "-o", "out.wav"}, 2, "--in: " + form + " lies before");
    expectError({"convert", "a.wav", "out.wav", "--from", form}, 2,
                "--from lies before the beginning of a.wav");
  }
}

TEST_F(TimeForms, InSamplesGoByTheRateOfTheFileWithinIt)
{
  // At the rates 8000 and 16000.
  expectSame({"mix", "a.wav", "b.wav", "--in", "TIME", "-o", "out.wav"}, {"0.5", "8000smp"});
  expectSame({"mix", "b.wav", "a.wav", "--in", "TIME", "-o", "out.wav"}, {"0.5", "4000smp"});
  expectSame({"convert", "b.wav", "out.wav", "--from", "TIME", "--rate", "8000"},
             {"0.5", "8000smp"});
}

TEST_F(TimeForms, InSamplesGoByTheRateOfTheMixOnTheTimeline)
{
  expectSame({"mix", "a.wav", "--start", "TIME", "b.wav", "-o", "out.wav"}, {"0.5", "8000smp"});
  expectSame({"mix", "a.wav", "b.wav", "--to", "TIME", "-o", "out.wav"}, {"0.5", "8000smp"});
  expectSame({"mix", "a.wav", "--end", "TIME", "b.wav", "--rate", "48000", "-o", "out.wav"},
             {"0.5", "24000smp"});
  succeed({"save", "shot.script", "b.wav"});
  expectSame({"mix", "a.wav", "--start", "TIME", "shot.script", "-o", "out.wav"},
             {"0.5", "8000smp"});
}

TEST_F(TimeForms, InFramesGoByTheFrameRateInEveryCommand)
{
  expectSame({"mix", "a.wav", "--start", "TIME", "--fps", "25", "-o", "out.wav"},
             {"2.4", "60f", "00:00:02:10"});
  expectSame({"convert", "a.wav", "out.wav", "--from", "TIME", "--fps", "25"},
             {"2.4", "60f", "00:00:02:10"});
  expectSame({"convert", "a.wav", "--fps", "30000/1001", "out.wav", "--from", "TIME"},
             {"2.002", "60f", "00:00:02:00"});
}

TEST_F(TimeForms, OfDifferentUnitsAreCompared)
{
  expectError({"mix", "a.wav", "--start", "1", "--end", "8000smp", "-o", "out.wav"}, 2,
              "--end of a.wav is not behind its --start");
  expectError({"mix", "a.wav", "--in", "8000smp", "--out", "1", "-o", "out.wav"}, 2,
              "--out of a.wav is not behind its --in");
  expectError({"mix", "a.wav", "--from", "1", "--to", "8000smp", "-o", "out.wav"}, 2,
              "--to is not behind --from");
  expectError({"convert", "a.wav", "out.wav", "--from", "1", "--to", "8000smp"}, 2,
              "--from and --to leave nothing of a.wav");
  expectError({"convert", "a.wav", "out.wav", "--from", "2", "--to", "1"}, 2,
              "--to is not behind --from");
  EXPECT_EQ(mixed({"a.wav", "--start", "1", "--end", "8001smp", "--from", "1"}).frames(), 1);
}

TEST_F(TimeForms, ThatAreNoneAreAnsweredWithAllForms)
{
  const std::vector<std::vector<std::string>> commands = {
      {"mix", "a.wav", "-o", "out.wav", "--from"},
      {"mix", "a.wav", "-o", "out.wav", "--in"},
      {"convert", "a.wav", "out.wav", "--to"},
      {"play", "a.wav", "--end"},
      {"save", "x.script", "a.wav", "--start"}};
  for (std::vector<std::string> command : commands) {
    const std::string option = command.back();
    for (const std::string text : {"smp", "1.5smp", "5s", "1:2:3:4smp", "1e3", "99999999999999smp",
                                   "--1smp", "1 smp", "10SMP", "1:60", "x"}) {
      command.back() = option + "=" + text;
      expectError(command, 2, option + ": \"" + text + "\" is no time; write seconds (1.5), "
                              "MM:SS.mmm, HH:MM:SS.mmm, samples (22050smp), frames (120f) or "
                              "timecode (HH:MM:SS:FF, at 24 frames per second)");
    }
    command.back() = option + "=01:00:00;12";
    expectError(command, 2, "drop-frame timecode, which is not supported; write HH:MM:SS:FF");
  }
}

// A part of a conversion is that part of the whole, to the last bit.
TEST_F(TimeForms, CutConversionsOutOfTheWhole)
{
  write("long.aiff", support::randomSound(2, 60000, 44100, 24, 3, 0.5));
  for (const std::vector<std::string>& options :
       {std::vector<std::string>{}, {"--rate", "48000"}, {"--bits", "16", "--dither"},
        {"--rate", "32000", "--bits", "16", "--dither", "--gain", "-3"}}) {
    std::vector<std::string> whole = {"convert", "long.aiff", "whole.aiff"};
    whole.insert(whole.end(), options.begin(), options.end());
    succeed(whole);
    const IntegerSound all = read("whole.aiff");
    std::vector<std::string> part = whole;
    part[2] = "part.aiff";
    part.insert(part.end(), {"--from", "0.25", "--to", "1.125"});
    succeed(part);
    const IntegerSound cut = read("part.aiff");
    const long long from = std::llround(0.25 * all.rate);
    ASSERT_EQ(cut.frames(), std::llround(1.125 * all.rate) - from);
    for (std::size_t c = 0; c < 2; ++c)
      EXPECT_TRUE(std::equal(cut.channels[c].begin(), cut.channels[c].end(),
                             all.channels[c].begin() + from));
  }
}

TEST_F(TimeForms, CutSamplesOf32BitsAsTheyAre)
{
  const IntegerSound exact = support::randomSound(2, 5000, 44100, 32, 4, 0.9);
  write("exact.aiff", exact);
  succeed({"convert", "exact.aiff", "part.aiff", "--from", "1000smp", "--to", "3000smp"});
  const IntegerSound cut = read("part.aiff");
  ASSERT_EQ(cut.frames(), 2000);
  for (std::size_t c = 0; c < 2; ++c)
    EXPECT_TRUE(
        std::equal(cut.channels[c].begin(), cut.channels[c].end(), exact.channels[c].begin() + 1000));
  // An end behind the file's is the file's.
  succeed({"convert", "exact.aiff", "part.aiff", "--from", "4000smp", "--to", "10"});
  EXPECT_EQ(read("part.aiff").frames(), 1000);
  expectError({"convert", "exact.aiff", "part.aiff", "--from", "5000smp"}, 2,
              "--from and --to leave nothing of exact.aiff");
}

} // namespace
