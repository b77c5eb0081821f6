#pragma once

#include <chrono>
#include <string>

/** How a long render tells how far it is. */
enum class ProgressStyle {
  automatic, ///< text where standard error is a terminal, else none
  text,      ///< one line on standard error, rewritten in place
  json,      ///< one JSON object per line on standard output
  none
};

/** Throws UsageError where the text is none of the styles. */
ProgressStyle progressStyleOfText(const std::string& option, const std::string& text);

/** Tells, at most ten times a second, how much of a render is done. */
class Progress {
public:
  Progress(ProgressStyle style, long long totalFrames, int rate);
  ~Progress(); ///< takes the line away
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void advance(int frames);

  /** Seconds of sound per second of work so far. */
  double timesRealTime() const;

private:
  using Clock = std::chrono::steady_clock;

  double elapsedSeconds() const;
  void show(double elapsed);
  void showText(double percent, double secondsLeft);
  void showJson(double percent, double secondsLeft) const;

  ProgressStyle style; ///< never automatic
  long long totalFrames;
  int rate;
  long long doneFrames = 0;
  Clock::time_point start = Clock::now();
  double shownAt = -1.0; ///< seconds after start
  bool isLineShown = false;
};
