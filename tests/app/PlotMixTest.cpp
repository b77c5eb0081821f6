// Pictures of mixes, read back: where lanes begin and end, and what is grey.
#include <algorithm>
#include <filesystem>

#include "tests/app/PlotTest.h"

namespace {

using support::holds;
using support::Picture;

/** From the first pixel to behind the last. */
struct Reach {
  int first = 0;
  int last = 0;
};

class PlotMix : public support::PlotTest {
protected:
  PlotMix()
  {
    write("ten.wav", sine(440.0, 0.5, 10.0));
    write("three.wav", sine(440.0, 0.5, 3.0));
  }

  static constexpr int kColourful = 40;

  /** The rows of each track's lane: runs of rows in which a track's colours
   *  are, or which a grey track would have had. */
  static std::vector<Reach> colourfulRows(const Picture& picture)
  {
    std::vector<Reach> runs;
    bool isWithin = false;
    for (int y = 0; y < picture.height(); ++y) {
      int count = 0;
      for (int x = 0; x < picture.width(); ++x)
        count += picture.colourfulness(x, y) > kColourful ? 1 : 0;
      const bool isColourful = count > 1;
      if (isColourful && !isWithin)
        runs.push_back({y, y});
      isWithin = isColourful;
      if (isWithin)
        runs.back().last = y + 1;
    }
    return runs;
  }

  static Reach colourfulColumns(const Picture& picture, int y)
  {
    Reach reach = {picture.width(), 0};
    for (int x = 0; x < picture.width(); ++x) {
      if (picture.colourfulness(x, y) > kColourful) {
        reach.first = std::min(reach.first, x);
        reach.last = x + 1;
      }
    }
    return reach;
  }

  /** Where grey waves lie, which are darker than the grid and lighter than
   *  text. */
  static Reach greyColumns(const Picture& picture, int y, int from)
  {
    Reach reach = {picture.width(), 0};
    for (int x = from; x < picture.width(); ++x) {
      if (picture.brightness(x, y) < 3 * 0xBC && picture.colourfulness(x, y) < 25) {
        reach.first = std::min(reach.first, x);
        reach.last = x + 1;
      }
    }
    return reach;
  }

  static int middle(const Reach& rows) { return (rows.first + rows.last) / 2; }
};

TEST_F(PlotMix, LanesBeginAndEndAtThePixelsOfTheirTimes)
{
  for (const std::string width : {"700", "1280", "2500"}) {
    SCOPED_TRACE(width);
    const Picture picture = drawn({"ten.wav", "three.wav", "--start", "2", "three.wav", "--start",
                                   "6.5", "--end", "8.25", "--size", width});
    const std::vector<Reach> rows = colourfulRows(picture);
    ASSERT_GE(rows.size(), 4u);
    const Reach whole = colourfulColumns(picture, middle(rows[0]));
    const double perSecond = (whole.last - whole.first) / 10.0;
    EXPECT_GT(perSecond * 10.0, 0.6 * picture.width());
    for (const auto& [lane, start, end] : {std::tuple(1u, 2.0, 5.0), {2u, 6.5, 8.25}}) {
      const Reach span = colourfulColumns(picture, middle(rows[lane]));
      EXPECT_NEAR(span.first, whole.first + start * perSecond, 1.5) << lane;
      EXPECT_NEAR(span.last, whole.first + end * perSecond, 1.5) << lane;
    }
  }
}

TEST_F(PlotMix, WhatIsMutedOrSilencedBySoloIsGrey)
{
  for (const std::string option : {"--mute", "--solo"}) {
    SCOPED_TRACE(option);
    const std::string first = option == "--solo" ? "--solo" : "--gain=0";
    const std::string second = option == "--solo" ? "--gain=0" : "--mute";
    const Picture picture = drawn({"ten.wav", first, "three.wav", "--start", "2", second});
    const Picture heard = drawn({"ten.wav", "three.wav", "--start", "2"});
    const std::vector<Reach> rows = colourfulRows(heard);
    ASSERT_EQ(rows.size(), 4u);
    const Reach whole = colourfulColumns(heard, middle(rows[0]));
    int colourful = 0;
    for (int y = rows[1].first; y < rows[1].last; ++y) {
      for (int x = whole.first; x < whole.last; ++x)
        colourful += picture.colourfulness(x, y) > kColourful ? 1 : 0;
    }
    EXPECT_EQ(colourful, 0);
    const Reach grey = greyColumns(picture, middle(rows[1]) + 3, whole.first);
    const double perSecond = (whole.last - whole.first) / 10.0;
    EXPECT_NEAR(grey.first, whole.first + 2.0 * perSecond, 2.0);
    EXPECT_NEAR(grey.last, whole.first + 5.0 * perSecond, 2.0);
  }
}

TEST_F(PlotMix, AMutedTrackKeepsItsWaveOutOfTheSum)
{
  const Picture all = drawn({"ten.wav", "three.wav", "--start", "2", "--mute"});
  const Picture one = drawn({"ten.wav", "--view", "mix"});
  // The two lanes of the sum stand at the bottom of both, and are the same.
  const int rows = 170;
  for (int y = 1; y <= rows; ++y) {
    for (int x = 220; x < 1250; ++x)
      ASSERT_EQ(all.at(x, all.height() - y), one.at(x, one.height() - y)) << x << ", " << y;
  }
}

TEST_F(PlotMix, WhatTheSumHasAboveFullScaleIsRed)
{
  const auto reds = [](const Picture& picture) {
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
      for (int x = 0; x < picture.width(); ++x)
        count += picture.at(x, y) == std::array<int, 3>{0xD9, 0x2D, 0x20} ? 1 : 0;
    }
    return count;
  };
  EXPECT_EQ(reds(drawn({"ten.wav", "three.wav", "--gain", "-1"})), 0);
  EXPECT_GT(reds(drawn({"ten.wav", "three.wav", "--gain", "6"})), 1000);
}

