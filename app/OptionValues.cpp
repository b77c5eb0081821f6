#include "app/OptionValues.h"

#include <cctype>
#include <optional>
#include <vector>

#include "app/Failures.h"
#include "app/NumberText.h"
#include "app/Suggestion.h"
#include "pcm/TovPcm.h"

double numberInRange(const std::string& option, const std::string& text, double lowest,
                     double highest)
{
  const std::optional<double> number = numberOf(text);
  if (!number) {
    throw UsageError(option + ": \"" + text + "\" is no number");
  }
  if (*number < lowest || *number > highest) {
    throw UsageError(option + ": " + text + " is outside " + shortNumber(lowest) + " to " +
                     shortNumber(highest));
  }
  return *number;
}

float decibelsOfText(const std::string& option, const std::string& text)
{
  constexpr float kMostFactor = 8.0f;
  const std::optional<double> decibels = numberOf(text);
  if (!decibels) {
    throw UsageError(option + ": \"" + text + "\" is no number of decibels");
  }
  const float level = static_cast<float>(*decibels);
  if (TovPcm::dBToFactor(level) > kMostFactor) {
    throw UsageError(option + ": " + text + " dB is too much; gains go up to +18.06 dB");
  }
  return level;
}

static long long wholeNumberInRange(const std::string& option, const std::string& text,
                                    long long lowest, long long highest)
{
  const std::optional<long long> number = wholeNumberOf(text);
  if (!number || *number < lowest || *number > highest) {
    throw UsageError(option + ": \"" + text + "\" is no whole number from " +
                     std::to_string(lowest) + " to " + std::to_string(highest));
  }
  return *number;
}

int sampleRateOfText(const std::string& option, const std::string& text)
{
  return static_cast<int>(wholeNumberInRange(option, text, 200, 768000));
}

int bitsOfText(const std::string& option, const std::string& text)
{
  const std::optional<long long> bits = wholeNumberOf(text);
  if (!bits || (*bits != 8 && *bits != 16 && *bits != 24 && *bits != 32)) {
    throw UsageError(option + ": \"" + text + "\" is none of 8, 16, 24 and 32");
  }
  return static_cast<int>(*bits);
}

std::string qualityName(int quality)
{
  std::string name = TovPcm::getFilterQualityString(quality);
  for (char& c : name) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return name;
}

int qualityOfText(const std::string& option, const std::string& text)
{
  std::vector<std::string> names;
  for (int quality = 0; quality <= kHighestQuality; ++quality) {
    names.push_back(qualityName(quality));
    if (names.back() == text) {
      return quality;
    }
  }
  throw UsageError(option + ": \"" + text + "\" is none of proxy, medium, high and highest" +
                   suggestion(text, names));
}

std::string formatOfText(const std::string& option, const std::string& text)
{
  if (text != "wav" && text != "aiff") {
    throw UsageError(option + ": \"" + text + "\" is none of wav and aiff" +
                     suggestion(text, {"wav", "aiff"}));
  }
  return text;
}

void checkInputName(const std::string& name)
{
  if (name == "-") {
    throw UsageError("standard input cannot be read, since sound files are read from more than "
                     "one place; name a file (one that is called \"-\" is ./-)");
  }
}

void checkDitherBits(int bits)
{
  if (bits == 32) {
    throw UsageError("--dither is for 8, 16 and 24 bits; 32 bits hold every sample as it is");
  }
}
