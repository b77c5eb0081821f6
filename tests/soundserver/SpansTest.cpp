// Spans of a mix, played into a real sound server and recorded there: what is
// heard is what is rendered, to the last bit.

#include <algorithm>
#include <optional>

#include <gtest/gtest.h>

#include "playback/TovAudioPlayerFactory.h"
#include "playback/TovAudioPlayerOSX.h"
#include "tests/soundserver/HeardPlayer.h"
#include "tests/soundserver/NoiseMix.h"
#include "tests/soundserver/Recording.h"
#include "tests/soundserver/SoundServer.h"

namespace {

using support::Signal;

class HeardSpansTest : public ::testing::Test {
protected:
  HeardSpansTest()
  {
    server.start();
    recording.emplace(server.environment());
  }

  /** Plays until the player asks to be stopped; what was recorded. */
  Signal played(TovAudioPlayer& driven, double start, double end)
  {
    HeardPlayer player(driven);
    EXPECT_EQ(player->play(start, end, false), 0);
    EXPECT_EQ(player->isPlaying(), 1);
    Signal recorded = recording->soundWhen([&] { return player.ended() == 1; });
    EXPECT_EQ(player->isPlaying(), 0);
    return recorded;
  }

  /** Plays over and over and stops in the midst of the fourth round; whether
   *  that was heard. */
  void expectRounds(double start, double end)
  {
    TovAudioPlayerOSX driven;
    HeardPlayer player(driven);
    const Signal round = mix.span(start, end);
    const double low = std::min(start, end);
    const double roundSeconds = std::max(start, end) - low;
    EXPECT_EQ(player->play(start, end, true), 0);
    EXPECT_TRUE(player.passes(low + 3.4 * roundSeconds));
    player->stop();
    const Signal heard = sounding(recording->soundWhen([] { return true; }));
    EXPECT_EQ(player.ended(), 0);
    EXPECT_GE(frameCount(heard), 3 * frameCount(round));
    const int rounds = static_cast<int>(frameCount(heard) / frameCount(round)) + 1;
    EXPECT_TRUE(isHeard(heard, support::slice(repeated(round, rounds), 0, frameCount(heard))));
  }

  SoundServer server;
  NoiseMix mix{server.environment().folder()};
  std::optional<Recording> recording;
};

TEST_F(HeardSpansTest, AMixIsHeardFromItsFirstSampleToItsLast)
{
  const Signal recorded =
      played(*TovAudioPlayerFactory::getAudioPlayer(), 0.0, NoiseMix::kSeconds);
  EXPECT_TRUE(isHeard(recorded, mix.span(0.0, NoiseMix::kSeconds)));
}

TEST_F(HeardSpansTest, AnExcerptBeginsAndEndsOnItsFrames)
{
  const Signal excerpt = mix.span(0.3, 0.9);
  ASSERT_EQ(frameCount(sounding(excerpt)), frameCount(excerpt)) << "its ends cannot be told from silence";
  TovAudioPlayerOSX player;
  EXPECT_TRUE(isHeard(played(player, 0.3, 0.9), excerpt));
}

TEST_F(HeardSpansTest, BackwardsItIsHeardReversed)
{
  const Signal backwards = mix.span(0.9, 0.3);
  Signal reversed = mix.span(0.3, 0.9);
  for (std::size_t channel = 0; channel < 2; ++channel) {
    std::reverse(reversed[channel].begin(), reversed[channel].end());
    ASSERT_EQ(backwards[channel].size(), reversed[channel].size());
    // The track at another rate is resampled by block, and the blocks differ.
    for (std::size_t i = 0; i < reversed[channel].size(); ++i)
      ASSERT_NEAR(backwards[channel][i], reversed[channel][i], 1e-5) << "at frame " << i;
  }
  TovAudioPlayerOSX player;
  EXPECT_TRUE(isHeard(played(player, 0.9, 0.3), backwards));
}

TEST_F(HeardSpansTest, RoundsOfALoopFollowWithoutASeam)
{
  expectRounds(0.35, 0.6);
}

TEST_F(HeardSpansTest, RoundsOfABackwardsLoopFollowWithoutASeam)
{
  expectRounds(0.6, 0.35);
}

TEST_F(HeardSpansTest, AFilteredMixIsHeardAsItIsRendered)
{
  TovAudioPlayerOSX player;
  ASSERT_EQ(player.setFilterFreq(3000), 0);
  EXPECT_TRUE(isHeard(played(player, 0.3, 0.9), mix.span(0.3, 0.9, 6000)));
}

} // namespace
