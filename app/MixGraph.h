#pragma once

#include <vector>

#include "app/ChannelBuffers.h"
#include "app/MixRequest.h"
#include "app/Notices.h"
#include "app/ProviderReference.h"
#include "app/SourceFile.h"
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
  /** Opens all files and places them.  Throws Failure and UsageError. */
  MixGraph(const MixRequest& request, const Notices& notices);
  ~MixGraph();
  MixGraph(const MixGraph&) = delete;
  MixGraph& operator=(const MixGraph&) = delete;

  int getRate() const { return context.sampleRate; }
  int getTrackCount() const { return static_cast<int>(plans.size()); }
  const SourceFile& getSource(int track) const { return sources[index(track)]; }
  const TrackPlan& getPlan(int track) const { return plans[index(track)]; }
  bool isHeard(int track) const;

  /** Timeline frame at which the last track ends. */
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
  void addTrack(const TrackRequest& request, const SourceFile& source, const TrackPlan& plan);

  std::vector<SourceFile> sources;
  std::vector<TrackPlan> plans;
  std::vector<ProviderReference<WatchedFile>> files;
  ProviderReference<TovAudioMixer> mixer;
  TovAudioContext context;
  TovNLArray<int> leftAndRight;
};
