#include "app/PlayStatus.h"

#include "app/PlaySession.h"
#include "app/PlayTracks.h"
#include "playback/TovAudioPlayer.h"

static std::string stateText(const PlaySession& session)
{
  const PlayHead& head = session.getHead();
  switch (session.getState()) {
  case PlaySession::paused:
    return "paused";
  case PlaySession::scrubbing:
    return "frame";
  case PlaySession::lost:
  case PlaySession::givenUp:
    return "lost device";
  case PlaySession::playing:
    break;
  }
  if (head.getSpeed() > 1) {
    return (head.isBackwards() ? "backward " : "forward ") + std::to_string(head.getSpeed()) + "x";
  }
  return head.isBackwards() ? "backwards" : "playing";
}

PlayStatus statusOf(const PlaySession& session, const PlayTracks& tracks, TovAudioPlayer& player)
{
  const PlayHead& head = session.getHead();
  const TimelineGrid& grid = head.getGrid();
  PlayStatus status;
  status.state = stateText(session);
  status.position = grid.secondsAt(head.getPosition());
  status.timecode = grid.timecodeAt(head.getPosition());
  status.remaining = grid.secondsAt(head.remaining());
  for (std::size_t c = 0; c < status.channels.size(); ++c) {
    const LevelBallistics& level = session.getLevels()[c];
    status.channels[c] = {level.getLevel(), level.getPeak(), level.getClips()};
  }
  if (const std::optional<FrameSpan>& loop = head.getLoop()) {
    status.loop = {grid.secondsAt(loop->from), grid.secondsAt(loop->to)};
  }
  player.getVolume(&status.volume);
  status.filter = player.getFilterFreq();
  status.trackCount = tracks.getCount();
  status.muted = tracks.muted();
  status.soloed = tracks.soloed();
  return status;
}
