#include "app/TimeText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <vector>

#include "app/Failures.h"
#include "app/NumberText.h"

static std::vector<std::string> splitAt(const std::string& text, char separator)
{
  std::vector<std::string> fields(1);
  for (const char c : text) {
    if (c == separator) {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

static bool hasOnly(const std::string& text, const char* characters)
{
  return !text.empty() && text.find_first_not_of(characters) == std::string::npos;
}

static std::optional<double> unsignedDecimal(const std::string& text)
{
  return hasOnly(text, "0123456789.") ? numberOf(text) : std::nullopt;
}

static std::optional<double> unsignedWhole(const std::string& text)
{
  return hasOnly(text, "0123456789") ? numberOf(text) : std::nullopt;
}

/** MM:SS.mmm or HH:MM:SS.mmm; the leading field has no limit. */
static std::optional<double> clockSeconds(const std::vector<std::string>& fields)
{
  double seconds = 0.0;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const bool isLast = i + 1 == fields.size();
    const std::optional<double> field =
        isLast ? unsignedDecimal(fields[i]) : unsignedWhole(fields[i]);
    if (!field || (i > 0 && *field >= 60.0)) {
      return std::nullopt;
    }
    seconds = seconds * 60.0 + *field;
  }
  return seconds;
}

/** Timecode counts frames by the nearest whole rate, so that at 29.97 frames
 *  per second an hour of timecode lasts a little longer than an hour. */
static std::optional<double> timecodeSeconds(std::vector<std::string> fields,
                                             double framesPerSecond)
{
  const std::optional<double> frame = unsignedWhole(fields.back());
  fields.pop_back();
  const std::optional<double> second = unsignedWhole(fields.back());
  const std::optional<double> wholeSeconds = clockSeconds(fields);
  const double framesPerCount = std::max(1.0, std::round(framesPerSecond));
  if (!frame || !second || !wholeSeconds || *frame >= framesPerCount) {
    return std::nullopt;
  }
  return (*wholeSeconds * framesPerCount + *frame) / framesPerSecond;
}

/** The whole number before a unit; nothing where the text is none with it. */
static std::optional<double> countOf(const std::string& text, const std::string& unit)
{
  return text.ends_with(unit) ? unsignedWhole(text.substr(0, text.size() - unit.size()))
                              : std::nullopt;
}

static std::optional<double> unsignedSeconds(const std::string& text, double framesPerSecond)
{
  if (const std::optional<double> frames = countOf(text, "f")) {
    return *frames / framesPerSecond;
  }
  const std::vector<std::string> fields = splitAt(text, ':');
  switch (fields.size()) {
  case 1:
    return unsignedDecimal(text);
  case 2:
  case 3:
    return clockSeconds(fields);
  case 4:
    return timecodeSeconds(fields, framesPerSecond);
  default:
    return std::nullopt;
  }
}

static std::optional<WrittenTime> unsignedTime(const std::string& text, double framesPerSecond)
{
  // Far beyond any timeline, and as far from where frame numbers overflow.
  constexpr double kMostSeconds = 1e8;
  constexpr double kMostSamples = 1e13;
  if (const std::optional<double> samples = countOf(text, "smp")) {
    return *samples > kMostSamples ? std::nullopt : std::optional(WrittenTime(*samples, true));
  }
  const std::optional<double> seconds = unsignedSeconds(text, framesPerSecond);
  return !seconds || *seconds > kMostSeconds ? std::nullopt : std::optional(WrittenTime(*seconds));
}

WrittenTime timeOfText(const std::string& option, const std::string& text, double framesPerSecond)
{
  if (text.find(';') != std::string::npos) {
    throw UsageError(option + ": \"" + text +
                     "\" is drop-frame timecode, which is not supported; write HH:MM:SS:FF");
  }
  const bool isNegative = !text.empty() && text.front() == '-';
  const bool hasSign = isNegative || (!text.empty() && text.front() == '+');
  std::optional<WrittenTime> time = unsignedTime(hasSign ? text.substr(1) : text, framesPerSecond);
  if (!time) {
    throw UsageError(option + ": \"" + text +
                     "\" is no time; write seconds (1.5), MM:SS.mmm, HH:MM:SS.mmm, samples "
                     "(22050smp), frames (120f) or timecode (HH:MM:SS:FF, at " +
                     shortNumber(framesPerSecond) + " frames per second)");
  }
  if (isNegative) {
    time->number = -time->number;
  }
  return *time;
}

double framesPerSecondOfText(const std::string& option, const std::string& text)
{
  const std::vector<std::string> parts = splitAt(text, '/');
  std::optional<double> rate = unsignedDecimal(parts[0]);
  if (parts.size() == 2) {
    const std::optional<double> divisor = unsignedDecimal(parts[1]);
    rate =
        rate && divisor && *divisor > 0.0 ? std::optional<double>(*rate / *divisor) : std::nullopt;
  }
  // The library takes the host's timeline rate within these bounds.
  if (!rate || parts.size() > 2 || *rate < 0.1 || *rate > 200000.0) {
    throw UsageError(option + ": \"" + text +
                     "\" is no frame rate; write 25, 23.976 or 30000/1001 (0.1 to 200000)");
  }
  return *rate;
}

std::string timeForPeople(double seconds)
{
  // Such times stand only in sessions that went wrong.
  constexpr double kMostShown = 1e12;
  if (!(std::fabs(seconds) < kMostShown)) {
    return shortNumber(seconds);
  }
  const long long thousandths = std::llround(std::fabs(seconds) * 1000.0);
  char text[48];
  (void)std::snprintf(text, sizeof text, "%s%lld:%02lld.%03lld", seconds < 0.0 ? "-" : "",
                      thousandths / 60000, thousandths / 1000 % 60, thousandths % 1000);
  return text;
}
