#include "app/Commands.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>

#include "app/Failures.h"
#include "app/ForeignSounds.h"
#include "app/JsonOutput.h"
#include "app/MixArguments.h"
#include "app/MixContents.h"
#include "app/MixSpan.h"
#include "app/PlotArguments.h"
#include "app/PlotData.h"
#include "app/PlotFacts.h"
#include "app/PlotMixPicture.h"
#include "app/PlotSoundPicture.h"
#include "app/PrintedText.h"
#include "app/ScaledFloatInput.h"
#include "app/ScriptFile.h"
#include "app/StandardOutput.h"

static const char* const kPlotNotes =
    "Examples:\n"
    "  tov plot voice.wav -o voice.png\n"
    "  tov plot voice.wav --spectrogram --frequency log --from 2 --to 5 -o voice.svg\n"
    "  tov plot drums.wav --gain -3 bass.aiff --start 1.5 -o mix.pdf\n"
    "  tov plot shot.script --time timecode --fps 25 --theme dark -o shot.png\n"
    "  tov plot voice.wav --data --bits 8 -o voice.json\n"
    "\n"
    "One file is drawn as it is: a waveform per channel (the outline is the highest and lowest\n"
    "sample, the darker part the RMS; red marks are samples at full scale) and below it the\n"
    "spectrogram of all channels.  --from and --to are times in the file.\n"
    "\n"
    "Several files, a session, or a file with options of a track are drawn as their mix: a lane\n"
    "per track with its span, fades and waveform at its gain, grey where it is not heard, and the\n"
    "sum below; what is above full scale is red.  The lanes share one scale, on which the loudest\n"
    "track fills its own.  With another --view it is the sum that is drawn.\n"
    "\n"
    "--data writes the JSON that waveform displays read: version 2, the lowest and the highest\n"
    "sample of every pixel, channel by channel; of a mix those of the sum.\n";

CLI::App* declarePlot(CLI::App& program)
{
  CLI::App* command =
      program.add_subcommand("plot", "Draw files and mixes as PNG, SVG or PDF, or as data");
  declareArguments(*command, plotOptions(),
                   {{"FILE", "Files to draw, each followed by its options", true}});
  command->footer(kPlotNotes);
  return command;
}

/** One file as it is, where nothing asks for a mix. */
static bool isPlainFile(const PlotRequest& request)
{
  const MixRequest& mix = request.mix;
  return mix.tracks.size() == 1 && !mix.tracks.front().hasOptions && !mix.rate && !mix.master &&
         request.view != PlotView::mix && mix.mappings.empty() &&
         !isSession(mix.tracks.front().file);
}

static FrameSpan spanOfFile(const MixRequest& mix, const SourceFile& source)
{
  const long long frames = source.format.frameCount;
  if (frames < 1) {
    throw Failure(source.name, "holds no samples");
  }
  const auto frameAt = [&source](const WrittenTime& time) {
    return static_cast<long long>(std::llround(time.secondsAt(source.rate()) * source.rate()));
  };
  const FrameSpan span = {frameAt(mix.from.value_or(0.0)),
                          mix.to ? std::min(frames, frameAt(*mix.to)) : frames};
  if (span.from < 0) {
    throw UsageError("--from lies before the beginning of " + source.name);
  }
  if (span.from >= frames) {
    throw UsageError("--from is not before the end of the file");
  }
  if (span.to <= span.from) {
    throw UsageError("--to is not behind the beginning of the part");
  }
  return span;
}

static PlotResult writeData(const PlotRequest& request, PlotSound& sound, FrameSpan span,
                            PlotOutput& output)
{
  Progress progress(request.progressStyle(), span.length(), sound.getRate());
  PlotData data({sound.getChannels(), sound.getRate(), request.framesPerPixel, request.dataBits},
                span, output);
  sound.read(span, progress, [&data](const TovNLPArray<float>& samples, int frames, long long) {
    data.take(samples, frames);
  });
  data.finish();
  return {sound.getRate(), sound.getChannels(), span};
}

static double framesPerSecondOf(const PlotRequest& request)
{
  return request.mix.framesPerSecond.value_or(hostFramesPerSecond());
}

