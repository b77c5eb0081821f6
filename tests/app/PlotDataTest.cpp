// Waveform data against a plain computation from the file's own codes.
#include <algorithm>
#include <filesystem>

#include "tests/app/PlotTest.h"

namespace {

using nlohmann::json;
using support::holds;
using support::IntegerSound;

class PlotData : public support::PlotTest {
protected:
  json data(std::vector<std::string> arguments) const
  {
    arguments.insert(arguments.begin(), "plot");
    arguments.push_back("--data");
    return json::parse(succeed(arguments).out);
  }

  /** Of 16-bit sound: lowest and highest code of every pixel. */
  static std::vector<int> plainData(const IntegerSound& sound, std::size_t framesPerPixel,
                                    std::size_t from, std::size_t to, int bits)
  {
    std::vector<int> values;
    for (std::size_t first = from; first < to; first += framesPerPixel) {
      const std::size_t last = std::min(first + framesPerPixel, to);
      for (const std::vector<std::int32_t>& channel : sound.channels) {
        const auto [lowest, highest] =
            std::minmax_element(channel.begin() + static_cast<std::ptrdiff_t>(first),
                                channel.begin() + static_cast<std::ptrdiff_t>(last));
        const int divisor = bits == 8 ? 256 : 1; // towards 0, as C divides
        values.push_back(*lowest / divisor);
        values.push_back(*highest / divisor);
      }
    }
    return values;
  }
};

TEST_F(PlotData, HoldsLowestAndHighestCodeOfEveryPixel)
{
  for (const int channels : {1, 2, 5}) {
    const IntegerSound sound = support::randomSound(channels, 10007, 44100, 16, 7, 0.9);
    write("a.wav", sound);
    for (const int bits : {8, 16}) {
      for (const std::size_t framesPerPixel : {1u, 100u, 256u, 4096u, 10007u, 20000u}) {
        SCOPED_TRACE(std::to_string(channels) + " channels, " + std::to_string(bits) + " bits, " +
                     std::to_string(framesPerPixel));
        const json found = data({"a.wav", "--bits", std::to_string(bits), "--samples-per-pixel",
                                 std::to_string(framesPerPixel)});
        EXPECT_EQ(found["version"], 2);
        EXPECT_EQ(found["channels"], channels);
        EXPECT_EQ(found["sample_rate"], 44100);
        EXPECT_EQ(found["samples_per_pixel"], framesPerPixel);
        EXPECT_EQ(found["bits"], bits);
        EXPECT_EQ(found["length"], (10007 + framesPerPixel - 1) / framesPerPixel);
        EXPECT_EQ(found.size(), 7u);
        EXPECT_TRUE(found["data"].get<std::vector<int>>() ==
                    plainData(sound, framesPerPixel, 0, 10007, bits));
      }
    }
  }
}

TEST_F(PlotData, IsOf16BitsAnd256SamplesUnlessToldOtherwise)
{
  const IntegerSound sound = support::randomSound(2, 1000, 48000, 16, 8);
  write("a.aiff", sound);
  const json found = data({"a.aiff"});
  EXPECT_EQ(found["bits"], 16);
  EXPECT_EQ(found["samples_per_pixel"], 256);
  EXPECT_TRUE(found["data"].get<std::vector<int>>() == plainData(sound, 256, 0, 1000, 16));
}

TEST_F(PlotData, IsOfAPartOnly)
{
  const IntegerSound sound = support::randomSound(2, 48000, 48000, 16, 9);
  write("a.wav", sound);
  const json found = data({"a.wav", "--from", "0.25", "--to", "30000smp"});
  EXPECT_EQ(found["length"], 71);
  EXPECT_TRUE(found["data"].get<std::vector<int>>() == plainData(sound, 256, 12000, 30000, 16));
}

TEST_F(PlotData, OfAMixIsThatOfItsSum)
{
  write("a.wav", support::randomSound(2, 24000, 48000, 16, 10, 0.3));
  write("b.wav", support::randomSound(1, 24000, 48000, 16, 11, 0.3));
  succeed({"mix", "a.wav", "b.wav", "--start", "0.25", "--pan", "0.5", "--bits", "24", "-o",
           "mix.wav"});
  EXPECT_EQ(data({"a.wav", "b.wav", "--start", "0.25", "--pan", "0.5"}), data({"mix.wav"}));
}

TEST_F(PlotData, StaysWithinItsBits)
{
  write("loud.wav", support::constantSound(1, 4800, 48000, 16, 32767));
  const json found = data({"loud.wav", "--gain", "12", "--from", "0.04", "--to", "0.05"});
  ASSERT_EQ(found["data"].size(), 8u); // 480 frames of two channels
  for (const json& value : found["data"])
    EXPECT_EQ(value, 32767);
  write("low.wav", support::constantSound(1, 4800, 48000, 16, -32768));
  const json low = data({"low.wav", "--bits", "8"});
  ASSERT_EQ(low["data"].size(), 38u);
  for (const json& value : low["data"])
    EXPECT_EQ(value, -128);
}

TEST_F(PlotData, GoesIntoAFileOrToStandardOutput)
{
  write("a.wav", support::randomSound(1, 5000, 48000, 16, 12));
  const std::string printed = succeed({"plot", "a.wav", "--data"}).out;
  EXPECT_EQ(succeed({"plot", "a.wav", "--data", "-o", "-"}).out, printed);
  EXPECT_EQ(succeed({"plot", "a.wav", "--data", "-o", "a.json", "--quiet"}).out, "");
  const std::vector<std::uint8_t> written = folder.read("a.json");
  EXPECT_EQ(std::string(written.begin(), written.end()), printed);
}

} // namespace
