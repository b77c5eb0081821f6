#include "app/PlaySession.h"

#include <cmath>

#include "app/Failures.h"
#include "app/TrackPlan.h"
#include "playback/TovAudioPlayer.h"

// A lost output is tried again after pauses that double from the first one.
static constexpr double kFirstPauseSeconds = 0.25;
static constexpr int kMostTries = 5;

PlaySession::PlaySession(TovAudioPlayer& playerToDrive, const PlayHead& start)
    : player(playerToDrive), head(start)
{
  player.setStopRequestCallback(noteEndStatic, this);
}

PlaySession::~PlaySession()
{
  player.stop();
  player.setStopRequestCallback(nullptr, nullptr);
}

/** The player's thread must not wait for what stop() waits for. */
void PlaySession::noteEndStatic(void* session)
{
  static_cast<PlaySession*>(session)->hasEnded = true;
}

bool PlaySession::takeArrival()
{
  const bool was = hasArrived;
  hasArrived = false;
  return was;
}

// --- What the user does ---------------------------------------------------

void PlaySession::play()
{
  takePosition();
  if (head.isAtEnd()) {
    head.rewind();
  }
  head.face(head.isBackwards());
  state = playing;
  isChanged = true;
}

void PlaySession::shuttle(bool isBackwards)
{
  takePosition();
  if (state == playing) {
    head.shuttle(isBackwards);
  } else {
    head.face(isBackwards);
  }
  state = playing;
  isChanged = true;
}

void PlaySession::pause()
{
  takePosition();
  player.stop();
  state = paused;
  isChanged = false;
}

void PlaySession::change(const std::function<void(PlayHead&)>& make)
{
  takePosition();
  make(head);
  if (state == playing) {
    isChanged = true;
  } else if (state == scrubbing) {
    pause();
  }
}

void PlaySession::refresh()
{
  change([](PlayHead&) {});
}

void PlaySession::scrub(int timelineFrames)
{
  takePosition();
  head.stepBy(timelineFrames);
  isScrubbedBack = timelineFrames < 0;
  state = scrubbing;
  isChanged = true;
}

// --- What the player does -------------------------------------------------

/** Into the head; a frame that is scrubbed plays while the head stands. */
void PlaySession::takePosition()
{
  double time = 0.0;
  if (isChanged || (state != playing && state != scrubbing) || player.getCurrentTime(&time) != 0) {
    return;
  }
  elapsed = std::llround(time * head.getGrid().rate) - segment.transportStart();
  if (state == playing) {
    head.moveTo(segment.positionAt(elapsed));
  }
}

void PlaySession::update(double now)
{
  if (isChanged) {
    begin(now);
  }
  if (state == playing || state == scrubbing) {
    follow(now);
  } else if (state == lost) {
    tryAgain(now);
  }
  showLevels(now);
}

void PlaySession::begin(double now)
{
  isChanged = false;
  segment = state == scrubbing ? head.frameSegment(isScrubbedBack) : head.segment();
  // An end that belongs to what played before must not count.
  player.stop();
  hasEnded = false;
  elapsed = 0;
  movedAt = now;
  if (segment.length() == 0) {
    state = paused;
    return;
  }
  const int rate = head.getGrid().rate;
  const double start = timeOnFrame(head.getGrid().secondsAt(segment.start), rate);
  const double end = timeOnFrame(head.getGrid().secondsAt(segment.end), rate);
  if (player.play(start, end, segment.isLoop) != 0) {
    throw Failure("playback", "the audio output could not be opened");
  }
}

void PlaySession::follow(double now)
{
  const long long before = elapsed;
  takePosition();
  if (elapsed > before) {
    movedAt = now;
  }
  if (player.isPlaying() == 0) {
    lose(now);
  } else if (hasEnded && isHeardOut(now)) {
    // What is as short as a frame may not have been seen before.
    showLevels(now);
    arrive();
  }
}

/** What ended has been rendered and handed to the output, which still plays
 *  it.  An output that stands still is not waited for. */
bool PlaySession::isHeardOut(double now)
{
  constexpr double kLongestStandstill = 2.0;
  constexpr double kTailSeconds = 0.1; // what stood still on the way comes later than expected
  const bool isLast = state == playing && head.isAtEnd();
  const long long tail = isLast ? std::llround(kTailSeconds * head.getGrid().rate) : 0;
  return elapsed >= segment.length() + tail || now > movedAt + kLongestStandstill;
}

void PlaySession::arrive()
{
  if (state == scrubbing) {
    player.stop();
    state = paused;
    return;
  }
  head.arriveBehind(segment);
  if (head.isAtEnd()) {
    player.stop();
    state = paused;
    hasArrived = true;
  } else {
    isChanged = true;
  }
}

void PlaySession::lose(double now)
{
  player.stop();
  state = state == playing ? lost : paused;
  tries = 0;
  nextTryAt = now + kFirstPauseSeconds;
}

void PlaySession::tryAgain(double now)
{
  if (now < nextTryAt) {
    return;
  }
  state = playing;
  begin(now);
  if (state != playing || player.isPlaying() != 0) {
    return;
  }
  player.stop();
  ++tries;
  state = tries < kMostTries ? lost : givenUp;
  nextTryAt = now + std::ldexp(kFirstPauseSeconds, tries);
}

/** The first call at all gives silence, and so does every one in a pause. */
void PlaySession::showLevels(double now)
{
  float linear[2] = {0.0f, 0.0f};
  if (player.getLevels(linear, this) == 0) {
    levels[0].show(linear[0], now);
    levels[1].show(linear[1], now);
  }
}
