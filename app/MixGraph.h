#pragma once

#include <vector>

#include "app/ChannelBuffers.h"
#include "app/MixRequest.h"
#include "app/MixTrack.h"
#include "app/Notices.h"
#include "app/ProviderReference.h"
#include "app/TrackPlan.h"
#include "app/WatchedFile.h"
#include "core/TovAudioContext.h"
#include "graph/TovAudioMixer.h"

/** The library's side of a mix: a file provider per track, and the mixer.
 *
 *      drums.wav -> WatchedFile -> track -+
 *      bass.aiff -> WatchedFile -> track -+-> TovAudioMixer -> render()
 */
class MixGraph {
public:
  /** Places the tracks in a mixer of its own.  Throws Failure. */
  MixGraph(const MixContents& contents, const MixRequest& request, const Notices& notices);

  /** The same in @p mixer, whose own tracks go. */
  MixGraph(const MixContents& contents, const MixRequest& request, const Notices& notices,
           ProviderReference<TovAudioMixer> mixer);

  ~MixGraph();
  MixGraph(const MixGraph&) = delete;
  MixGraph& operator=(const MixGraph&) = delete;

  int getRate() const { return context.sampleRate; }

  /** What times in samples go by; not the rate where it is the player's. */
  int getCountingRate() const { return countingRate; }
  int getTrackCount() const { return static_cast<int>(plans.size()); }
  const MixTrack& getTrack(int track) const { return tracks[index(track)]; }
  const TrackPlan& getPlan(int track) const { return plans[index(track)]; }
  bool isHeard(int track) const;
  TovAudioMixer& getMixer() const { return *mixer; }

  /** Of the tracks that are not missing, in their order. */
  const std::vector<ProviderReference<WatchedFile>>& getFiles() const { return files; }

  /** Timeline frame at which the sound of the last track ends. */
  long long getEndFrame() const;

  /** Makes the files ready to be read.  Throws Failure. */
  void activate();

  /** Renders one block from @p firstFrame of the timeline on, silence where
   *  there is no track.  Throws Failure where an input can no longer be read. */
  void render(const ChannelBuffers& block, long long firstFrame);

  /** Throws Failure where a heard file has become shorter meanwhile. */
  void checkInputs() const;

private:
  static std::size_t index(int track) { return static_cast<std::size_t>(track); }
  ProviderReference<TovAudioFile> inputFor(const MixTrack& track, const TrackPlan& plan);
  void addTrack(const MixTrack& track, const TrackPlan& plan);

  std::vector<MixTrack> tracks;
  std::vector<TrackPlan> plans;
  std::vector<ProviderReference<WatchedFile>> files; ///< of those that are not missing
  ProviderReference<TovAudioMixer> mixer;
  TovAudioContext context;
  int countingRate;
  TovNLArray<int> leftAndRight;
};
