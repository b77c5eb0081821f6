#include "app/Commands.h"

#include <cstdio>
#include <map>

#include "app/AudioOutput.h"
#include "app/CommandLine.h"
#include "app/Conversion.h"
#include "app/Failures.h"
#include "app/JsonOutput.h"
#include "app/MixArguments.h"
#include "app/MixContents.h"
#include "app/MixSummary.h"
#include "app/ScriptFile.h"
#include "app/StandardOutput.h"
#include "app/TimeText.h"

static const std::vector<OptionRow> kConvertOptions = {
    {"-o,--output", "FILE", "Options", "The same as OUT"},
    {"--format", "FORMAT", "Options", "wav or aiff (default: by the suffix of OUT)"},
    {"--rate", "HZ", "Options",
     "Sample rate, 200 to 768000 (default: the file's, of a session the highest of its files')"},
    {"--bits", "BITS", "Options", "8, 16, 24 or 32 (default: the file's, of a session 24)"},
    {"--quality", "QUALITY", "Options",
     "Of rate conversion: proxy, medium, high or highest (default highest)"},
    {"--gain", "DB", "Options", "Level in decibels, up to +18.06 (default 0)"},
    {"--from", "TIME", "Options",
     "Where in the file, or on the timeline of a session, to begin (default 0)"},
    {"--to", "TIME", "Options", "Where to end (default: its end)"},
    {"--fps", "RATE", "Options",
     "Frames of the picture per second, for times in frames and timecode; 30000/1001 too "
     "(default 24)"},
    {"--dither", nullptr, "Options",
     "Round with triangular noise instead of cutting off; 8 to 24 bits"},
    {"--map", "OLD=NEW", "Options",
     "Files of a session whose names begin with OLD have moved: begin with NEW; may be repeated, "
     "the first that fits counts"},
    {"--allow-missing", nullptr, "Options", "Go on without the files that a session misses"},
    {"--progress", "STYLE", "Options",
     "auto (text on a terminal), text, json (lines on standard output) or none"},
    {"--json", nullptr, "Options", "Print the result as a JSON object"},
    {"--quiet", nullptr, "Options", "Say nothing but errors"},
    {"--force", nullptr, "Options", "Go on where a 32-bit WAV holds implausible samples"},
};

static const char* const kConvertNotes =
    "Examples:\n"
    "  tov convert voice.wav voice.aiff\n"
    "  tov convert voice.aiff voice.wav --rate 44100 --bits 16 --dither\n"
    "  tov convert voice.wav word.wav --from 2.5 --to 3.25\n"
    "  tov convert voice.aiff - | sox -t wav - voice.flac\n"
    "  tov convert shot.script shot.wav --rate 48000 --bits 24\n"
    "\n"
    "Keeps all channels.  Without options every sample is exactly that of the input; fewer bits\n"
    "are cut off unless --dither is given.  The output's suffix says WAV or AIFF.\n"
    "\n"
    "32-bit AIFF holds integers, of which rate conversion, gain and WAV keep 24 bits.  32-bit\n"
    "WAV is floating point with full scale at 32768 under an integer's tag, which other programs\n"
    "hear as noise: for 32 bits write AIFF.\n"
    "\n"
    "IN may also be a session, a script that holds a mix: its mix is rendered, as tov mix does.\n"
    "\n"
    "The output appears complete or not at all: an old file of its name stays until then.\n";

using Setter = void (*)(ConversionRequest& request, const Argument& argument);

static const std::map<std::string, Setter> kSetters = {
    {"--output", [](ConversionRequest& r, const Argument& a) { r.output = a.value; }},
    {"--rate",
     [](ConversionRequest& r, const Argument& a) { r.rate = sampleRateOfText(a.option, a.value); }},
    {"--bits",
     [](ConversionRequest& r, const Argument& a) { r.bits = bitsOfText(a.option, a.value); }},
    {"--quality",
     [](ConversionRequest& r, const Argument& a) { r.quality = qualityOfText(a.option, a.value); }},
    {"--gain",
     [](ConversionRequest& r, const Argument& a) { r.gain = decibelsOfText(a.option, a.value); }},
    {"--map",
     [](ConversionRequest& r, const Argument& a) {
       r.mappings.push_back(nameMappingOfText(a.option, a.value));
     }},
    {"--allow-missing", [](ConversionRequest& r, const Argument&) { r.isMissingAllowed = true; }},
    {"--dither", [](ConversionRequest& r, const Argument&) { r.isDithered = true; }},
    {"--progress", [](ConversionRequest& r,
                      const Argument& a) { r.progress = progressStyleOfText(a.option, a.value); }},
    {"--format", [](ConversionRequest& r,
                    const Argument& a) { r.formatName = formatOfText(a.option, a.value); }},
    {"--fps",
     [](ConversionRequest& r, const Argument& a) {
       r.framesPerSecond = framesPerSecondOfText(a.option, a.value);
     }},
    {"--json", [](ConversionRequest& r, const Argument&) { r.isJson = true; }},
    {"--quiet", [](ConversionRequest& r, const Argument&) { r.isQuiet = true; }},
    {"--force", [](ConversionRequest& r, const Argument&) { r.isForced = true; }},
};

