#include "app/Commands.h"

#include <cstdio>
#include <iostream>
#include <map>

#include <nlohmann/json.hpp>

#include "app/AudioOutput.h"
#include "app/CommandLine.h"
#include "app/Conversion.h"
#include "app/Failures.h"
#include "app/MixContents.h"
#include "app/MixSummary.h"
#include "app/ScriptFile.h"
#include "app/TimeText.h"

static const std::vector<OptionRow> kConvertOptions = {
    {"--rate", "HZ", "Options",
     "Frames per second, 200 to 768000 (default: the file's, of a session\nthe highest of its "
     "files')"},
    {"--bits", "BITS", "Options", "8, 16, 24 or 32 (default: the file's, of a session 24)"},
    {"--quality", "QUALITY", "Options",
     "Of rate conversion: proxy, medium, high or highest (default highest)"},
    {"--gain", "DB", "Options", "Level in decibels, up to +18.06 (default 0)"},
    {"--dither", nullptr, "Options",
     "Round with triangular noise instead of truncating; 8 to 24 bits"},
    {"--map", "OLD=NEW", "Options",
     "Files of a session whose names begin with OLD have moved: begin\nwith NEW; may be repeated"},
    {"--allow-missing", nullptr, "Options", "Go on without the files that a session misses"},
    {"--progress", "STYLE", "Options",
     "auto (text on a terminal), text, json (lines on standard\noutput) or none"},
    {"--quiet", nullptr, "Options", "Say nothing but errors"},
    {"--force", nullptr, "Options", "Go on where a 32-bit WAV holds implausible samples"},
};

static const char* const kConvertNotes =
    "Keeps all channels.  Without options every sample is exactly that of the input; fewer bits\n"
    "are cut off unless --dither is given.  The output's suffix says WAV or AIFF.\n"
    "\n"
    "32-bit AIFF holds integers, of which rate conversion, gain and WAV keep 24 bits.  32-bit\n"
    "WAV is floating point with full scale at 32768 under an integer's tag, which other programs\n"
    "hear as noise: for 32 bits write AIFF.\n"
    "\n"
    "IN may also be a session, a script that holds a mix: its mix is rendered, as tov mix does.\n"
    "\n"
    "Examples:\n"
    "  tov convert voice.wav voice.aiff\n"
    "  tov convert shot.script shot.wav --rate 48000 --bits 24\n"
    "  tov convert voice.aiff voice.wav --rate 44100 --bits 16 --dither";

using Setter = void (*)(ConversionRequest& request, const Argument& argument);

static const std::map<std::string, Setter> kSetters = {
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
    {"--quiet", [](ConversionRequest& r, const Argument&) { r.isQuiet = true; }},
    {"--force", [](ConversionRequest& r, const Argument&) { r.isForced = true; }},
};

static ConversionRequest conversionRequestOf(const std::vector<Argument>& arguments)
{
  ConversionRequest request;
  std::vector<std::string> files;
  for (const Argument& argument : arguments) {
    if (argument.isFile()) {
      files.push_back(argument.value);
    } else {
      kSetters.at(argument.option)(request, argument);
    }
  }
  if (files.size() != 2) {
    throw UsageError("two files are needed, IN and OUT; given: " + std::to_string(files.size()));
  }
  request.input = files[0];
  request.output = files[1];
  checkOutputSuffix("OUT", request.output);
  if (request.isDithered && request.bits) {
    checkDitherBits(*request.bits);
  }
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

static void printSummaryAsJson(const ConversionRequest& request, const ConversionResult& result)
{
  const nlohmann::ordered_json line = {{"event", "done"},
                                       {"output", request.output},
                                       {"sampleRate", result.rate},
                                       {"bits", result.bits},
                                       {"channels", result.source.channels()},
                                       {"frames", result.frames},
                                       {"seconds", result.seconds()},
                                       {"peakDbfs", result.levels.peaksInDecibels()},
                                       {"clipped", result.levels.getClipped()},
                                       {"timesRealTime", result.timesRealTime}};
  std::cout << line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
            << std::endl;
}

CLI::App* declareConvert(CLI::App& program)
{
  CLI::App* command =
      program.add_subcommand("convert", "Write a file anew in another format, rate or size");
  declareArguments(*command, kConvertOptions,
                   {{"IN", "The file to read", false}, {"OUT", "The file to write", false}});
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
  mix.rate = request.rate;
  mix.bits = request.bits.value_or(mix.bits);
  mix.quality = request.quality;
  mix.gain = request.gain;
  mix.mappings = request.mappings;
  mix.isMissingAllowed = request.isMissingAllowed;
  mix.isDithered = request.isDithered;
  mix.isForced = request.isForced;
  mix.isQuiet = request.isQuiet;
  mix.progress = request.progress;
  const Notices notices(mix.isQuiet);
  tellOfMix(mix, renderMix(gatherMix(mix, notices), mix, notices));
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
  if (request.isQuiet) {
    return 0;
  }
  if (request.progress == ProgressStyle::json) {
    printSummaryAsJson(request, result);
  } else {
    printSummary(request, result);
  }
  return 0;
}
