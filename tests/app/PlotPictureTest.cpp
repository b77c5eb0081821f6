// Pictures of files, read back.
#include <algorithm>
#include <filesystem>

#include "tests/app/PlotTest.h"

namespace {

using support::holds;
using support::IntegerSound;
using support::Picture;

class PlotPicture : public support::PlotTest {
protected:
  /** The rows of the only spectrogram, which is dark on white, at a column. */
  static std::pair<int, int> panelRows(const Picture& picture, int x)
  {
    int first = 0;
    while (first < picture.height() && picture.brightness(x, first) > 600)
      ++first;
    int last = first;
    while (last < picture.height() && picture.brightness(x, last) < 760)
      ++last;
    return {first, last};
  }

  static int pixelsOf(const Picture& picture, const std::array<int, 3>& colour)
  {
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
      for (int x = 0; x < picture.width(); ++x)
        count += picture.at(x, y) == colour ? 1 : 0;
    }
    return count;
  }

  static constexpr std::array<int, 3> kAlarm = {0xD9, 0x2D, 0x20};
};

TEST_F(PlotPicture, HasTheSizeAskedFor)
{
  write("a.wav", sine(440.0, 0.5, 1.0, 2));
  for (const auto& [width, height] : {std::pair(400, 420), {1280, 720}, {3000, 500}}) {
    const Picture picture =
        drawn({"a.wav", "--size", std::to_string(width) + "x" + std::to_string(height)});
    EXPECT_EQ(picture.width(), width);
    EXPECT_EQ(picture.height(), height);
  }
  EXPECT_EQ(drawn({"a.wav"}).width(), 1280);
  EXPECT_GT(drawn({"a.wav"}).height(), drawn({"a.wav", "--view", "waveform"}).height());
}

TEST_F(PlotPicture, ShowsASineAtTheRowOfItsFrequency)
{
  constexpr int kColumn = 911; // away from header and ticks
  for (const double frequency : {1000.0, 5000.0, 12345.0, 20000.0}) {
    write("a.wav", sine(frequency, 0.5, 1.0));
    for (const bool isLogarithmic : {false, true}) {
      SCOPED_TRACE(std::to_string(frequency) + (isLogarithmic ? " log" : " linear"));
      const Picture picture = drawn(
          {"a.wav", "--spectrogram", "--frequency", isLogarithmic ? "log" : "linear"});
      const auto [first, last] = panelRows(picture, kColumn);
      ASSERT_GT(last - first, 150);
      int brightest = first;
      for (int y = first; y < last; ++y) {
        if (picture.brightness(kColumn, y) > picture.brightness(kColumn, brightest))
          brightest = y;
      }
      const double place = isLogarithmic ? std::log(frequency / 20.0) / std::log(24000.0 / 20.0)
                                         : frequency / 24000.0;
      // A bin of 23 Hz may lie beside the frequency.
      EXPECT_NEAR(brightest + 0.5, last - place * (last - first), 2.5);
    }
  }
}

TEST_F(PlotPicture, MarksSamplesAtFullScaleInRed)
{
  write("loud.wav", sine(440.0, 1.0, 1.0));
  write("soft.wav", sine(440.0, 0.99, 1.0));
  EXPECT_GT(pixelsOf(drawn({"loud.wav", "--view", "waveform"}), kAlarm), 1000);
  EXPECT_EQ(pixelsOf(drawn({"soft.wav", "--view", "waveform"}), kAlarm), 0);
}

// The same sine at half the level is drawn half as high.
TEST_F(PlotPicture, DrawsTheEnvelopeInProportionToTheLevel)
{
  const auto heightAt = [this](double level) {
    write("a.wav", sine(1000.0, level, 1.0));
    const Picture picture = drawn({"a.wav", "--view", "waveform", "--size", "1280x400"});
    int rows = 0;
    for (int y = 0; y < picture.height(); ++y)
      rows += picture.colourfulness(903, y) > 40 ? 1 : 0;
    return rows;
  };
  const int whole = heightAt(0.98);
  EXPECT_GT(whole, 200);
  EXPECT_NEAR(heightAt(0.49), whole / 2.0, 2.0);
  EXPECT_NEAR(heightAt(0.0), 1.0, 1.0);
}

