// Playing and stopping through the engine.

#include <algorithm>

#include "tests/playback/EnginePlayerTest.h"
#include "tests/support/Setting.h"

namespace {

using support::EnginePlayerTest;
using support::IndexedProvider;
using support::RecordingEngine;
using support::SteppedHost;

class EnginePlayerTransportTest : public EnginePlayerTest {
public:
  EnginePlayerTransportTest() { make(); }

  /** The start time that the transport was given by a play. */
  std::string startOf(double start, double end, bool loop = false)
  {
    engine.take();
    EXPECT_EQ(0, player->play(start, end, loop));
    for (const std::string& call : engine.take()) {
      if (call.starts_with("PeTransportSetStartTime"))
        return call;
    }
    return "none";
  }

  bool wasTold = false;

  static std::string setStart(double sample)
  {
    return "PeTransportSetStartTime(transport, " + RecordingEngine::number(sample) + ")";
  }
};

// --- Play -----------------------------------------------------------------------------

TEST_F(EnginePlayerTransportTest, PlayStopsWaitsQueuesWaitsTellsAndStarts)
{
  noteNotifications();
  provider->setAnswer([this](const TovAudioContext&, double t0, double) {
    engine.note("render " + RecordingEngine::number(t0));
    return 0;
  });
  EXPECT_EQ(0, player->play(2.0, 2.5, false));
  Calls calls = engine.take();
  EXPECT_EQ(4, std::count_if(calls.begin(), calls.end(), [](const std::string& call) {
              return call.starts_with("render");
            }));
  EXPECT_EQ("render 2", calls.at(5)) << "between the second pause and the notification";
  std::erase_if(calls, [](const std::string& call) { return call.starts_with("render"); });
  EXPECT_EQ((Calls{"PeTransportStop(transport)", "PeMixerReset(mixer)", "Stopped 0 0", "sleep 0.02",
                   "sleep 0.02", "Playing 0 0", "PeTransportSetStartTime(transport, 88200)",
                   "PeTransportStart(transport)"}),
            calls);
  EXPECT_EQ((std::vector<double>{0.02, 0.02}), SteppedHost::takeHostPauses());
}

TEST_F(EnginePlayerTransportTest, TheSpanIsQueuedBetweenTheTwoPauses)
{
  int pauses = 0;
  long long rendered[2] = {-1, -1};
  SteppedHost::setPauseListener([&](double) {
    // The feeder is parked: what was queued before the pause is not rendered yet.
    rendered[pauses++ % 2] = provider->requestCount();
  });
  player->play(0.0, 1.0, false);
  SteppedHost::setPauseListener({});
  EXPECT_EQ(2, pauses);
  EXPECT_EQ(0, rendered[0]);
  EXPECT_EQ(0, rendered[1]) << "nothing was queued in the first pause";
  EXPECT_EQ(4, provider->requestCount());
}

TEST_F(EnginePlayerTransportTest, ThePlayedSpanReachesTheTrackFromItsFirstFrameOn)
{
  // What is left of the playback before is dropped by the first call of the
  // output, and only the blocks that were free by then hold the new one.
  for (const int times : {1, 2, 3}) {
    player->play(3.0, 5.0, false);
    EXPECT_EQ(frames(3 * kRate, 3 * kRate + 4096), pull(4096)) << times;
    player->play(5.0, 3.0, false);
    EXPECT_EQ(frames(5 * kRate, 5 * kRate - 4096), pull(4096)) << times;
  }
}

TEST_F(EnginePlayerTransportTest, ALoopReachesTheTrackOverAndOver)
{
  player->play(1.0, 1.0 + 100.0 / kRate, true);
  const std::vector<long long> once = pull(100);
  EXPECT_EQ(frames(kRate, kRate + 100), once);
  EXPECT_EQ(once, pull(100));
}

TEST_F(EnginePlayerTransportTest, TheTransportStartsAtTheSmallerSample)
{
  EXPECT_EQ(setStart(44100), startOf(1.0, 2.0));
  EXPECT_EQ(setStart(44100), startOf(2.0, 1.0));
  EXPECT_EQ(setStart(-88200), startOf(-2.0, 1.0));
  EXPECT_EQ(setStart(-88200), startOf(1.0, -2.0));
  EXPECT_EQ(setStart(0.25 * 44100), startOf(0.25, 10.0, true));
  EXPECT_EQ(setStart(0.1 * 44100.0), startOf(0.1, 0.2)) << "not cut to a whole sample";
}

TEST_F(EnginePlayerTransportTest, APlayOfNoLengthStartsAtZeroOrAtItsStartBelow)
{
  EXPECT_EQ(setStart(0), startOf(5.0, 5.0));
  EXPECT_EQ(setStart(0), startOf(0.0, 0.0));
  EXPECT_EQ(setStart(-220500), startOf(-5.0, -5.0));
  EXPECT_EQ(setStart(0), startOf(5.0, 5.0, true));
}

TEST_F(EnginePlayerTransportTest, APlayOfNoLengthRaisesTheStopRequest)
{
  int stops = 0;
  player->setStopRequestCallback([](void* data) { ++*static_cast<int*>(data); }, &stops);
  player->play(5.0, 5.0, false);
  EXPECT_TRUE(pull(100).empty());
  SteppedHost::step();
  EXPECT_EQ(1, stops);
}

TEST_F(EnginePlayerTransportTest, TheEnginesResultsAreIgnoredByPlay)
{
  noteNotifications();
  for (const char* const function :
       {"PeTransportStop", "PeMixerReset", "PeTransportSetStartTime", "PeTransportStart"})
    engine.fail(function, 9);
  EXPECT_EQ(0, player->play(1.0, 2.0, false));
  EXPECT_EQ((Calls{"PeTransportStop(transport)", "PeMixerReset(mixer)", "Stopped 0 0", "sleep 0.02",
                   "sleep 0.02", "Playing 0 0", "PeTransportSetStartTime(transport, 44100)",
                   "PeTransportStart(transport)"}),
            engine.take());
  EXPECT_EQ(Calls(), messages.take());
}

// --- Stop -------------------------------------------------------------------------------

TEST_F(EnginePlayerTransportTest, StopStopsResetsTellsAndFlushes)
{
  player->play(0.0, 100.0, false);
  noteNotifications();
  engine.take();
  pull(100);
  EXPECT_EQ(0, player->stop());
  EXPECT_EQ((Calls{"PeTransportStop(transport)", "PeMixerReset(mixer)", "Stopped 0 0"}),
            engine.take());
  SteppedHost::steps(2);
  EXPECT_TRUE(pull(100).empty());
}

TEST_F(EnginePlayerTransportTest, TheFlushOfAStopComesBehindItsNotification)
{
  player->play(0.0, 100.0, false);
  pull(100);
  const TovAudioPlayer::PlaybackCallback callback =
      [](void* data, TovAudioPlayer*, TovAudioPlayer::Status, float, float) {
        // Nothing is flushed yet, however long the feeder works.
        SteppedHost::steps(3);
        auto* const self = static_cast<EnginePlayerTransportTest*>(data);
        EXPECT_EQ(frames(100, 200), self->pull(100));
        self->wasTold = true;
      };
  player->addPlaybackCallback(callback, this);
  EXPECT_EQ(0, player->stop());
  EXPECT_TRUE(wasTold);
  player->removePlaybackCallback(callback);
  SteppedHost::step();
  EXPECT_TRUE(pull(100).empty());
}

TEST_F(EnginePlayerTransportTest, StoppingWhatIsStoppedDoesTheSame)
{
  noteNotifications();
  EXPECT_EQ(0, player->stop());
  EXPECT_EQ(0, player->stop());
  EXPECT_EQ(6u, engine.take().size());
}

TEST_F(EnginePlayerTransportTest, TheEnginesResultsAreIgnoredByStop)
{
  engine.fail("PeTransportStop", 1);
  engine.fail("PeMixerReset", 1);
  noteNotifications();
  EXPECT_EQ(0, player->stop());
  EXPECT_EQ((Calls{"PeTransportStop(transport)", "PeMixerReset(mixer)", "Stopped 0 0"}),
            engine.take());
}

TEST_F(EnginePlayerTransportTest, TheEndOfASpanIsReportedAndTheHostMayStopFromThere)
{
  struct Host {
    TovAudioPlayer* player;
    int stops;
  } host = {player.get(), 0};
  player->setStopRequestCallback(
      [](void* data) {
        Host* const self = static_cast<Host*>(data);
        ++self->stops;
        self->player->stop();
      },
      &host);
  player->play(1.0, 1.0 + 100.0 / kRate, false);
  EXPECT_EQ(100u, pull(200).size());
  EXPECT_EQ(0, host.stops);
  SteppedHost::step();
  EXPECT_EQ(1, host.stops);
  EXPECT_EQ(0, player->isPlaying());
  player->play(1.0, 2.0, false);
  EXPECT_EQ(frames(kRate, kRate + 100), pull(100));
  EXPECT_EQ(1, host.stops);
}

// --- Position ------------------------------------------------------------------------------

TEST_F(EnginePlayerTransportTest, IsPlayingIsWhatTheTransportSays)
{
  EXPECT_EQ(0, player->isPlaying());
  engine.playing = true;
  EXPECT_EQ(1, player->isPlaying());
  engine.fail("PeTransportIsPlaying", 1);
  EXPECT_EQ(0, player->isPlaying());
  engine.take();
  player->isPlaying();
  EXPECT_EQ((Calls{"PeTransportIsPlaying(transport)"}), engine.take());
}

TEST_F(EnginePlayerTransportTest, TheCurrentTimeIsTheTransportsInSeconds)
{
  engine.playing = true;
  double time = 0.0;
  for (const double sample : {0.0, 44100.0, 22050.0, -44100.0, 1.0, 1.0e12}) {
    engine.time = sample;
    EXPECT_EQ(0, player->getCurrentTime(&time));
    EXPECT_EQ(sample / 44100.0, time);
  }
  engine.take();
  EXPECT_EQ(0, player->getCurrentTime(nullptr));
  EXPECT_EQ((Calls{"PeTransportIsPlaying(transport)", "PeTransportGetCurrentTime(transport)"}),
            engine.take());
}

TEST_F(EnginePlayerTransportTest, ThereIsNoCurrentTimeWithoutATransportThatPlays)
{
  double time = 7.0;
  EXPECT_EQ(1, player->getCurrentTime(&time)) << "stopped";
  EXPECT_EQ(1, player->getCurrentTime(nullptr));
  engine.playing = true;
  engine.fail("PeTransportIsPlaying", 1);
  EXPECT_EQ(1, player->getCurrentTime(&time));
  engine.fail("PeTransportIsPlaying", 0);
  engine.fail("PeTransportGetCurrentTime", 1);
  EXPECT_EQ(1, player->getCurrentTime(&time));
  EXPECT_EQ(7.0, time);
}

// --- The context ------------------------------------------------------------------------------

TEST_F(EnginePlayerTransportTest, TheMixIsRenderedAt44100WithTheSettingsQuality)
{
  support::Setting quality("sys.defaultAudioPlaybackQuality", kTovIdInteger, "1");
  quality.set("2");
  const support::FramesPerSecond rate("30");
  provider->keepRequests(true);
  player->play(0.0, 1.0, false);
  const std::vector<IndexedProvider::Request> requests = provider->takeRequests();
  ASSERT_EQ(4u, requests.size());
  for (const IndexedProvider::Request& request : requests) {
    EXPECT_EQ(44100, request.sampleRate);
    EXPECT_EQ(2, request.quality);
    EXPECT_EQ(0.0, request.frameRate) << "the FIFO's own context has none";
  }
}

} // namespace
