#include "app/PlotArguments.h"

#include <bit>
#include <cctype>
#include <map>

#include <unistd.h>

#include "app/Failures.h"
#include "app/FileSuffix.h"
#include "app/MixArguments.h"
#include "app/NumberText.h"
#include "app/StandardOutput.h"
#include "app/Suggestion.h"

static constexpr const char* kPictureGroup = "Options of the picture, anywhere";

static const std::vector<OptionRow> kOwnOptions = {
    {"-o,--output", "FILE", kPictureGroup,
     "The file to write; its suffix says PNG, SVG, PDF or, with --data, JSON; - is standard output "
     "(default of --data)"},
    {"--format", "FORMAT", kPictureGroup, "png, svg or pdf (default: by the suffix, else png)"},
    {"--view", "VIEW", kPictureGroup,
     "waveform, spectrogram, both or mix (default: both of one file, else mix)"},
    {"--spectrogram", nullptr, kPictureGroup, "The same as --view spectrogram"},
    {"--size", "SIZE", kPictureGroup,
     "Width in pixels, 400 to 16000, or width and height, as 1280x720 (default: 1280, and the "
     "height that the content needs)"},
    {"--theme", "THEME", kPictureGroup, "light or dark (default light)"},
    {"--text-size", "PIXELS", kPictureGroup, "6 to 72 (default: by the width)"},
    {"--time", "UNIT", kPictureGroup,
     "Of the time axis: seconds, timecode or frames (default seconds); the last two go by --fps"},
    {"--amplitude", "SCALE", kPictureGroup, "Of waveforms: linear or db (default linear)"},
    {"--frequency", "SCALE", kPictureGroup, "Of spectrograms: linear or log (default linear)"},
    {"--window", "SAMPLES", kPictureGroup,
     "Of spectrograms, a power of two from 64 to 32768 (default: by the rate, 2048 at 48000 Hz)"},
    {"--range", "DB", kPictureGroup, "Decibels that the colours span, 20 to 160 (default 90)"},
    {"--data", nullptr, kPictureGroup,
     "Write the lowest and highest sample of every pixel as JSON instead of a picture"},
    {"--samples-per-pixel", "SAMPLES", kPictureGroup, "Of --data (default 256)"},
    {"--bits", "BITS", kPictureGroup, "Of --data: 8 or 16 (default 16)"},
};

/** The value that stands for the text among these. */
template <typename Value>
static Value chosenOf(const Argument& argument, const std::map<std::string, Value>& choices)
{
  const auto found = choices.find(argument.value);
  if (found != choices.end()) {
    return found->second;
  }
  std::string list;
  std::vector<std::string> names;
  for (const auto& [name, value] : choices) {
    const bool isLast = names.size() + 1 == choices.size();
    list += names.empty() ? name : (isLast ? " and " : ", ") + name;
    names.push_back(name);
  }
  throw UsageError(argument.option + ": \"" + argument.value + "\" is none of " + list +
                   suggestion(argument.value, names));
}

static int wholeOf(const Argument& argument, double lowest, double highest)
{
  if (!wholeNumberOf(argument.value)) {
    throw UsageError(argument.option + ": \"" + argument.value + "\" is no whole number");
  }
  return static_cast<int>(numberInRange(argument.option, argument.value, lowest, highest));
}

static int windowOf(const Argument& argument)
{
  const int frames = wholeOf(argument, 64.0, 32768.0);
  if (!std::has_single_bit(static_cast<unsigned>(frames))) {
    throw UsageError(argument.option + ": " + argument.value + " is no power of two");
  }
  return frames;
}

/** "1280", "1280x720" */
static void setSize(PlotRequest& request, const Argument& argument)
{
  const std::size_t cross = argument.value.find('x');
  const bool hasHeight = cross != std::string::npos;
  const std::string width = argument.value.substr(0, cross);
  const std::string height = hasHeight ? argument.value.substr(cross + 1) : std::string();
  if (!wholeNumberOf(width) || (hasHeight && !wholeNumberOf(height))) {
    throw UsageError("--size: \"" + argument.value + "\" is no size, as 1280 or 1280x720 are");
  }
  request.width = wholeOf({"the width of --size", width}, 400.0, 16000.0);
  request.height.reset();
  if (hasHeight) {
    request.height = wholeOf({"the height of --size", height}, 60.0, 16000.0);
  }
}

static const std::map<std::string, PlotView> kViews = {{"waveform", PlotView::waveform},
                                                       {"spectrogram", PlotView::spectrogram},
                                                       {"both", PlotView::both},
                                                       {"mix", PlotView::mix}};

static const std::map<std::string, PictureFormat> kFormats = {{"png", PictureFormat::png},
                                                              {"svg", PictureFormat::svg},
                                                              {"pdf", PictureFormat::pdf}};

static const std::map<std::string, TimeUnit> kTimeUnits = {{"seconds", TimeUnit::seconds},
                                                           {"timecode", TimeUnit::timecode},
                                                           {"frames", TimeUnit::frames}};

using Setter = void (*)(PlotRequest& request, const Argument& argument);

