// The tracks of a mix while it plays, and what is told of it.
#include <gtest/gtest.h>

#include "app/LibraryMessages.h"
#include "app/MixContents.h"
#include "app/PlayHead.h"
#include "app/PlayNews.h"
#include "app/PlayTracks.h"
#include "core/TovSys.h"
#include "playback/TovAudioPlayerNull.h"
#include "tests/support/Buffers.h"
#include "tests/support/IntegerSound.h"
#include "tests/support/TempFolder.h"

namespace {

class TracksOfAPlayedMix : public testing::Test {
protected:
  TracksOfAPlayedMix()
  {
    folder.write("a.wav", support::wavOf(support::constantSound(2, 44100, 44100, 16, 8192)));
    folder.write("b.wav", support::wavOf(support::constantSound(2, 44100, 44100, 16, 16384)));
    for (const char* const name : {"a.wav", "b.wav", "b.wav"}) {
      request.tracks.emplace_back();
      request.tracks.back().file = folder.path(name);
    }
    request.rate = 44100;
    request.tracks[1].mute = true;
    // Comes to lie on its own start.
    request.tracks[2].start = 0.000045;
    request.tracks[2].end = 0.000146;
  }

  ~TracksOfAPlayedMix() override { TovSys::setMessageHandler(nullptr, nullptr); }

  /** A mix in a mixer that was there before, and had other tracks. */
  MixGraph& graph()
  {
    if (!mix) {
      const Notices notices(true);
      other = new TovAudioMixer();
      other->setMasterGain(0.5f);
      mix.emplace(gatherMix(request, notices), request, notices,
                  ProviderReference<TovAudioMixer>(other));
    }
    return *mix;
  }

  /** What the mix gives at the middle of the file. */
  float heard()
  {
    const ChannelBuffers block(2, 64);
    graph().activate();
    graph().render(block, 20000);
    return block.channel(0)[0];
  }

  support::TempFolder folder;
  MixRequest request;
  TovAudioMixer* other = nullptr;
  std::optional<MixGraph> mix;
};

TEST_F(TracksOfAPlayedMix, AreThoseOfTheMixerThatWasGiven)
{
  EXPECT_EQ(&graph().getMixer(), other);
  EXPECT_EQ(other->getNumTracks(), 3);
  EXPECT_EQ(other->getMasterGain(), 1.0f);
}

TEST_F(TracksOfAPlayedMix, AreMutedAndSoloedByTheirNumbers)
{
  PlayTracks tracks(graph());
  EXPECT_EQ(tracks.getCount(), 3);
  EXPECT_EQ(tracks.muted(), std::vector<int>{2});
  EXPECT_FLOAT_EQ(heard(), 0.25f);
  tracks.toggleMute(2);
  EXPECT_EQ(tracks.muted(), std::vector<int>());
  EXPECT_FLOAT_EQ(heard(), 0.75f);
  tracks.toggleSolo(2);
  EXPECT_EQ(tracks.soloed(), std::vector<int>{2});
  EXPECT_FLOAT_EQ(heard(), 0.5f);
  tracks.toggleSolo(2);
  tracks.toggleMute(1);
  EXPECT_EQ(tracks.muted(), std::vector<int>{1});
  EXPECT_FLOAT_EQ(heard(), 0.5f);
}

TEST_F(TracksOfAPlayedMix, ATrackShorterThanCanBeMixedStaysSilent)
{
  ASSERT_TRUE(graph().getPlan(2).isTooShort);
  PlayTracks tracks(graph());
  tracks.toggleMute(3);
  tracks.toggleMute(3);
  EXPECT_EQ(tracks.muted(), std::vector<int>{2});
  EXPECT_FLOAT_EQ(heard(), 0.25f);
}

TEST_F(TracksOfAPlayedMix, ALostFileIsToldOnceAndHeardAgainWhenItIsBack)
{
  PlayTracks tracks(graph());
  EXPECT_FLOAT_EQ(heard(), 0.25f);
  EXPECT_TRUE(tracks.takeLostFiles().empty());
  const std::vector<std::uint8_t> whole = folder.read("a.wav");
  folder.write("a.wav", std::vector<std::uint8_t>(whole.begin(), whole.begin() + 1000));
  EXPECT_THROW(heard(), std::runtime_error);
  const std::vector<PlayTracks::LostFile> lost = tracks.takeLostFiles();
  ASSERT_EQ(lost.size(), 1u);
  EXPECT_EQ(lost[0].name, folder.path("a.wav"));
  EXPECT_EQ(lost[0].reason, "was cut short while it was read");
  EXPECT_TRUE(tracks.takeLostFiles().empty());
  tracks.tryLostFilesAgain();
  EXPECT_TRUE(tracks.takeLostFiles().empty());
  folder.write("a.wav", whole);
  tracks.tryLostFilesAgain();
  EXPECT_FLOAT_EQ(heard(), 0.25f);
  EXPECT_TRUE(tracks.takeLostFiles().empty());
}

TEST_F(TracksOfAPlayedMix, WarningsOfTheLibraryAreNewsOnce)
{
  holdBackLibraryMessages();
  takeLibraryWarning();
  PlayTracks tracks(graph());
  TovAudioPlayerNull player;
  const PlaySession session(player, PlayHead({0, 44100}, {44100, 24.0}, false));
  PlayNews news;
  EXPECT_TRUE(news.take(session, tracks).empty());
  TovSys::error("%WPlayoutEngine: No audio output could be opened, playing in silence\n");
  const std::vector<PlayNews::Item> items = news.take(session, tracks);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].subject, "playback");
  EXPECT_EQ(items[0].text, "No audio output could be opened, playing in silence");
  EXPECT_TRUE(news.take(session, tracks).empty());
}

} // namespace
