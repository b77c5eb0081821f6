#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

class PlaySession;
class PlayTracks;
class TovAudioPlayer;

/** What a meter shows of one channel. */
struct ChannelReading {
  double level = 0.0; ///< dBFS
  double peak = 0.0;  ///< dBFS, held
  long long clips = 0;
};

/** The span of a loop, in seconds. */
struct LoopReading {
  double from;
  double to;
};

/** What the user is told of playback. */
struct PlayStatus {
  std::string state;      ///< "playing", "backwards", "paused", "lost device", ...
  double position = 0.0;  ///< seconds of the timeline, as heard
  std::string timecode;   ///< the same
  double remaining = 0.0; ///< seconds
  std::array<ChannelReading, 2> channels;
  std::optional<LoopReading> loop;
  float volume = 1.0f;   ///< factor
  int filter = 0;        ///< hertz; none at 0
  int selectedTrack = 0; ///< counted from 1; none at 0
  int trackCount = 0;
  std::vector<int> muted;  ///< tracks, counted from 1
  std::vector<int> soloed; ///< tracks, counted from 1
  std::string hint;        ///< what a key could not do; usually empty
};

/** What there is to tell now; no track is selected and nothing hinted at. */
PlayStatus statusOf(const PlaySession& session, const PlayTracks& tracks, TovAudioPlayer& player);