static const std::map<std::string, Setter> kSetters = {
    {"--output", [](PlotRequest& r, const Argument& a) { r.mix.output = a.value; }},
    {"--view", [](PlotRequest& r, const Argument& a) { r.view = chosenOf(a, kViews); }},
    {"--spectrogram", [](PlotRequest& r, const Argument&) { r.view = PlotView::spectrogram; }},
    {"--size", setSize},
    {"--theme",
     [](PlotRequest& r, const Argument& a) {
       r.isDark = chosenOf<bool>(a, {{"light", false}, {"dark", true}});
     }},
    {"--text-size",
     [](PlotRequest& r, const Argument& a) {
       r.textSize = numberInRange(a.option, a.value, 6, 72);
     }},
    {"--time", [](PlotRequest& r, const Argument& a) { r.timeUnit = chosenOf(a, kTimeUnits); }},
    {"--amplitude",
     [](PlotRequest& r, const Argument& a) {
       r.isAmplitudeInDecibels = chosenOf<bool>(a, {{"linear", false}, {"db", true}});
     }},
    {"--frequency",
     [](PlotRequest& r, const Argument& a) {
       r.isFrequencyLogarithmic = chosenOf<bool>(a, {{"linear", false}, {"log", true}});
     }},
    {"--window", [](PlotRequest& r, const Argument& a) { r.window = windowOf(a); }},
    {"--range",
     [](PlotRequest& r, const Argument& a) {
       r.decibelRange = numberInRange(a.option, a.value, 20.0, 160.0);
     }},
    {"--format", [](PlotRequest& r, const Argument& a) { r.format = chosenOf(a, kFormats); }},
    {"--data", [](PlotRequest& r, const Argument&) { r.isData = true; }},
    {"--samples-per-pixel",
     [](PlotRequest& r, const Argument& a) { r.framesPerPixel = wholeOf(a, 1.0, 1e9); }},
    {"--bits",
     [](PlotRequest& r, const Argument& a) {
       r.dataBits = chosenOf<int>(a, {{"8", 8}, {"16", 16}});
     }},
};

static std::string smallLetters(std::string text)
{
  for (char& c : text) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return text;
}

static void checkStandardOutput(const PlotRequest& request)
{
  if (!isStandardOutput(request.mix.output)) {
    return;
  }
  if (request.mix.isJson || request.mix.progress == ProgressStyle::json) {
    throw UsageError("the picture or data and what is told of them cannot both go to standard "
                     "output; write them to a file");
  }
  const bool isText = request.isData || request.format == PictureFormat::svg;
  if (!isText && isatty(STDOUT_FILENO) != 0) {
    throw UsageError("standard output is a terminal; send the picture to a file or a program");
  }
}

/** The format of the name's suffix, where --format says none. */
static void chooseFormat(PlotRequest& request, const std::string& formatName)
{
  const std::string& output = request.mix.output;
  if (output.empty()) {
    throw UsageError("the file to write is missing: -o FILE");
  }
  if (isStandardOutput(output)) {
    return;
  }
  const auto found = kFormats.find(smallLetters(suffixOf(output)));
  if (!formatName.empty()) {
    const bool saysOther = found != kFormats.end() && found->second != request.format;
    if (saysOther || formatBySuffix(output) != nullptr) {
      throw UsageError("--format " + formatName + " contradicts the name \"" + output + "\"");
    }
    return;
  }
  if (found == kFormats.end()) {
    throw UsageError("--output: \"" + output +
                     "\" has none of the suffixes that say the format (.png, .svg, .pdf)");
  }
  request.format = found->second;
}

static void checkOutput(PlotRequest& request, const std::string& formatName)
{
  std::string& output = request.mix.output;
  if (!request.isData) {
    chooseFormat(request, formatName);
  } else if (output.empty()) {
    output = "-";
  } else if (!isStandardOutput(output) && smallLetters(suffixOf(output)) != "json") {
    throw UsageError("--output: \"" + output + "\" does not end in .json, as data do");
  }
  checkStandardOutput(request);
}

static void checkMeaning(const std::vector<Argument>& own, const PlotRequest& request)
{
  for (const Argument& argument : own) {
    const bool isOfData = argument.option == "--samples-per-pixel" || argument.option == "--bits";
    if (isOfData && !request.isData) {
      throw UsageError(argument.option + " is for --data");
    }
    if (!isOfData && request.isData && argument.option != "--data" &&
        argument.option != "--output") {
      throw UsageError(argument.option + " is for pictures, and --data makes none");
    }
  }
}

std::vector<OptionRow> plotOptions()
{
  std::vector<OptionRow> rows = heardOptions();
  for (const OptionRow& row : kMixOptions) {
    const std::string names = row.names;
    if (names == "--rate" || names == "--quality" || names == "--progress" || names == "--json") {
      rows.push_back(row);
    }
  }
  rows.insert(rows.end(), kOwnOptions.begin(), kOwnOptions.end());
  return rows;
}

PlotRequest plotRequestOf(const std::vector<Argument>& arguments)
{
  PlotRequest request;
  std::vector<Argument> own;
  std::vector<Argument> ofMix;
  bool hasFiles = false;
  std::string formatName;
  for (const Argument& argument : arguments) {
    hasFiles = hasFiles || argument.isFile();
    formatName = argument.option == "--format" ? argument.value : formatName;
    const bool isOwn = kSetters.count(argument.option) > 0;
    (isOwn ? own : ofMix).push_back(argument);
  }
  if (!hasFiles) {
    throw UsageError("no file to plot was named");
  }
  request.mix = heardRequestOf(ofMix);
  for (const Argument& argument : own) {
    kSetters.at(argument.option)(request, argument);
  }
  checkMeaning(own, request);
  checkOutput(request, formatName);
  return request;
}