TEST_F(PlotMix, LanesAreScaledByGain)
{
  const auto heightOfLane = [this](const std::string& gain) {
    const Picture picture =
        drawn({"ten.wav", "three.wav", "--start", "2", "--gain", gain, "--size", "1280x900"});
    const std::vector<Reach> rows = colourfulRows(picture);
    const Reach whole = colourfulColumns(picture, middle(rows[0]));
    const int x = whole.first + (whole.last - whole.first) * 35 / 100;
    int count = 0;
    for (int y = rows[1].first + 4; y < rows[1].last; ++y)
      count += picture.colourfulness(x, y) > kColourful ? 1 : 0;
    return count;
  };
  const int whole = heightOfLane("0");
  EXPECT_GT(whole, 80);
  EXPECT_NEAR(heightOfLane("-6.0206"), whole / 2.0, 3.0);
}

TEST_F(PlotMix, OfASessionIsThatOfItsFiles)
{
  succeed({"save", "shot.script", "ten.wav", "three.wav", "--start", "2", "--gain", "-3"});
  const Picture session = drawn({"shot.script"});
  const Picture files = drawn({"ten.wav", "three.wav", "--start", "2", "--gain", "-3"});
  ASSERT_EQ(session.height(), files.height());
  for (int y = 60; y < files.height(); ++y) { // below the titles
    for (int x = 0; x < files.width(); ++x)
      ASSERT_EQ(session.at(x, y), files.at(x, y)) << x << ", " << y;
  }
}

TEST_F(PlotMix, MissingFilesAreRefusedOrDrawnAsMissing)
{
  succeed({"save", "shot.script", "ten.wav", "three.wav", "--start", "2"});
  std::filesystem::remove(folder.path("three.wav"));
  const support::Outcome outcome = support::run(launch({"plot", "shot.script", "-o", "out.png"}));
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_TRUE(holds(outcome.err, "three.wav: no such file (track 2 of shot.script)"));
  EXPECT_FALSE(std::filesystem::exists(folder.path("out.png")));
  const Picture picture = drawn({"shot.script", "--allow-missing"});
  const std::vector<Reach> rows = colourfulRows(picture);
  ASSERT_GE(rows.size(), 3u);
  int red = 0;
  for (int y = rows[0].last; y < rows[2].first; ++y) {
    for (int x = 0; x < picture.width(); ++x)
      red += picture.colourfulness(x, y) > 120 ? 1 : 0;
  }
  EXPECT_GT(red, 50); // the words that say so
}

TEST_F(PlotMix, TakesManyTracksAtEveryWidth)
{
  for (const int tracks : {1, 17, 64}) {
    std::vector<std::string> arguments;
    for (int i = 0; i < tracks; ++i)
      arguments.insert(arguments.end(), {"three.wav", "--start", std::to_string(i)});
    for (const std::string width : {"400", "8000"}) {
      std::vector<std::string> command = arguments;
      command.insert(command.end(), {"--size", width});
      EXPECT_EQ(drawn(command).width(), std::stoi(width));
    }
  }
}

TEST_F(PlotMix, WidthIsThatOfTheTrack)
{
  const nlohmann::json object = nlohmann::json::parse(
      succeed({"plot", "ten.wav", "--width", "0.5", "--size", "900", "-o", "a.png", "--json"}).out);
  EXPECT_EQ(object["width"], 900);
  EXPECT_EQ(object["channels"], 2); // drawn as a mix
  expectError({"plot", "--width", "0.5", "ten.wav", "-o", "a.png"}, 2,
              "--width stands before any file");
  expectError({"plot", "ten.wav", "--width", "900", "-o", "a.png"}, 2, "is outside -1 to 1");
}

} // namespace
