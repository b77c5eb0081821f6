#include "app/Commands.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "app/AudioOutput.h"
#include "app/CommandLine.h"
#include "app/DemoSounds.h"
#include "app/Failures.h"
#include "app/MixRender.h"
#include "app/MixSummary.h"
#include "app/Notices.h"

static const char* const kDefaultFolder = "build/demo";
static const char* const kMixFile = "mix.wav";

static const std::vector<OptionRow> kDemoOptions = {
    {"--json", nullptr, "Options", "Print the result as a JSON object"},
    {"--quiet", nullptr, "Options", "Say nothing but errors"},
};

static const char* const kDemoNotes =
    "Examples:\n"
    "  tov demo\n"
    "  tov demo /tmp/sounds --json\n"
    "\n"
    "Makes five short sound files of different formats, rates, sizes and channel counts, mixes\n"
    "them with different levels, places and times, and writes mix.wav into the current folder.\n";

CLI::App* declareDemo(CLI::App& program)
{
  CLI::App* command =
      program.add_subcommand("demo", "Make a few sound files and mix them into mix.wav");
  declareArguments(*command, kDemoOptions,
                   {{"FOLDER", "Where the sound files go (default build/demo)", false}});
  command->footer(kDemoNotes);
  return command;
}

static void makeFolder(const std::string& folder)
{
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) {
    throw Failure(folder, "cannot be made: " + systemErrorText(error.value()));
  }
}

/** Writes the sound into the folder and returns its path. */
static std::string writeSound(const std::string& folder, DemoSound sound)
{
  const long long frames = static_cast<long long>(sound.channels.front().size());
  const int channels = static_cast<int>(sound.channels.size());
  const std::string path = (std::filesystem::path(folder) / sound.fileName).string();
  const bool isDithered = sound.bits < 24;
  AudioOutput output({path, sound.rate, sound.bits, channels, frames, isDithered, nullptr},
                     Notices(true));
  TovNLPArray<float> samples;
  for (std::vector<float>& channel : sound.channels) {
    samples.append(channel.data());
  }
  output.append(samples, static_cast<int>(frames), 0);
  output.finish();
  return path;
}

static TrackRequest trackOf(const std::string& file, float gain, float pan, float width,
                            double start)
{
  TrackRequest track;
  track.file = file;
  track.gain = gain;
  track.pan = pan;
  track.width = width;
  track.start = start;
  return track;
}

/** The pad opens, drums and bass enter after a bar, bells and lead later; all
 *  but the pad go on to the end of the second round. */
static MixRequest demoMix(const std::string& folder)
{
  const std::string drums = writeSound(folder, makeDrums());
  const std::string bass = writeSound(folder, makeBass());
  const std::string pad = writeSound(folder, makePad());
  const std::string bells = writeSound(folder, makeBells());
  const std::string lead = writeSound(folder, makeLead());
  MixRequest mix;
  mix.output = kMixFile;
  mix.rate = 48000;
  mix.tracks.push_back(trackOf(pad, -5.0f, 0.0f, 1.0f, 0.0));
  mix.tracks.push_back(trackOf(drums, -5.0f, 0.0f, 0.6f, 2.0));
  mix.tracks.back().in = 2.0;
  mix.tracks.push_back(trackOf(bass, -7.0f, -0.1f, 1.0f, 2.0));
  mix.tracks.back().in = 2.0;
  mix.tracks.push_back(trackOf(bells, -12.0f, 0.5f, 1.0f, 4.0));
  mix.tracks.back().in = 4.0;
  mix.tracks.push_back(trackOf(pad, -8.0f, 0.0f, -1.0f, 8.0));
  mix.tracks.back().channels = {3, 4};
  mix.tracks.push_back(trackOf(drums, -5.0f, 0.0f, 0.6f, 8.0));
  mix.tracks.push_back(trackOf(bass, -7.0f, -0.1f, 1.0f, 8.0));
  mix.tracks.push_back(trackOf(lead, -9.0f, -0.3f, 0.8f, 8.0));
  mix.tracks.back().end = 15.0;
  return mix;
}

static void readArguments(const std::vector<Argument>& arguments, std::string& folder,
                          MixRequest& request)
{
  for (const Argument& argument : arguments) {
    if (argument.isFile()) {
      folder = argument.value;
    } else if (argument.option == "--json") {
      request.isJson = true;
    } else {
      request.isQuiet = true;
    }
  }
}

static void tellWhatFollows(const std::string& folder)
{
  std::printf("Five sound files are made in %s and mixed into %s.\n\n", folder.c_str(), kMixFile);
  (void)std::fflush(stdout);
}

static void tellWhatNow()
{
  std::printf("\nEvery track fades in and out over 20 ms.  Listen to %s; \"tov mix --help\" tells "
              "how to mix\nyour own files.\n",
              kMixFile);
}

int runDemo(const CLI::App& command)
{
  std::string folder = kDefaultFolder;
  MixRequest wanted;
  readArguments(argumentsInOrder(command), folder, wanted);
  const bool areWordsWanted = !wanted.isJson && !wanted.isQuiet;
  makeFolder(folder);
  if (areWordsWanted) {
    tellWhatFollows(folder);
  }
  MixRequest request = demoMix(folder);
  request.isJson = wanted.isJson;
  request.isQuiet = wanted.isQuiet;
  request.progress = ProgressStyle::none;
  const Notices notices(true);
  MixReport report(request);
  report.tellOfMix(renderMix(gatherMix(request, notices), request, notices));
  report.finish();
  if (areWordsWanted) {
    tellWhatNow();
  }
  return 0;
}
