#include "app/PlotFacts.h"

#include <cmath>
#include <cstdio>

#include "app/NumberText.h"
#include "app/TimeText.h"

std::string levelText(double decibels)
{
  if (!std::isfinite(decibels)) {
    return decibels < 0.0 ? "\u2212\u221E dBFS" : "beyond all dBFS";
  }
  char text[48];
  (void)std::snprintf(text, sizeof text, "%.2f dBFS", std::fabs(decibels));
  return (decibels <= -0.005 ? "\u2212" : "") + std::string(text);
}

std::string titleOfFile(const std::string& path)
{
  const std::size_t slash = path.rfind('/');
  const bool isName = slash == std::string::npos || slash + 1 == path.size();
  return drawable(isName ? path : path.substr(slash + 1));
}

std::string rateText(int rate)
{
  return rate < 1000 ? std::to_string(rate) + " Hz" : shortNumber(rate / 1000.0) + " kHz";
}

static double meanPower(const LevelMeter& levels)
{
  double sum = 0.0;
  const std::vector<double> channels = levels.rmsInDecibels();
  for (const double decibels : channels) {
    sum += std::pow(10.0, decibels / 10.0);
  }
  return sum / static_cast<double>(channels.size());
}

void addLevelFacts(PlotHeader& header, const LevelMeter* levels, long long clipped,
                   const char* where)
{
  if (levels == nullptr) {
    header.facts.insert(header.facts.end(),
                        {"peak " + levelText(-100.0), "RMS " + levelText(-100.0),
                         std::string("10000 samples ") + where});
    return;
  }
  const double peak = static_cast<double>(levels->getHighestPeak());
  header.facts.push_back("peak " + levelText(decibelsOfFullScale(peak)));
  header.facts.push_back("RMS " + levelText(10.0 * std::log10(meanPower(*levels))));
  if (clipped > 0) {
    header.facts.push_back(std::to_string(clipped) + (clipped == 1 ? " sample " : " samples ") +
                           where);
  }
}

std::string clockTimeText(double seconds)
{
  constexpr double kHour = 3600.0;
  if (seconds < 0.0) {
    return std::string("\u2212").append(clockTimeText(-seconds));
  }
  if (seconds < kHour) {
    return timeForPeople(seconds);
  }
  const long long thousandths = std::llround(seconds * 1000.0);
  char text[64];
  (void)std::snprintf(text, sizeof text, "%lld:%02lld:%02lld.%03lld", thousandths / 3600000,
                      thousandths / 60000 % 60, thousandths / 1000 % 60, thousandths % 1000);
  return text;
}

std::string lengthFact(FrameSpan span, FrameSpan whole, int rate)
{
  const auto text = [rate](long long frames) {
    return clockTimeText(static_cast<double>(frames) / rate);
  };
  if (span.from == whole.from && span.to == whole.to) {
    return text(span.length());
  }
  return text(span.from) + " to " + text(span.to);
}
