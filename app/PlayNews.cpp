#include "app/PlayNews.h"

#include "app/LibraryMessages.h"
#include "app/PlayTracks.h"

/** What a change of state tells; empty where the user made it. */
static std::string outputText(PlaySession::State before, PlaySession::State after)
{
  if (after == PlaySession::lost && before != PlaySession::lost) {
    return "the audio output was lost; it is tried again";
  }
  if (after == PlaySession::givenUp && before != PlaySession::givenUp) {
    return "the audio output did not come back";
  }
  if (after == PlaySession::playing && before == PlaySession::lost) {
    return "the audio output is back";
  }
  return std::string();
}

std::vector<PlayNews::Item> PlayNews::take(const PlaySession& session, PlayTracks& tracks)
{
  std::vector<Item> items;
  if (const std::string text = outputText(state, session.getState()); !text.empty()) {
    items.push_back({"playback", text});
  }
  state = session.getState();
  for (const PlayTracks::LostFile& file : tracks.takeLostFiles()) {
    items.push_back({file.name, file.reason + "; the rest plays on"});
  }
  if (const std::string warning = takeLibraryWarning(); !warning.empty()) {
    // Its class is nothing that a user knows.
    const std::size_t behindClass = warning.find(": ");
    items.push_back(
        {"playback", behindClass == std::string::npos ? warning : warning.substr(behindClass + 2)});
  }
  return items;
}
