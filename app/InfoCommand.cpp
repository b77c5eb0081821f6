#include "app/Commands.h"

#include <cstdio>
#include <optional>

#include "app/CommandLine.h"
#include "app/Failures.h"
#include "app/Interruption.h"
#include "app/JsonOutput.h"
#include "app/LevelMeter.h"
#include "app/OptionValues.h"
#include "app/ScaledFloatInput.h"
#include "app/ScriptFile.h"
#include "app/SessionInfo.h"
#include "app/SourceBlocks.h"
#include "app/SourceFile.h"
#include "app/TimeText.h"

static const std::vector<OptionRow> kInfoOptions = {
    {"--map", "OLD=NEW", "Options",
     "Files of sessions whose names begin with OLD have moved: begin with NEW; may be repeated, "
     "the first that fits counts"},
    {"--json", nullptr, "Options", "Print an array with one JSON object per file"},
    {"--quiet", nullptr, "Options", "Say nothing but errors"},
};

static const char* const kInfoNotes =
    "Examples:\n"
    "  tov info voice.wav\n"
    "  tov info --json *.wav *.aiff\n"
    "  tov info shot.script\n"
    "\n"
    "Levels are in dBFS: 0 is full scale.  RMS is that of the samples (a full-scale sine has\n"
    "-3.01).  Exit status 1 where a file could not be read; the others are shown all the same.\n"
    "\n"
    "Of a session, a script that holds a mix, all tracks are told with their settings; one whose\n"
    "file is missing is told so, and is no failure here.\n"
    "\n"
    "In the array of --json a file that could not be read has its place too, with the keys file\n"
    "and error.\n";

/** What is told about one file. */
struct FileInfo {
  SourceFile source;
  LevelMeter levels;
  std::optional<ScaledFloatFindings> findings;
};

static FileInfo examineFile(const std::string& name)
{
  const SourceFile source = openSource(name);
  // As floating point, which nothing clips: the file is not written anywhere.
  LevelMeter levels(source.channels(), EncFloat32, 32);
  readInBlocks(source, [&](const ChannelBuffers& block, int frames) {
    levels.measure(block.all(), frames);
  });
  std::optional<ScaledFloatFindings> findings;
  if (source.hasScaledFloatSamples()) {
    findings = examineScaledFloat(source);
  }
  return {source, levels, findings};
}

static std::string noteOn(const FileInfo& info)
{
  if (!info.findings) {
    return info.source.notice;
  }
  std::string note = "read as floating point with full scale at 32768, not as integers";
  if (info.findings->areImplausible()) {
    note += "; " + findingsForPeople(*info.findings) + ", so it probably holds integers";
  }
  return note;
}

static void printInfo(const FileInfo& info)
{
  const SourceFile& source = info.source;
  std::printf("%s\n", source.name.c_str());
  std::printf("  format    %s, %s\n", source.formatName.c_str(), source.encoding.c_str());
  std::printf("  rate      %d Hz\n", source.rate());
  std::printf("  channels  %d\n", source.channels());
  std::printf("  frames    %lld\n", static_cast<long long>(source.format.frameCount));
  std::printf("  duration  %s\n", timeForPeople(source.seconds()).c_str());
  const std::vector<double> peaks = info.levels.peaksInDecibels();
  const std::vector<double> rms = info.levels.rmsInDecibels();
  for (std::size_t c = 0; c < peaks.size(); ++c) {
    std::printf("  level %-3zu peak %s, RMS %s\n", c + 1, levelForPeople(peaks[c]).c_str(),
                levelForPeople(rms[c]).c_str());
  }
  std::printf("  reader    %s\n", readerForPeople(source).c_str());
  if (const std::string note = noteOn(info); !note.empty()) {
    std::printf("  note      %s\n", note.c_str());
  }
}

/** Silence has no level in decibels: null. */
static nlohmann::ordered_json jsonOf(const FileInfo& info)
{
  const SourceFile& source = info.source;
  nlohmann::ordered_json object = {{"file", source.name},
                                   {"format", source.formatName},
                                   {"encoding", source.encoding},
                                   {"bits", nullptr},
                                   {"sampleRate", source.rate()},
                                   {"channels", source.channels()},
                                   {"frames", source.format.frameCount},
                                   {"seconds", source.seconds()},
                                   {"peakDbfs", info.levels.peaksInDecibels()},
                                   {"rmsDbfs", info.levels.rmsInDecibels()},
                                   {"reader", source.isForeign() ? "libsndfile" : "library"}};
  if (source.bits > 0) {
    object["bits"] = source.bits;
  }
  if (source.isForeign()) {
    object["readerReason"] = source.whyForeign;
  }
  if (const std::string note = noteOn(info); !note.empty()) {
    object["note"] = note;
  }
  return object;
}

/** Adds what is known of the file to the objects, or prints it without such. */
static void tellOf(const std::string& name, const std::vector<NameMapping>& mappings,
                   nlohmann::ordered_json* objects)
{
  if (isSession(name)) {
    const MixContents contents = contentsOfSession(name, mappings);
    if (objects != nullptr) {
      objects->push_back(jsonOfSession(name, contents));
    } else {
      printSession(name, contents);
    }
    return;
  }
  const FileInfo info = examineFile(name);
  if (objects != nullptr) {
    objects->push_back(jsonOf(info));
  } else {
    printInfo(info);
  }
}

CLI::App* declareInfo(CLI::App& program)
{
  CLI::App* command = program.add_subcommand("info", "Tell what files hold, and their levels");
  declareArguments(*command, kInfoOptions, {{"FILE", "Files to look at", true}});
  command->footer(kInfoNotes);
  return command;
}

int runInfo(const CLI::App& command)
{
  std::vector<std::string> names;
  std::vector<NameMapping> mappings;
  bool isJson = false;
  bool isQuiet = false;
  for (const Argument& argument : argumentsInOrder(command)) {
    if (argument.isFile()) {
      checkInputName(argument.value);
      names.push_back(argument.value);
    } else if (argument.option == "--map") {
      mappings.push_back(nameMappingOfText(argument.option, argument.value));
    } else if (argument.option == "--quiet") {
      isQuiet = true;
    } else {
      isJson = true;
    }
  }
  if (names.empty()) {
    throw UsageError("no file was named");
  }
  nlohmann::ordered_json objects = nlohmann::ordered_json::array();
  int status = 0;
  for (const std::string& name : names) {
    throwIfInterrupted();
    try {
      tellOf(name, mappings, isJson || isQuiet ? &objects : nullptr);
    } catch (const Failure& failure) {
      status = 1;
      (void)std::fflush(stdout);
      (void)std::fprintf(stderr, "%s\n", failure.what());
      objects.push_back({{"file", name}, {"error", failure.reason()}});
    }
  }
  if (isJson && !isQuiet) {
    printJson(objects);
  }
  return status;
}
