// What a stop leaves to be heard, and what it does not.

#include <gtest/gtest.h>

#include "playback/TovAudioPlayerOSX.h"
#include "tests/soundserver/HeardPlayer.h"
#include "tests/soundserver/NoiseMix.h"
#include "tests/soundserver/Recording.h"
#include "tests/soundserver/SoundServer.h"
#include "tests/soundserver/Waiting.h"

namespace {

using support::Signal;

class HeardStopTest : public ::testing::Test {
protected:
  HeardStopTest() { server.start(); }

  static long long framesOf(double seconds)
  {
    return static_cast<long long>(seconds * SoundServer::kRate);
  }

  SoundServer server;
  NoiseMix mix{server.environment().folder()};
};

TEST_F(HeardStopTest, SilenceFollowsAStopAndNothingStalePrecedesTheNextPlay)
{
  Recording recording(server.environment());
  TovAudioPlayerOSX driven;
  HeardPlayer player(driven);
  ASSERT_EQ(player->play(0.0, NoiseMix::kSeconds, false), 0);
  ASSERT_TRUE(player.passes(0.4));
  ASSERT_EQ(player->stop(), 0);
  EXPECT_EQ(player->isPlaying(), 0);
  recording.soundWhen([] { return true; });

  ASSERT_EQ(player->play(0.3, 0.9, false), 0);
  const Signal recorded = recording.soundWhen([&] { return player.ended() == 1; });
  const std::vector<Signal> parts = partsOf(recorded, framesOf(0.1));
  ASSERT_EQ(parts.size(), 2u);
  const Signal whole = sounding(mix.span(0.0, NoiseMix::kSeconds));
  EXPECT_EQ(framesInCommon(parts[0], whole), frameCount(parts[0]));
  EXPECT_GE(frameCount(parts[0]), framesOf(0.39));
  EXPECT_LT(frameCount(parts[0]), frameCount(whole));
  EXPECT_TRUE(isHeard(parts[1], mix.span(0.3, 0.9)));
}

TEST_F(HeardStopTest, APlayThatReplacesAnotherIsHeardWhole)
{
  Recording recording(server.environment());
  TovAudioPlayerOSX driven;
  HeardPlayer player(driven);
  ASSERT_EQ(player->play(0.0, NoiseMix::kSeconds, false), 0);
  ASSERT_TRUE(player.passes(0.3));
  ASSERT_EQ(player->play(0.9, 1.2, false), 0);
  const Signal heard = sounding(recording.soundWhen([&] { return player.ended() == 1; }));
  const long long replaced =
      framesInCommon(heard, sounding(mix.span(0.0, NoiseMix::kSeconds)));
  EXPECT_GE(replaced, framesOf(0.29));
  EXPECT_TRUE(isHeard(support::slice(heard, replaced, frameCount(heard) - replaced),
                      mix.span(0.9, 1.2)));
}

TEST_F(HeardStopTest, APlayAfterTheOutputHasRunOutIsHeardWhole)
{
  Recording recording(server.environment());
  TovAudioPlayerOSX driven;
  HeardPlayer player(driven);
  ASSERT_EQ(player->play(0.9, 1.2, false), 0);
  ASSERT_TRUE(holdsSoon([&] { return player.ended() == 1; }));
  // The engine lets the output run out after a second of silence.
  recording.goOn(1.6);
  ASSERT_EQ(player->play(0.9, 1.2, false), 0);
  const Signal recorded = recording.soundWhen([&] { return player.ended() == 2; });
  const std::vector<Signal> parts = partsOf(recorded, framesOf(0.1));
  ASSERT_EQ(parts.size(), 2u);
  for (const Signal& part : parts)
    EXPECT_TRUE(isHeard(part, mix.span(0.9, 1.2)));
}

} // namespace
