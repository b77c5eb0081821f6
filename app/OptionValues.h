#pragma once

#include <string>

// The values that several commands' options take.  Each throws UsageError,
// which names the option, where the text is none or out of range; nothing is
// clamped silently.

/** A number from @p lowest to @p highest. */
double numberInRange(const std::string& option, const std::string& text, double lowest,
                     double highest);

/** A level in decibels that the library's gains can take: up to a factor of 8,
 *  which is +18.06 dB. */
float decibelsOfText(const std::string& option, const std::string& text);

/** Frames per second of an output. */
int sampleRateOfText(const std::string& option, const std::string& text);

/** 8, 16, 24 or 32. */
int bitsOfText(const std::string& option, const std::string& text);

/** 0 to 3 for "proxy", "medium", "high" and "highest". */
int qualityOfText(const std::string& option, const std::string& text);

/** The name of a quality in small letters. */
std::string qualityName(int quality);

inline constexpr int kHighestQuality = 3;

/** "wav" or "aiff". */
std::string formatOfText(const std::string& option, const std::string& text);

/** Throws UsageError where @p name, of a file to read, means standard input. */
void checkInputName(const std::string& name);

/** Throws UsageError where dither is asked for and would do nothing. */
void checkDitherBits(int bits);
