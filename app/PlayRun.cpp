#include "app/PlayRun.h"

#include <chrono>
#include <cstdio>
#include <iostream>
#include <thread>

#include "app/Failures.h"
#include "app/Interruption.h"
#include "app/PlayControls.h"
#include "app/PlayNews.h"
#include "app/PlayScreen.h"
#include "app/PlaySession.h"
#include "app/PlayTracks.h"
#include "app/Terminal.h"

// 25 times a second: what people take for motion, and easy on the output,
// which is asked three times each.
static constexpr double kTickSeconds = 0.04;

static double secondsNow()
{
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/** Going another way than it was told to, playing pauses at the end. */
static bool isDone(const Playback& playback)
{
  return playback.session.takeArrival() &&
         playback.session.getHead().isBackwards() == playback.isReverse;
}

// --- At a terminal --------------------------------------------------------

/** Reads keys for a tick and does what they ask for. */
static void takeKeys(Terminal& terminal, KeyDecoder& decoder, PlayControls& controls,
                     double& typedAt)
{
  const std::string bytes = terminal.read(kTickSeconds);
  const double now = secondsNow();
  if (bytes.empty()) {
    decoder.rest(now - typedAt);
    return;
  }
  typedAt = now;
  for (const Key& key : decoder.take(bytes)) {
    controls.press(key, now);
  }
}

static void sayNews(Terminal& terminal, PlayNews& news, PlayControls& controls,
                    const Playback& playback)
{
  for (const PlayNews::Item& item : news.take(playback.session, playback.tracks)) {
    terminal.say(item.subject + ": " + item.text + "\n");
  }
  if (controls.takeHelpRequest()) {
    terminal.say(kPlayKeyNotes);
  }
}

/** Nothing is heard of a suspended program, so that nothing may go by. */
static void suspend(Terminal& terminal, PlaySession& session)
{
  const bool wasPlaying = session.getState() == PlaySession::playing;
  session.pause();
  terminal.suspend();
  if (wasPlaying) {
    session.play();
  }
}

void playAtTerminal(const Playback& playback)
{
  Terminal terminal;
  PlayControls controls(playback.session, playback.tracks, playback.player);
  KeyDecoder decoder;
  PlayNews news;
  double typedAt = secondsNow();
  playback.session.play();
  while (!controls.isQuitAskedFor()) {
    throwIfInterrupted();
    playback.session.update(secondsNow());
    // Before another key can turn it round.
    if (isDone(playback)) {
      return;
    }
    sayNews(terminal, news, controls, playback);
    // A full line would leave the cursor on the next one on some terminals.
    terminal.showLine(statusLine(controls.status(secondsNow()), terminal.width() - 1));
    takeKeys(terminal, decoder, controls, typedAt);
    if (terminal.isSuspensionAskedFor()) {
      suspend(terminal, playback.session);
    }
  }
}

// --- Elsewhere ------------------------------------------------------------

static void report(const Playback& playback, ProgressStyle style, const char* event)
{
  if (style == ProgressStyle::none) {
    return;
  }
  const PlayStatus status = statusOf(playback.session, playback.tracks, playback.player);
  if (style == ProgressStyle::text) {
    (void)std::fprintf(stderr, "%s\n", statusText(status).c_str());
  } else if (!(std::cout << statusJson(status, event) << std::endl)) {
    throw Failure("standard output", "could not be written");
  }
}

void playUnattended(const Playback& playback, ProgressStyle style, const Notices& notices)
{
  constexpr double kReportSeconds = 1.0;
  PlayNews news;
  double reportAt = 0.0;
  playback.session.play();
  while (!isDone(playback)) {
    throwIfInterrupted();
    const double now = secondsNow();
    playback.session.update(now);
    for (const PlayNews::Item& item : news.take(playback.session, playback.tracks)) {
      notices.say(item.subject, item.text);
    }
    if (playback.session.getState() == PlaySession::givenUp) {
      throw Failure("playback", "the audio output was lost");
    }
    if (now >= reportAt) {
      report(playback, style, "position");
      reportAt = now + kReportSeconds;
    }
    std::this_thread::sleep_for(std::chrono::duration<double>(kTickSeconds));
  }
  report(playback, style, "done");
}