static std::vector<std::string> factsOfFile(const SourceFile& source, FrameSpan span)
{
  const int channels = source.channels();
  return {source.formatName, source.encoding, rateText(source.rate()),
          channels == 1   ? "mono"
          : channels == 2 ? "stereo"
                          : std::to_string(channels) + " channels",
          lengthFact(span, {0, source.format.frameCount}, source.rate())};
}

static PlotResult plotFile(PlotRequest request, const Notices& notices, PlotOutput& output)
{
  readIntegersAsScaledFloats(request.mix.isForced);
  const SourceFile source = openSource(request.mix.tracks.front().file);
  const FrameSpan span = spanOfFile(request.mix, source);
  checkScaledFloatInput(source, request.mix.isForced, notices);
  FileSound sound(source);
  if (request.isData) {
    return writeData(request, sound, span, output);
  }
  if (request.view == PlotView::automatic) {
    request.view = PlotView::both;
  }
  return drawSoundPicture(request, sound, span,
                          {titleOfFile(source.name), factsOfFile(source, span)},
                          framesPerSecondOf(request), output);
}

static PlotResult plotMix(const PlotRequest& request, const Notices& notices, PlotOutput& output)
{
  const MixContents contents = gatherMix(request.mix, notices);
  refuseMissing(contents, request.mix.isMissingAllowed, notices);
  MixGraph graph(contents, request.mix, notices);
  const FrameSpan span = spanOf(request.mix, graph, "mix");
  for (const MixTrack& track : contents.tracks) {
    if (track.source) {
      checkScaledFloatInput(*track.source, request.mix.isForced, notices);
    }
  }
  const PlotHeader header = {titleOfMix(request.mix), factsOfMix(graph, contents, span)};
  const bool isSum = request.view != PlotView::automatic && request.view != PlotView::mix;
  MixSound sound(graph);
  if (request.isData) {
    return writeData(request, sound, span, output);
  }
  if (isSum) {
    return drawSoundPicture(request, sound, span, header, framesPerSecondOf(request), output);
  }
  return drawMixPicture(request, graph, span, header, framesPerSecondOf(request), output);
}

static const char* formatNameOf(const PlotRequest& request)
{
  if (request.isData) {
    return "json";
  }
  return request.format == PictureFormat::png   ? "png"
         : request.format == PictureFormat::svg ? "svg"
                                                : "pdf";
}

static void printResultAsJson(const PlotRequest& request, const PlotResult& result)
{
  nlohmann::ordered_json object = {
      {"event", "done"},
      {"output", request.mix.output},
      {"format", formatNameOf(request)},
      {"sampleRate", result.rate},
      {"channels", result.channels},
      {"frames", result.span.length()},
      {"seconds", static_cast<double>(result.span.length()) / result.rate}};
  if (result.levels) {
    object["width"] = result.width;
    object["height"] = result.height;
    object["peakDbfs"] = result.levels->peaksInDecibels();
    object["rmsDbfs"] = result.levels->rmsInDecibels();
  }
  printJsonLine(object);
}

static void tellOf(const PlotRequest& request, const PlotResult& result)
{
  if (request.mix.isJson || request.mix.progress == ProgressStyle::json) {
    printResultAsJson(request, result);
  } else if (!request.mix.isQuiet && !isStandardOutput(request.mix.output)) {
    const std::string length =
        clockTimeText(static_cast<double>(result.span.length()) / result.rate);
    const std::string size = result.levels ? std::to_string(result.width) + " x " +
                                                 std::to_string(result.height) + " pixels, "
                                           : std::string();
    printText(request.mix.output + ": " + size + length + " of sound\n");
  }
}

/** The suffix says no more what is written where --format does. */
static void refuseToReplaceInput(const MixRequest& mix)
{
  for (const TrackRequest& track : mix.tracks) {
    std::error_code neitherExists;
    if (std::filesystem::equivalent(mix.output, track.file, neitherExists)) {
      throw UsageError("--output: \"" + mix.output + "\" is a file to be drawn");
    }
  }
}

int runPlot(const CLI::App& command)
{
  const PlotRequest request = plotRequestOf(argumentsInOrder(command));
  refuseToReplaceInput(request.mix);
  const Notices notices(request.mix.isQuiet);
  PlotOutput output(request.mix.output);
  const PlotResult result =
      isPlainFile(request) ? plotFile(request, notices, output) : plotMix(request, notices, output);
  output.finish();
  tellOf(request, result);
  return 0;
}
