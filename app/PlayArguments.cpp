#include "app/PlayArguments.h"

#include <cctype>
#include <cmath>
#include <map>

#include "app/Failures.h"
#include "app/MixArguments.h"
#include "app/NumberText.h"
#include "app/Suggestion.h"

static constexpr const char* kPlayGroup = "Options of playback, anywhere";

static const std::vector<OptionRow> kOwnOptions = {
    {"--loop", nullptr, kPlayGroup, "Play over and over"},
    {"--reverse", nullptr, kPlayGroup, "Play backwards, from --to to --from"},
    {"--volume", "VOLUME", kPlayGroup, "0 to 1, or decibels up to 0, as -6dB (default 1)"},
    {"--filter", "CUTOFF", kPlayGroup,
     "Low-pass filter in hertz, 100 to 20000; 0 is none (default 0)"},
    {"--quality", "QUALITY", kPlayGroup,
     "Of rate conversion: proxy, medium, high or highest (default medium)"},
    {"--device", "DEVICE", kPlayGroup,
     "auto (the computer's audio output, or else silence), cubeb (the output) or null (silence "
     "against the clock); default: the environment's PLAYOUT_DEVICE, else auto"},
    {"--progress", "STYLE", kPlayGroup,
     "auto (one line with keys on a terminal, else text), text (a line a second), json (lines on "
     "standard output) or none"},
    {"--json", nullptr, kPlayGroup,
     "Print where it is as a JSON object a second, and at the end the result; the same as "
     "--progress json"},
};

static float volumeOfText(const std::string& option, const std::string& text)
{
  const std::size_t digits = text.size() < 2 ? 0 : text.size() - 2;
  const bool isDecibels =
      digits > 0 && std::tolower(text[digits]) == 'd' && std::tolower(text[digits + 1]) == 'b';
  const std::optional<double> number = numberOf(isDecibels ? text.substr(0, digits) : text);
  if (!number) {
    throw UsageError(option + ": \"" + text +
                     "\" is no volume; write a number from 0 to 1, or decibels as in -6dB");
  }
  const double factor = isDecibels ? std::pow(10.0, *number / 20.0) : *number;
  if (factor < 0.0 || factor > 1.0) {
    throw UsageError(option + ": " + text + " is outside 0 to 1, which is up to 0dB");
  }
  return static_cast<float>(factor);
}

static int filterOfText(const std::string& option, const std::string& text)
{
  constexpr double kLowest = 100.0;
  constexpr double kHighest = 20000.0;
  const std::optional<long long> whole = wholeNumberOf(text);
  if (!whole) {
    throw UsageError(option + ": \"" + text + "\" is no whole number");
  }
  return *whole == 0 ? 0 : static_cast<int>(numberInRange(option, text, kLowest, kHighest));
}

static std::string deviceOfText(const std::string& option, const std::string& text)
{
  if (text != "auto" && text != "cubeb" && text != "null") {
    throw UsageError(option + ": \"" + text + "\" is none of auto, cubeb and null" +
                     suggestion(text, {"auto", "cubeb", "null"}));
  }
  return text;
}

using Setter = void (*)(PlayRequest& request, const Argument& argument);

static const std::map<std::string, Setter> kSetters = {
    {"--loop", [](PlayRequest& r, const Argument&) { r.isLoop = true; }},
    {"--reverse", [](PlayRequest& r, const Argument&) { r.isReverse = true; }},
    {"--volume",
     [](PlayRequest& r, const Argument& a) { r.volume = volumeOfText(a.option, a.value); }},
    {"--filter",
     [](PlayRequest& r, const Argument& a) { r.filter = filterOfText(a.option, a.value); }},
    {"--quality",
     [](PlayRequest& r, const Argument& a) { r.quality = qualityOfText(a.option, a.value); }},
    {"--device",
     [](PlayRequest& r, const Argument& a) { r.device = deviceOfText(a.option, a.value); }},
    {"--progress",
     [](PlayRequest& r, const Argument& a) { r.report = progressStyleOfText(a.option, a.value); }},
    {"--json", [](PlayRequest& r, const Argument&) { r.report = ProgressStyle::json; }},
};

std::vector<OptionRow> playOptions()
{
  std::vector<OptionRow> rows = heardOptions();
  rows.insert(rows.end(), kOwnOptions.begin(), kOwnOptions.end());
  return rows;
}

PlayRequest playRequestOf(const std::vector<Argument>& arguments)
{
  PlayRequest request;
  std::vector<Argument> ofMix;
  for (const Argument& argument : arguments) {
    if (const auto own = kSetters.find(argument.option); own != kSetters.end()) {
      own->second(request, argument);
    } else {
      ofMix.push_back(argument);
    }
  }
  request.mix = heardRequestOf(ofMix);
  if (request.mix.isQuiet) {
    request.report = ProgressStyle::none;
  }
  return request;
}
