#include "app/Progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "app/Failures.h"
#include "app/Suggestion.h"

ProgressStyle progressStyleOfText(const std::string& option, const std::string& text)
{
  if (text == "auto") {
    return ProgressStyle::automatic;
  }
  if (text == "text") {
    return ProgressStyle::text;
  }
  if (text == "json") {
    return ProgressStyle::json;
  }
  if (text == "none") {
    return ProgressStyle::none;
  }
  throw UsageError(option + ": \"" + text + "\" is none of auto, text, json and none" +
                   suggestion(text, {"auto", "text", "json", "none"}));
}

static ProgressStyle chosenStyle(ProgressStyle wanted)
{
  if (wanted != ProgressStyle::automatic) {
    return wanted;
  }
  return isatty(STDERR_FILENO) != 0 ? ProgressStyle::text : ProgressStyle::none;
}

Progress::Progress(ProgressStyle wanted, long long frames, int framesPerSecond)
    : style(chosenStyle(wanted)), totalFrames(frames), rate(framesPerSecond)
{
}

Progress::~Progress()
{
  if (isLineShown) {
    (void)std::fputs("\r\033[K", stderr);
    (void)std::fflush(stderr);
  }
}

double Progress::elapsedSeconds() const
{
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double Progress::timesRealTime() const
{
  return static_cast<double>(doneFrames) / rate / std::max(elapsedSeconds(), 1e-6);
}

void Progress::advance(int frames)
{
  constexpr double kSecondsBetween = 0.1;
  doneFrames += frames;
  const double elapsed = elapsedSeconds();
  if (style == ProgressStyle::none ||
      (elapsed < shownAt + kSecondsBetween && doneFrames < totalFrames)) {
    return;
  }
  show(elapsed);
  shownAt = elapsed;
}

void Progress::show(double elapsed)
{
  const double done = static_cast<double>(doneFrames) / static_cast<double>(totalFrames);
  const double secondsLeft = elapsed * (1.0 - done) / done;
  if (style == ProgressStyle::json) {
    showJson(100.0 * done, secondsLeft);
  } else {
    showText(100.0 * done, secondsLeft);
  }
}

void Progress::showText(double percent, double secondsLeft)
{
  const long left = std::lround(secondsLeft);
  (void)std::fprintf(stderr, "\r%3.0f%%  %.1f x real time  %ld:%02ld left\033[K", percent,
                     timesRealTime(), left / 60, left % 60);
  (void)std::fflush(stderr);
  isLineShown = true;
}

void Progress::showJson(double percent, double secondsLeft) const
{
  const nlohmann::ordered_json line = {{"event", "progress"},
                                       {"percent", percent},
                                       {"frames", doneFrames},
                                       {"totalFrames", totalFrames},
                                       {"timesRealTime", timesRealTime()},
                                       {"secondsLeft", secondsLeft}};
  std::cout << line.dump() << std::endl;
}
