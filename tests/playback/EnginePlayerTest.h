#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioMixer.h"
#include "playback/TovAudioPlayerOSX.h"
#include "tests/playback/IndexedProvider.h"
#include "tests/playback/RecordingEngine.h"
#include "tests/playback/SteppedHost.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"

namespace support {

/** An engine-backed player over a recording engine, with indexed samples as the
 *  only track of the master mixer. */
class EnginePlayerTest : public testing::Test {
public:
  static constexpr int kRate = 44100;
  using Calls = std::vector<std::string>;

  EnginePlayerTest()
  {
    playAlone(*provider);
    provider->keepRequests(false);
    SteppedHost::takeHostPauses();
    SteppedHost::setPauseListener([this](double seconds) {
      engine.note("sleep " + RecordingEngine::number(seconds));
    });
  }

  ~EnginePlayerTest() override
  {
    player.reset();
    SteppedHost::setPauseListener({});
    mixer->clear();
  }

  /** Makes the source the only track, without an end and with its fade far
   *  away. */
  void playAlone(TovAudioProvider& source)
  {
    mixer->clear();
    mixer->addProvider(&source);
    mixer->setStartTime(&source, -1.0e6);
    mixer->setEndTime(&source, -1.0e6);
  }

  /** Makes the player and forgets what that called. */
  TovAudioPlayerOSX& make()
  {
    player = std::make_unique<TovAudioPlayerOSX>();
    SteppedHost::settle();
    engine.take();
    return *player;
  }

  /** Notes every notification in the engine's record. */
  void noteNotifications()
  {
    player->addPlaybackCallback(
        [](void* data, TovAudioPlayer*, TovAudioPlayer::Status status, float a, float b) {
          static_cast<RecordingEngine*>(data)->note(
              (status == TovAudioPlayer::Playing ? "Playing " : "Stopped ") +
              RecordingEngine::number(a) + " " + RecordingEngine::number(b));
        },
        &engine);
  }

  /** What the engine's track gets of the next frames, up to the first silent
   *  one. */
  std::vector<long long> pull(int frames)
  {
    std::vector<float> left(static_cast<std::size_t>(frames), 0.5f);
    std::vector<float> right(left);
    unsigned char flag = 77;
    EXPECT_EQ(0, engine.pull(static_cast<unsigned long>(frames), left.data(), right.data(), &flag));
    EXPECT_EQ(0, flag);
    std::vector<long long> indices;
    for (std::size_t i = 0; i < left.size(); ++i) {
      const long long index = IndexedProvider::index(left[i], right[i]);
      if (index == IndexedProvider::kSilence)
        break;
      indices.push_back(index);
    }
    return indices;
  }

  static std::vector<long long> frames(long long first, long long last)
  {
    std::vector<long long> indices;
    for (long long i = first; i < last; ++i)
      indices.push_back(i);
    for (long long i = first; i > last; --i)
      indices.push_back(i - 1);
    return indices;
  }

  RecordingEngine engine;
  Messages messages;
  Owned<TovAudioMixer> mixer = Owned<TovAudioMixer>(TovAudioMixer::getMasterMixer());
  Owned<IndexedProvider> provider = support::make<IndexedProvider>();
  std::unique_ptr<TovAudioPlayerOSX> player;
};

} // namespace support
