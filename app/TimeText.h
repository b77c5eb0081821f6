#pragma once

#include <string>

/** A time as the user wrote it.  Samples become seconds by the rate of a sound,
 *  which is known only once the files are open. */
struct WrittenTime {
  double number = 0.0;
  bool isInSamples = false;

  WrittenTime() = default;
  WrittenTime(double seconds) : number(seconds) {}
  WrittenTime(double count, bool areSamples) : number(count), isInSamples(areSamples) {}

  double secondsAt(int samplesPerSecond) const
  {
    return isInSamples ? number / samplesPerSecond : number;
  }

  /** Whether it surely is not behind another: where one is in samples and the
   *  other is not, only their rate tells. */
  bool isSurelyNotBehind(const WrittenTime& other) const
  {
    return isInSamples == other.isInSamples && number <= other.number;
  }
};

/** The time that a text on the command line stands for:
 *
 *      1.5  -0.25          seconds
 *      02:03.5             minutes and seconds
 *      01:02:03.500        hours, minutes and seconds
 *      120f                frames of the timeline
 *      01:02:03:12         timecode, never drop-frame
 *      22050smp            samples of one channel
 *
 *  Frames and timecode go by @p framesPerSecond.  Each may begin with a minus
 *  sign.  Throws UsageError, which names @p option and the forms, where the
 *  text is no time. */
WrittenTime timeOfText(const std::string& option, const std::string& text, double framesPerSecond);

/** Frames per second: a number ("25", "23.976") or a fraction ("30000/1001").
 *  Throws UsageError. */
double framesPerSecondOfText(const std::string& option, const std::string& text);

/** Minutes, seconds and thousandths for people: "2:03.500". */
std::string timeForPeople(double seconds);
