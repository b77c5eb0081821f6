#include "app/PlayTracks.h"

#include "app/Failures.h"

static std::size_t index(int track)
{
  return static_cast<std::size_t>(track - 1);
}

PlayTracks::PlayTracks(MixGraph& playedGraph)
    : graph(playedGraph), isTold(playedGraph.getFiles().size())
{
  for (int track = 0; track < graph.getTrackCount(); ++track) {
    mutes.push_back(graph.getTrack(track).settings.mute);
  }
}

bool PlayTracks::isMuted(int track) const
{
  return mutes[index(track)];
}

bool PlayTracks::isSolo(int track) const
{
  return trackAt(track).getSolo();
}

std::vector<int> PlayTracks::muted() const
{
  std::vector<int> tracks;
  for (int track = 1; track <= getCount(); ++track) {
    if (isMuted(track)) {
      tracks.push_back(track);
    }
  }
  return tracks;
}

std::vector<int> PlayTracks::soloed() const
{
  std::vector<int> tracks;
  for (int track = 1; track <= getCount(); ++track) {
    if (isSolo(track)) {
      tracks.push_back(track);
    }
  }
  return tracks;
}

/** A track shorter than a frame would be one without an end: it stays muted. */
void PlayTracks::toggleMute(int track)
{
  mutes[index(track)] = !mutes[index(track)];
  graph.getMixer().setMute(trackAt(track).getProvider(),
                           mutes[index(track)] || graph.getPlan(track - 1).isTooShort);
}

void PlayTracks::toggleSolo(int track)
{
  graph.getMixer().setSolo(trackAt(track).getProvider(), !isSolo(track));
}

static std::string reasonOf(const WatchedFile& file)
{
  try {
    file.throwIfFailed();
  } catch (const Failure& failure) {
    return failure.reason();
  }
  return "could not be read for a while";
}

std::vector<PlayTracks::LostFile> PlayTracks::takeLostFiles()
{
  std::vector<LostFile> lost;
  for (std::size_t i = 0; i < isTold.size(); ++i) {
    const WatchedFile& file = *graph.getFiles()[i];
    const bool isNews = file.isFailed() && !isTold[i];
    isTold[i] = file.isFailed();
    if (isNews) {
      lost.push_back({file.getSource().name, reasonOf(file)});
    }
  }
  return lost;
}

void PlayTracks::tryLostFilesAgain()
{
  for (const ProviderReference<WatchedFile>& file : graph.getFiles()) {
    file->tryAgain();
  }
}
