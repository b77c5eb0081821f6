// What cannot be drawn is refused in a sentence, and nothing is left behind.
#include <bit>
#include <csignal>
#include <filesystem>
#include <limits>

#include <unistd.h>

#include "tests/app/PlotTest.h"
#include "tests/app/TracedProgram.h"

namespace {

using support::Bytes;
using support::holds;
using support::TracedProgram;

class PlotRefused : public support::PlotTest {
protected:
  PlotRefused() { write("a.wav", sine(440.0, 0.5, 1.0)); }

  /** Refused, and the folder is as it was. */
  void expectRefused(std::vector<std::string> arguments, int exitCode,
                     const std::string& sentence) const
  {
    const std::vector<std::string> before = names();
    arguments.insert(arguments.begin(), "plot");
    expectError(arguments, exitCode, sentence);
    EXPECT_EQ(names(), before);
  }

  void writeFloats(const std::string& name, const std::vector<float>& samples) const
  {
    Bytes bytes;
    for (const float sample : samples)
      bytes.u32le(std::bit_cast<std::uint32_t>(sample));
    folder.write(name, support::wavFile(1, 48000, 32, bytes));
  }
};

TEST_F(PlotRefused, WhereTheCommandLineIsWrong)
{
  expectRefused({}, 2, "no file to plot was named");
  expectRefused({"a.wav"}, 2, "the file to write is missing: -o FILE");
  expectRefused({"a.wav", "-o", "a.gif"}, 2, "(.png, .svg, .pdf)");
  expectRefused({"a.wav", "-o", "a"}, 2, "has none of the suffixes that say the format");
  expectRefused({"a.wav", "-o", "a.png", "--data"}, 2, "does not end in .json");
  expectRefused({"a.wav", "-o", "a.png", "--format", "gif"}, 2, "is none of pdf, png and svg");
  for (const std::string name : {"a.svg", "a.PDF", "a.wav", "b.aiff"})
    expectRefused({"a.wav", "-o", name, "--format", "png"}, 2,
                  "--format png contradicts the name \"" + name + "\"");
  expectRefused({"a.wav", "-o", "a.png", "--view", "wavefrm"}, 2, "did you mean waveform?");
  expectRefused({"a.wav", "-o", "a.png", "--theme", "blue"}, 2, "is none of dark and light");
  expectRefused({"a.wav", "-o", "a.png", "--window", "1000"}, 2, "is no power of two");
  expectRefused({"a.wav", "-o", "a.png", "--bits", "8"}, 2, "--bits is for --data");
  expectRefused({"a.wav", "--data", "--theme", "dark"}, 2,
                "--theme is for pictures, and --data makes none");
  const support::Outcome both = tov({"plot", "a.wav", "--data", "--json"});
  EXPECT_EQ(both.exitCode, 2);
  EXPECT_TRUE(holds(both.err, "cannot both go to standard output"));
  expectRefused({"a.wav", "-o", "a.png", "--sise", "900"}, 2, "did you mean --size?");
}

TEST_F(PlotRefused, WhereTheSizeIsAbsurd)
{
  for (const std::string width : {"20", "399", "16001", "1000000000000", "-5"}) {
    for (const char* height : {"", "x700"})
      expectRefused({"a.wav", "-o", "a.png", "--size", width + height}, 2,
                    "the width of --size: " + width + " is outside 400 to 16000");
  }
  for (const char* size : {"12.5", "", "x", "900x", "x900", "900x400x2", "900 x 400", "900X400"})
    expectRefused({"a.wav", "-o", "a.png", "--size", size}, 2, "is no size");
  for (const std::string height : {"0", "59", "20000", "-1"})
    expectRefused({"a.wav", "-o", "a.png", "--size", "900x" + height}, 2,
                  "the height of --size: " + height + " is outside 60 to 16000");
  expectRefused({"a.wav", "-o", "a.png", "--size", "900x80"}, 2, "is too little for this picture");
  for (const char* view : {"both", "mix"})
    expectRefused({"a.wav", "-o", "a.png", "--view", view, "--size", "400", "--text-size", "72"}, 2,
                  "--text-size leaves too little");
  write("wide.wav", support::randomSound(300, 10, 48000, 16, 1));
  expectRefused({"wide.wav", "-o", "a.png", "--size", "1280x1000"}, 2,
                "is too little for this picture");
  expectRefused({"a.wav", "--data", "--samples-per-pixel", "0"}, 2, "is outside 1 to 1e+09");
}

TEST_F(PlotRefused, WhereItWouldReplaceWhatItDraws)
{
  std::filesystem::copy(folder.path("a.wav"), folder.path("sound"));
  const std::vector<std::uint8_t> sound = folder.read("sound");
  succeed({"save", "shot.script", "a.wav"});
  expectRefused({"sound", "-o", "sound", "--format", "png"}, 2, "is a file to be drawn");
  expectRefused({"a.wav", "sound", "-o", "./sound", "--format", "svg"}, 2,
                "is a file to be drawn");
  expectRefused({"a.wav", "shot.script", "-o", "shot.script", "--format", "png"}, 2,
                "is a file to be drawn");
  EXPECT_EQ(folder.read("sound"), sound);
}

// The first file that is opened would take its place: the picture itself.
TEST_F(PlotRefused, WhereStandardOutputIsNotOpen)
{
  const auto withoutOutput = [this](const std::vector<std::string>& command) {
    support::Launch launched = launch(command);
    launched.beforeExec = [] { ::close(1); };
    const support::Outcome outcome = support::run(launched);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(holds(outcome.err, "standard output: could not be written"));
  };
  withoutOutput({"plot", "a.wav", "-o", "-"});
  withoutOutput({"plot", "a.wav", "--data"});
  withoutOutput({"plot", "a.wav", "-o", "told.png", "--json"});
  succeed({"plot", "a.wav", "-o", "whole.png"});
  EXPECT_EQ(folder.read("told.png"), folder.read("whole.png"));
}

TEST_F(PlotRefused, WhereTheTimesHoldNothing)
{
  expectRefused({"a.wav", "-o", "a.png", "--from", "1"}, 2, "--from is not before the end");
  expectRefused({"a.wav", "-o", "a.png", "--from", "0.5", "--to", "0.5"}, 2,
                "--to is not behind --from");
  expectRefused({"a.wav", "-o", "a.png", "--to", "-1"}, 2, "--to is not behind");
  expectRefused({"a.wav", "-o", "a.png", "--from", "-0.25"}, 2,
                "--from lies before the beginning of a.wav");
}

TEST_F(PlotRefused, WhereTheInputCannotBeRead)
{
  expectRefused({"gone.wav", "-o", "a.png"}, 1, "gone.wav: no such file");
  folder.write("empty.wav", Bytes());
  expectRefused({"empty.wav", "-o", "a.png"}, 1, "empty.wav: ");
  folder.write("none.wav", support::wavFile(2, 48000, 16, Bytes()));
  expectRefused({"none.wav", "-o", "a.png"}, 1, "none.wav: ");
  std::filesystem::create_directory(folder.path("folder.wav"));
  expectRefused({"folder.wav", "-o", "a.png"}, 1, "folder.wav: ");
}

TEST_F(PlotRefused, WhereTheOutputCannotBe)
{
  expectRefused({"a.wav", "-o", "nowhere/a.png"}, 1, "the folder \"nowhere\" cannot be used");
  std::filesystem::create_directory(folder.path("a.png"));
  expectRefused({"a.wav", "-o", "a.png"}, 1, "a.png: is a folder");
}

TEST_F(PlotRefused, WhereSamplesAreNoNumbersUnlessForced)
{
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinite = std::numeric_limits<float>::infinity();
  std::vector<float> samples(48000, 0.25f * 32768.0f);
  samples[30000] = nan;
  samples[30001] = infinite;
  samples[30002] = -infinite;
  writeFloats("nan.wav", samples);
  const support::Outcome outcome = tov({"plot", "nan.wav", "-o", "a.png"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_TRUE(holds(outcome.err, "not numbers"));
  EXPECT_FALSE(std::filesystem::exists(folder.path("a.png")));
  for (const std::string view : {"both", "mix", "spectrogram"}) {
    for (const std::string scale : {"linear", "db"})
      EXPECT_EQ(drawn({"nan.wav", "--force", "--view", view, "--amplitude", scale}).width(), 1280);
  }
  succeed({"plot", "nan.wav", "--force", "--data", "-o", "a.json"});
}

TEST_F(PlotRefused, InterruptedItLeavesTheOldTarget)
{
  folder.write("old.png", Bytes().text("old"));
  write("long.wav", support::randomSound(2, 400000, 48000, 16, 2));
  const std::vector<std::string> before = names();
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"plot", "long.wav", "-o", "old.png"},
        {"plot", "long.wav", "long.wav", "-o", "old.png"}}) {
    TracedProgram program(launch(command));
    program.runUntil([&] { return names() != before; });
    EXPECT_EQ(program.release(SIGINT).exitCode, 130);
    EXPECT_EQ(names(), before);
    EXPECT_EQ(folder.read("old.png").size(), 3u);
  }
}

} // namespace
