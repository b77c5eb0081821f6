// The small parts of `tov play`: keys, steps, meters, the line.
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "app/LevelBallistics.h"
#include "app/PlayKeys.h"
#include "app/PlayScreen.h"
#include "app/PlaySteps.h"
#include "tests/app/Tov.h"

namespace {

using support::holds;

std::vector<Key> keysOf(const std::string& bytes)
{
  KeyDecoder decoder;
  return decoder.take(bytes);
}

using Keys = std::vector<Key>;

TEST(PlayKeys, CharactersAreKeys)
{
  EXPECT_EQ(keysOf(" ,.jkl[]\\ms+=-f?q"),
            (Keys{{Key::playOrPause}, {Key::frameLeft}, {Key::frameRight}, {Key::shuttleLeft},
                  {Key::shuttleStop}, {Key::shuttleRight}, {Key::loopIn}, {Key::loopOut},
                  {Key::loopOff}, {Key::mute}, {Key::solo}, {Key::louder}, {Key::louder},
                  {Key::softer}, {Key::filter}, {Key::help}, {Key::quit}}));
  EXPECT_EQ(keysOf("09"), (Keys{{Key::digit, 0}, {Key::digit, 9}}));
}

TEST(PlayKeys, ArrowsComeInSeveralForms)
{
  EXPECT_EQ(keysOf("\033[C\033OC\033[1C\033[1;1C"), Keys(4, {Key::right}));
  EXPECT_EQ(keysOf("\033[D\033OD"), Keys(2, {Key::left}));
  EXPECT_EQ(keysOf("\033[1;2C\033[2C\033[c"), Keys(3, {Key::farRight}));
  EXPECT_EQ(keysOf("\033[1;2D\033[d"), Keys(2, {Key::farLeft}));
}

TEST(PlayKeys, EverySplitOfASequenceGivesTheSame)
{
  const std::string bytes = "j\033[1;2Cq\033OD\033[200~qqq\033[201~m";
  const Keys whole = keysOf(bytes);
  ASSERT_EQ(whole.size(), 5u);
  for (std::size_t first = 0; first <= bytes.size(); ++first) {
    for (std::size_t second = first; second <= bytes.size(); ++second) {
      KeyDecoder decoder;
      Keys keys;
      for (const std::string& part : {bytes.substr(0, first), bytes.substr(first, second - first),
                                      bytes.substr(second)}) {
        const Keys some = decoder.take(part);
        keys.insert(keys.end(), some.begin(), some.end());
        decoder.rest(0.01);
      }
      EXPECT_EQ(keys, whole);
    }
  }
}

TEST(PlayKeys, OtherSequencesAreIgnoredWhole)
{
  for (const std::string sequence :
       {"\033[A", "\033[5~", "\033[1;5C", "\033[3;3~", "\033[?1;2c", "\033OP", "\033Nq", "\033[[A",
        "\033]0;title q\007", "\033Pq q\033\\", "\033_q\033\\", "\033q", "\033(q", "\033\033[A",
        "\033[99999999999999999999999m", "\033[<0;1;1M", "\xc3\xa4", "\xff", "\x01\x7f"}) {
    KeyDecoder decoder;
    EXPECT_EQ(decoder.take(sequence + "k"), Keys{{Key::shuttleStop}}) << sequence.substr(1);
  }
}

TEST(PlayKeys, ALoneEscapeEndsWithARest)
{
  KeyDecoder decoder;
  EXPECT_EQ(decoder.take("\033"), Keys());
  decoder.rest(0.05);
  EXPECT_EQ(decoder.take("q"), Keys());
  EXPECT_EQ(decoder.take("\033[1;"), Keys());
  decoder.rest(0.15);
  EXPECT_EQ(decoder.take("q"), Keys{{Key::quit}});
}

TEST(PlayKeys, PastedTextIsNoKeys)
{
  KeyDecoder decoder;
  EXPECT_EQ(decoder.take("\033[200~rm q [ ]"), Keys());
  decoder.rest(0.5);
  EXPECT_EQ(decoder.take("qqq\033[200~\033[C\033q"), Keys());
  EXPECT_EQ(decoder.take("\033[201~k"), Keys{{Key::shuttleStop}});
  decoder.take("\033[200~never ended");
  decoder.rest(3.0);
  EXPECT_EQ(decoder.take("k"), Keys{{Key::shuttleStop}});
}

TEST(PlayKeys, RandomBytesDoNoHarmAndKeysWorkAfterThem)
{
  std::mt19937 random(11);
  for (int run = 0; run < 2000; ++run) {
    KeyDecoder decoder;
    std::string bytes;
    for (int i = 0; i < 40; ++i)
      bytes += random() % 4 == 0 ? '\033' : static_cast<char>(random() % 256);
    EXPECT_LE(decoder.take(bytes).size(), bytes.size());
    decoder.rest(10.0);
    EXPECT_EQ(decoder.take("k"), Keys{{Key::shuttleStop}});
  }
}

TEST(PlaySteps, VolumeGoesByWholeDecibelsFromFullToNothing)
{
  EXPECT_EQ(volumeStepFrom(1.0f, true), 1.0f);
  EXPECT_NEAR(volumeStepFrom(1.0f, false), 0.8912509, 1e-6);
  EXPECT_NEAR(volumeStepFrom(0.5f, true), 0.5623413, 1e-6); // from -6.02 dB to -5
  float volume = 1.0f;
  for (int i = 0; i < 60; ++i)
    volume = volumeStepFrom(volume, false);
  EXPECT_NEAR(volume, 0.001, 1e-7);
  EXPECT_EQ(volumeStepFrom(volume, false), 0.0f);
  EXPECT_EQ(volumeStepFrom(0.0f, false), 0.0f);
  EXPECT_NEAR(volumeStepFrom(0.0f, true), 0.001, 1e-7);
}

TEST(PlaySteps, FilterGoesDownAndThenOff)
{
  std::vector<int> steps = {0};
  for (int i = 0; i < 6; ++i)
    steps.push_back(filterStepFrom(steps.back()));
  EXPECT_EQ(steps, (std::vector<int>{0, 8000, 4000, 2000, 1000, 500, 0}));
  EXPECT_EQ(filterStepFrom(3000), 2000);
  EXPECT_EQ(filterStepFrom(20000), 8000);
  EXPECT_EQ(filterStepFrom(100), 0);
}

TEST(PlaySteps, DigitsInARowMakeOneNumberWhereThereIsSuchATrack)
{
  EXPECT_EQ(trackStepFrom(0, 3, false, 5), 3);
  EXPECT_EQ(trackStepFrom(0, 6, false, 5), 0);
  EXPECT_EQ(trackStepFrom(0, 0, false, 9), 0);
  EXPECT_EQ(trackStepFrom(0, 0, false, 10), 10);
  EXPECT_EQ(trackStepFrom(1, 2, true, 12), 12);
  EXPECT_EQ(trackStepFrom(1, 2, false, 12), 2);
  EXPECT_EQ(trackStepFrom(1, 3, true, 12), 3);
  EXPECT_EQ(trackStepFrom(10, 4, true, 104), 104);
}

TEST(LevelBallistics, PeakIsHeldAndThenFalls)
{
  LevelBallistics meter;
  EXPECT_EQ(meter.getLevel(), -90.0);
  meter.show(0.5f, 10.0);
  EXPECT_NEAR(meter.getLevel(), -6.02, 0.01);
  meter.show(0.0f, 11.4);
  EXPECT_EQ(meter.getLevel(), -90.0);
  EXPECT_NEAR(meter.getPeak(), -6.02, 0.01);
  meter.show(0.0f, 12.0);
  EXPECT_NEAR(meter.getPeak(), -16.02, 0.01); // half a second at 20 dB per second
  meter.show(0.0f, 12.5);
  EXPECT_NEAR(meter.getPeak(), -26.02, 0.01);
  meter.show(0.1f, 12.6);
  EXPECT_NEAR(meter.getPeak(), -20.0, 0.01);
  meter.show(0.0f, 100.0);
  EXPECT_EQ(meter.getPeak(), -90.0);
}

TEST(LevelBallistics, ClipsAreRisesAboveFullScale)
{
  LevelBallistics meter;
  double now = 0.0;
  for (const float level : {0.9f, 1.0f, 1.2f, 1.1f, 1.05f, 1.3f, 0.5f, 1.01f})
    meter.show(level, now += 0.04);
  EXPECT_EQ(meter.getClips(), 3); // 1.2, 1.3 and 1.01
  EXPECT_NEAR(meter.getPeak(), support::decibels(1.3), 1e-6);
}

TEST(LevelBallistics, WhatIsNoNumberIsSilence)
{
  LevelBallistics meter;
  meter.show(std::numeric_limits<float>::quiet_NaN(), 1.0);
  EXPECT_EQ(meter.getLevel(), -90.0);
  EXPECT_EQ(meter.getPeak(), -90.0);
  EXPECT_EQ(meter.getClips(), 0);
}

PlayStatus fullStatus()
{
  PlayStatus status;
  status.state = "backward 8x";
  status.position = 754.25;
  status.timecode = "00:12:34:06";
  status.remaining = 12.5;
  status.channels = {{{-12.0, -6.0, 3}, {-90.0, -90.0, 0}}};
  status.loop = {700.0, 800.0};
  status.volume = 0.5f;
  status.filter = 4000;
  status.selectedTrack = 2;
  status.trackCount = 5;
  status.muted = {1, 3};
  status.soloed = {2};
  return status;
}

TEST(PlayScreen, LineTellsEverythingWhereThereIsRoom)
{
  EXPECT_EQ(statusText(fullStatus()),
            "backward 8x  12:34.250  00:12:34:06  -0:12.500  L  -6.0  R -90.0  clips 3/0  "
            "volume -6.0 dB  loop 11:40.000 to 13:20.000  low-pass 4000 Hz  track 2/5  muted 1,3  "
            "solo 2");
}

TEST(PlayScreen, BarsShowLevelAndHeldPeak)
{
  PlayStatus status = fullStatus();
  const std::string line = statusLine(status, 1000);
  // 30 cells for 60 dB: -12 dBFS fills 24, the peak of -6 is the 27th.
  EXPECT_TRUE(holds(line, "L [========================  |   ]  -6.0"));
  EXPECT_TRUE(holds(line, "R [                              ] -90.0"));
  status.channels[0] = {3.0, 3.0, 1};
  EXPECT_TRUE(holds(statusLine(status, 1000), "L [=============================|]   3.0"));
}

TEST(PlayScreen, LineIsNeverLongerThanAllowedAndKeepsThePosition)
{
  PlayStatus status = fullStatus();
  for (const char* const hint : {"", "select a track by its number"}) {
    status.hint = hint;
    for (int width = -1; width < 400; ++width) {
      const std::string line = statusLine(status, width);
      EXPECT_LE(line.size(), static_cast<std::size_t>(std::max(width, 0)));
      if (width >= 9) {
        EXPECT_TRUE(holds(line, "12:34.250")) << width;
      }
    }
  }
}

TEST(PlayScreen, NarrowLinesKeepTheLevelsBeforeTheRest)
{
  const std::string line = statusLine(fullStatus(), 60);
  EXPECT_TRUE(holds(line, "12:34.250"));
  EXPECT_TRUE(holds(line, "  L ["));
  EXPECT_TRUE(holds(line, "  R ["));
  EXPECT_TRUE(holds(statusLine(fullStatus(), 45), "L  -6.0  R -90.0"));
}

TEST(PlayScreen, VolumeOfNothingIsOff)
{
  PlayStatus status = fullStatus();
  status.volume = 0.0f;
  EXPECT_TRUE(holds(statusText(status), "volume off"));
}

TEST(PlayScreen, JsonIsOneLine)
{
  const std::string line = statusJson(fullStatus(), "position");
  EXPECT_EQ(line.find('\n'), std::string::npos);
  const nlohmann::json object = nlohmann::json::parse(line);
  EXPECT_EQ(object["event"], "position");
  EXPECT_EQ(object["state"], "backward 8x");
  EXPECT_EQ(object["position"], 754.25);
  EXPECT_EQ(object["remaining"], 12.5);
  EXPECT_EQ(object["levelDbfs"], (std::vector<double>{-12.0, -90.0}));
  EXPECT_EQ(object["peakDbfs"], (std::vector<double>{-6.0, -90.0}));
  EXPECT_EQ(object["clips"], (std::vector<int>{3, 0}));
  EXPECT_EQ(object["loop"], (std::vector<double>{700.0, 800.0}));
  EXPECT_EQ(object["muted"], (std::vector<int>{1, 3}));
}

} // namespace