/** Read last, since the frame rate may stand behind them. */
static void readTimes(ConversionRequest& request, const std::vector<Argument>& arguments)
{
  const double framesPerSecond = request.framesPerSecond.value_or(hostFramesPerSecond());
  for (const Argument& argument : arguments) {
    if (argument.option == "--from") {
      request.from = timeOfText(argument.option, argument.value, framesPerSecond);
    } else if (argument.option == "--to") {
      request.to = timeOfText(argument.option, argument.value, framesPerSecond);
    }
  }
  if (request.from && request.to && request.to->isSurelyNotBehind(*request.from)) {
    throw UsageError("--to is not behind --from");
  }
}

static void checkRequest(const ConversionRequest& request)
{
  checkInputName(request.input);
  checkOutput("OUT", request.output, request.formatName);
  refuseJsonBesideSound(request.output, request.isJson || request.progress == ProgressStyle::json);
  if (request.isDithered && request.bits) {
    checkDitherBits(*request.bits);
  }
}

static ConversionRequest conversionRequestOf(const std::vector<Argument>& arguments)
{
  ConversionRequest request;
  std::vector<std::string> files;
  for (const Argument& argument : arguments) {
    if (argument.isFile()) {
      files.push_back(argument.value);
    } else if (const auto setter = kSetters.find(argument.option); setter != kSetters.end()) {
      setter->second(request, argument);
    }
  }
  const std::size_t given = files.size() + (request.output.empty() ? 0 : 1);
  if (files.empty() || given != 2) {
    throw UsageError("two files are needed, IN and OUT; given: " + std::to_string(given));
  }
  request.input = files[0];
  if (files.size() == 2) {
    request.output = files[1];
  }
  readTimes(request, arguments);
  checkRequest(request);
  return request;
}

static void printSummary(const ConversionRequest& request, const ConversionResult& result)
{
  std::printf(
      "%s: %s, %d Hz, %d bit, %d ch, peak %s, %lld samples clipped, %.1f times real time\n",
      request.output.c_str(), timeForPeople(result.seconds()).c_str(), result.rate, result.bits,
      result.source.channels(),
      levelForPeople(decibelsOfFullScale(static_cast<double>(result.levels.getHighestPeak())))
          .c_str(),
      result.levels.getClipped(), result.timesRealTime);
}

static nlohmann::ordered_json jsonOf(const ConversionRequest& request,
                                     const ConversionResult& result)
{
  return {{"event", "done"},
          {"output", request.output},
          {"sampleRate", result.rate},
          {"bits", result.bits},
          {"channels", result.source.channels()},
          {"frames", result.frames},
          {"seconds", result.seconds()},
          {"peakDbfs", result.levels.peaksInDecibels()},
          {"clipped", result.levels.clippedOfChannels()},
          {"timesRealTime", result.timesRealTime}};
}

CLI::App* declareConvert(CLI::App& program)
{
  CLI::App* command =
      program.add_subcommand("convert", "Write a file anew in another format, rate or size");
  declareArguments(
      *command, kConvertOptions,
      {{"IN", "The file to read", false},
       {"OUT", "The file to write; its suffix says WAV or AIFF; - is standard output", false}});
  command->footer(kConvertNotes);
  return command;
}

/** A session is rendered; the gain comes behind the mix and its own levels. */
static int convertSession(const ConversionRequest& request)
{
  MixRequest mix;
  mix.tracks.emplace_back();
  mix.tracks.back().file = request.input;
  mix.output = request.output;
  mix.formatName = request.formatName;
  mix.from = request.from;
  mix.to = request.to;
  mix.framesPerSecond = request.framesPerSecond;
  mix.rate = request.rate;
  mix.bits = request.bits.value_or(mix.bits);
  mix.quality = request.quality;
  mix.gain = request.gain;
  mix.mappings = request.mappings;
  mix.isMissingAllowed = request.isMissingAllowed;
  mix.isDithered = request.isDithered;
  mix.isForced = request.isForced;
  mix.isQuiet = request.isQuiet;
  mix.isJson = request.isJson;
  mix.progress = request.progress;
  const Notices notices(mix.isQuiet);
  MixReport report(mix);
  report.tellOfMix(renderMix(gatherMix(mix, notices), mix, notices));
  report.finish();
  return 0;
}

int runConvert(const CLI::App& command)
{
  const ConversionRequest request = conversionRequestOf(argumentsInOrder(command));
  if (isSession(request.input)) {
    return convertSession(request);
  }
  if (!request.mappings.empty()) {
    throw UsageError("--map is for the files of a session; " + request.input + " is none");
  }
  const ConversionResult result = convertFile(request, Notices(request.isQuiet));
  if (request.isQuiet || isStandardOutput(request.output)) {
    return 0;
  }
  if (request.isJson || request.progress == ProgressStyle::json) {
    printJsonLine(jsonOf(request, result));
  } else {
    printSummary(request, result);
  }
  return 0;
}
