#pragma once

#include <string>
#include <vector>

#include "app/MixGraph.h"

/** The tracks of a mix while it plays: muting, soloing, and files that let it
 *  down.  Tracks are counted from 1.  Main thread. */
class PlayTracks {
public:
  explicit PlayTracks(MixGraph& graph);

  int getCount() const { return graph.getTrackCount(); }
  bool isMuted(int track) const;
  bool isSolo(int track) const;
  std::vector<int> muted() const;
  std::vector<int> soloed() const;

  void toggleMute(int track);
  void toggleSolo(int track);

  /** A file that could not be read any more. */
  struct LostFile {
    std::string name;
    std::string reason;
  };

  /** Those that were lost since this was asked. */
  std::vector<LostFile> takeLostFiles();

  /** Opens lost files anew, where they are there again. */
  void tryLostFilesAgain();

private:
  TovAudioTrack& trackAt(int track) const { return *graph.getMixer().getTrack(track - 1); }

  MixGraph& graph;
  std::vector<bool> mutes;  ///< what the user wants; index from 0
  std::vector<bool> isTold; ///< of the graph's files: known to be lost
};
