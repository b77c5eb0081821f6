#include <cmath>
#include <numbers>

#include "tests/app/Tov.h"

namespace {

using nlohmann::json;
using support::decibels;
using support::holds;
using support::IntegerSound;
using support::Outcome;

class Info : public support::TovTest {
protected:
  /** The objects of "info --json". */
  json described(std::vector<std::string> files) const
  {
    files.insert(files.begin(), {"info", "--json"});
    return json::parse(succeed(files).out);
  }
};

TEST_F(Info, TellsFormatRateChannelsFramesAndDuration)
{
  write("a.wav", support::randomSound(3, 22050, 44100, 24, 1));
  const Outcome outcome = succeed({"info", "a.wav"});
  const std::vector<std::string> lines = support::linesOf(outcome.out);
  ASSERT_EQ(lines.size(), 10u);
  EXPECT_EQ(lines[0], "a.wav");
  EXPECT_EQ(lines[1], "  format    WAV, 24-bit signed integer");
  EXPECT_EQ(lines[2], "  rate      44100 Hz");
  EXPECT_EQ(lines[3], "  channels  3");
  EXPECT_EQ(lines[4], "  frames    22050");
  EXPECT_EQ(lines[5], "  duration  0:00.500");
  EXPECT_EQ(lines[9], "  reader    the library's WAV reader");
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Info, TellsPeakAndRmsOfEachChannel)
{
  // Half of full scale throughout; full scale of changing sign; silence.
  IntegerSound sound = support::constantSound(3, 1000, 8000, 16, 16384);
  for (std::size_t i = 0; i < 1000; ++i)
    sound.channels[1][i] = i % 2 == 0 ? -32768 : 16384;
  sound.channels[2].assign(1000, 0);
  write("a.aiff", sound);
  const std::vector<std::string> lines = support::linesOf(succeed({"info", "a.aiff"}).out);
  ASSERT_EQ(lines.size(), 10u);
  EXPECT_EQ(lines[6], "  level 1   peak -6.02 dBFS, RMS -6.02 dBFS");
  EXPECT_EQ(lines[7], "  level 2   peak 0.00 dBFS, RMS -2.04 dBFS");
  EXPECT_EQ(lines[8], "  level 3   peak -inf dBFS, RMS -inf dBFS");
}

TEST_F(Info, JsonHoldsTheSameAsNumbers)
{
  IntegerSound sound = support::constantSound(2, 48000, 48000, 16, 0);
  double sum = 0.0;
  for (std::size_t i = 0; i < 48000; ++i) {
    const double sine = std::sin(2.0 * std::numbers::pi * 1000.0 * static_cast<double>(i) / 48000);
    sound.channels[0][i] = static_cast<std::int32_t>(std::lround(32767.0 * sine));
    sum += std::pow(sound.channels[0][i] / 32768.0, 2.0);
  }
  write("a.wav", sound);
  const json info = described({"a.wav"});
  ASSERT_EQ(info.size(), 1u);
  EXPECT_EQ(info[0]["file"], "a.wav");
  EXPECT_EQ(info[0]["format"], "WAV");
  EXPECT_EQ(info[0]["encoding"], "16-bit signed integer");
  EXPECT_EQ(info[0]["bits"], 16);
  EXPECT_EQ(info[0]["sampleRate"], 48000);
  EXPECT_EQ(info[0]["channels"], 2);
  EXPECT_EQ(info[0]["frames"], 48000);
  EXPECT_EQ(info[0]["seconds"], 1.0);
  ASSERT_EQ(info[0]["peakDbfs"].size(), 2u);
  ASSERT_EQ(info[0]["rmsDbfs"].size(), 2u);
  EXPECT_NEAR(info[0]["peakDbfs"][0].get<double>(), decibels(32767.0 / 32768.0), 1e-9);
  EXPECT_NEAR(info[0]["rmsDbfs"][0].get<double>(), 10.0 * std::log10(sum / 48000.0), 1e-9);
  EXPECT_NEAR(info[0]["rmsDbfs"][0].get<double>(), -3.01, 0.01);
  EXPECT_TRUE(info[0]["peakDbfs"][1].is_null());
  EXPECT_TRUE(info[0]["rmsDbfs"][1].is_null());
}

TEST_F(Info, KnowsEveryFormatAndSize)
{
  for (const int bits : {8, 16, 24, 32}) {
    const std::string suffix = std::to_string(bits);
    const IntegerSound sound = support::constantSound(1, 100, 44100, bits, 1 << (bits - 3));
    write(suffix + ".aiff", sound);
    if (bits < 32)
      write(suffix + ".wav", sound);
  }
  const json info =
      described({"8.wav", "16.wav", "24.wav", "8.aiff", "16.aiff", "24.aiff", "32.aiff"});
  ASSERT_EQ(info.size(), 7u);
  const char* const encodings[] = {"8-bit unsigned integer", "16-bit signed integer",
                                   "24-bit signed integer",  "8-bit signed integer",
                                   "16-bit signed integer",  "24-bit signed integer",
                                   "32-bit signed integer"};
  for (std::size_t i = 0; i < 7; ++i) {
    SCOPED_TRACE(info[i]["file"].get<std::string>());
    EXPECT_EQ(info[i]["format"], i < 3 ? "WAV" : "AIFF");
    EXPECT_EQ(info[i]["encoding"], encodings[i]);
    EXPECT_NEAR(info[i]["peakDbfs"][0].get<double>(), decibels(0.25), 1e-9);
    EXPECT_NEAR(info[i]["rmsDbfs"][0].get<double>(), decibels(0.25), 1e-9);
  }
}

TEST_F(Info, FindsAPeakAnywhereInALongFile)
{
  IntegerSound sound = support::constantSound(2, 100000, 8000, 16, 0);
  sound.channels[1][99999] = 8192;
  write("a.wav", sound);
  const json info = described({"a.wav"});
  EXPECT_NEAR(info[0]["peakDbfs"][1].get<double>(), decibels(0.25), 1e-9);
  EXPECT_NEAR(info[0]["rmsDbfs"][1].get<double>(), 20.0 * std::log10(0.25 / std::sqrt(1e5)), 1e-9);
}

TEST_F(Info, OfAFileWithoutFramesIsTold)
{
  write("a.wav", support::constantSound(2, 0, 8000, 16, 0));
  const json info = described({"a.wav"});
  EXPECT_EQ(info[0]["frames"], 0);
  EXPECT_EQ(info[0]["seconds"], 0.0);
  EXPECT_TRUE(info[0]["peakDbfs"][0].is_null());
  EXPECT_TRUE(info[0]["rmsDbfs"][0].is_null());
}

TEST_F(Info, ShowsTheOtherFilesWhereOneCannotBeRead)
{
  write("a.wav", support::constantSound(1, 10, 8000, 16, 5));
  write("b.wav", support::constantSound(1, 20, 8000, 16, 5));
  const Outcome text = tov({"info", "a.wav", "gone.wav", "b.wav"});
  EXPECT_EQ(text.exitCode, 1);
  EXPECT_EQ(text.err, "gone.wav: no such file\n");
  EXPECT_TRUE(holds(text.out, "a.wav\n"));
  EXPECT_TRUE(holds(text.out, "b.wav\n"));
  const Outcome asJson = tov({"info", "a.wav", "gone.wav", "b.wav", "--json"});
  EXPECT_EQ(asJson.exitCode, 1);
  EXPECT_EQ(asJson.err, "gone.wav: no such file\n");
  const json info = json::parse(asJson.out);
  ASSERT_EQ(info.size(), 3u);
  EXPECT_EQ(info[0]["frames"], 10);
  EXPECT_EQ(info[1], (json{{"file", "gone.wav"}, {"error", "no such file"}}));
  EXPECT_EQ(info[2]["frames"], 20);
}

TEST_F(Info, WithoutAFileIsWrongUsage)
{
  expectError({"info"}, 2, "tov info: no file was named");
  expectError({"info", "--jsno", "a.wav"}, 2, "--json");
}

} // namespace
