#pragma once

#include <string>

/** The seconds that a time on the command line stands for:
 *
 *      1.5  -0.25          seconds
 *      02:03.5             minutes and seconds
 *      01:02:03.500        hours, minutes and seconds
 *      120f                frames of the timeline
 *      01:02:03:12         timecode, never drop-frame
 *
 *  The last two go by @p framesPerSecond.  Each may begin with a minus sign.
 *  Throws UsageError, which names @p option, where the text is no time. */
double secondsOfTimeText(const std::string& option, const std::string& text,
                         double framesPerSecond);

/** Frames per second: a number ("25", "23.976") or a fraction ("30000/1001").
 *  Throws UsageError. */
double framesPerSecondOfText(const std::string& option, const std::string& text);

/** Minutes, seconds and thousandths for people: "2:03.500". */
std::string timeForPeople(double seconds);