TEST_F(PlotPicture, IsTheSameBytesEveryTime)
{
  write("a.wav", support::randomSound(2, 20000, 48000, 16, 5, 0.5));
  for (const std::string name : {"a.png", "a.svg", "a.pdf"}) {
    succeed({"plot", "a.wav", "-o", name});
    const std::vector<std::uint8_t> first = folder.read(name);
    EXPECT_GT(first.size(), 5000u) << name;
    std::filesystem::remove(folder.path(name));
    succeed({"plot", "a.wav", "-o", name});
    EXPECT_TRUE(folder.read(name) == first) << name;
  }
}

TEST_F(PlotPicture, IsOfTheFormatThatSuffixOrOptionSays)
{
  write("a.wav", sine(440.0, 0.5, 0.1));
  const auto start = [this](const std::vector<std::string>& arguments, const std::string& name) {
    succeed(arguments);
    const std::vector<std::uint8_t> bytes = folder.read(name);
    return std::string(bytes.begin(), bytes.begin() + 5);
  };
  EXPECT_EQ(start({"plot", "a.wav", "-o", "a.PNG"}, "a.PNG"), "\x89PNG\r");
  EXPECT_EQ(start({"plot", "a.wav", "-o", "a.svg"}, "a.svg"), "<?xml");
  EXPECT_EQ(start({"plot", "a.wav", "-o", "a.pdf"}, "a.pdf"), "%PDF-");
  EXPECT_EQ(start({"plot", "a.wav", "-o", "a.data", "--format", "pdf"}, "a.data"), "%PDF-");
  EXPECT_EQ(succeed({"plot", "a.wav", "-o", "-", "--format", "svg"}).out.substr(0, 5), "<?xml");
  const std::string printed = succeed({"plot", "a.wav", "-o", "-"}).out;
  const std::vector<std::uint8_t> written = folder.read("a.PNG");
  EXPECT_TRUE(printed == std::string(written.begin(), written.end()));
}

TEST_F(PlotPicture, TakesAllThatIsShort)
{
  for (const long long frames : {1LL, 2LL, 7LL, 500LL}) {
    write("a.wav", support::randomSound(2, frames, 48000, 16, 6));
    EXPECT_EQ(drawn({"a.wav"}).width(), 1280) << frames;
    EXPECT_EQ(drawn({"a.wav", "--view", "mix"}).width(), 1280) << frames;
  }
}

TEST_F(PlotPicture, IsToldOfInOneLineOrAsJson)
{
  write("a.wav", sine(440.0, 0.5, 1.5, 2));
  EXPECT_EQ(succeed({"plot", "a.wav", "-o", "a.png", "--size", "1280x500"}).out,
            "a.png: 1280 x 500 pixels, 0:01.500 of sound\n");
  const nlohmann::json object =
      nlohmann::json::parse(succeed({"plot", "a.wav", "-o", "a.svg", "--json"}).out);
  EXPECT_EQ(object["event"], "done");
  EXPECT_EQ(object["format"], "svg");
  EXPECT_EQ(object["width"], 1280);
  EXPECT_EQ(object["frames"], 72000);
  EXPECT_NEAR(object["peakDbfs"][1], support::decibels(0.5), 0.01);
  EXPECT_NEAR(object["rmsDbfs"][0], support::decibels(0.5) - 3.01, 0.01);
}

TEST_F(PlotPicture, DrawsNamesOfAnyBytes)
{
  const std::string name = "n\xC3\xA4me\xFF\x01\xE2\x82.wav";
  write(name, sine(440.0, 0.5, 0.1));
  EXPECT_EQ(drawn({name}).width(), 1280);
  EXPECT_EQ(drawn({name, name, "--size", "400"}).width(), 400);
}

} // namespace
