#include "app/Conversion.h"

#include <algorithm>
#include <cmath>

#include "app/AudioOutput.h"
#include "app/BlockGrid.h"
#include "app/Failures.h"
#include "app/FileSuffix.h"
#include "app/ForeignSounds.h"
#include "app/FrameSpan.h"
#include "app/Interruption.h"
#include "app/NumberText.h"
#include "app/ProviderReference.h"
#include "app/ScaledFloatInput.h"
#include "app/SourceBlocks.h"
#include "app/StandardOutput.h"
#include "app/WatchedFile.h"
#include "core/TovAudioContext.h"
#include "pcm/TovPcm.h"

static OutputPlan planOutput(const ConversionRequest& request, const SourceFile& source)
{
  OutputPlan plan = {};
  plan.target = request.output;
  plan.rate = request.rate.value_or(source.rate());
  plan.bits = request.bits.value_or(source.keptBits);
  plan.channels = source.channels();
  plan.isDithered = request.isDithered;
  plan.formatName = request.formatName;
  return plan;
}

/** Frames of the output that the whole file comes to. */
static long long framesOfAll(const SourceFile& source, int rate)
{
  return rate == source.rate()
             ? source.format.frameCount
             : std::llround(static_cast<double>(source.format.frameCount) * rate / source.rate());
}

/** The part that --from and --to leave, in frames of the output.  It is cut out
 *  of the whole, so that no sample depends on where. */
static FrameSpan spanOf(const ConversionRequest& request, const SourceFile& source, int rate)
{
  const auto frameOf = [&](const WrittenTime& time) {
    return std::llround(time.secondsAt(source.rate()) * rate);
  };
  FrameSpan span = {0, framesOfAll(source, rate)};
  if (!request.from && !request.to) {
    return span;
  }
  span.from = request.from ? frameOf(*request.from) : 0;
  span.to = request.to ? std::min(frameOf(*request.to), span.to) : span.to;
  if (span.from < 0) {
    throw UsageError("--from lies before the beginning of " + source.name);
  }
  if (span.length() <= 0) {
    throw UsageError("--from and --to leave nothing of " + source.name + ", which is " +
                     shortNumber(source.seconds()) + " seconds long");
  }
  return span;
}

static bool hasSameFormat(const OutputPlan& plan, const SourceFile& source)
{
  return formatNameForPeople(outputFormatOf(plan)) == source.formatName;
}

/** 32-bit integers do not pass through a float unharmed.  Where nothing is to
 *  be changed, the bytes themselves are taken over. */
static bool keepsSampleBytes(const ConversionRequest& request, const OutputPlan& plan,
                             const SourceFile& source)
{
  const bool isUnchanged = plan.rate == source.rate() && !(request.gain < 0.0f) &&
                           !(request.gain > 0.0f) && !plan.isDithered;
  return isUnchanged && !source.isForeign() && plan.bits == 32 && source.storedBits() == 32 &&
         hasSameFormat(plan, source);
}

static void sayWhatIsLost(const OutputPlan& plan, const SourceFile& source, const Notices& notices)
{
  if (plan.bits == 32 && source.storedBits() == 32 && !hasSameFormat(plan, source)) {
    notices.say(outputNameForPeople(plan.target), "32-bit samples keep 24 of their bits between " +
                                                      source.formatName + " and " +
                                                      formatNameForPeople(outputFormatOf(plan)));
  }
}

static void applyGain(const TovNLPArray<float>& samples, int frames, float decibels)
{
  for (int c = 0; c < samples.getCount(); ++c) {
    TovPcm::amplifyDB(samples[c], samples[c], frames, decibels);
  }
}

/** At the file's own rate its samples go from reader to writer as they are. */
static void copyFrames(const ConversionRequest& request, const SourceFile& source, FrameSpan span,
                       AudioOutput& output, Progress& progress)
{
  long long frame = span.from;
  readInBlocks(source, span, [&](const ChannelBuffers& block, int frames) {
    applyGain(block.all(), frames, request.gain);
    output.append(block.all(), frames, frame);
    progress.advance(frames);
    frame += frames;
  });
}

static ProviderReference<WatchedFile> wholeFile(const SourceFile& source,
                                                const TovAudioContext& context)
{
  ProviderReference<WatchedFile> file(new WatchedFile(source));
  // A quarter of a frame behind the end, so that rounding keeps the last one.
  file->setSrcOut((static_cast<double>(source.format.frameCount) + 0.25) / source.rate());
  if (file->activate(context) != 0) {
    throw Failure(source.name, "could not be opened any more");
  }
  return file;
}

/** At another rate a file provider resamples, block by block on a fixed grid. */
static void resampleFrames(const ConversionRequest& request, const SourceFile& source,
                           const OutputPlan& plan, FrameSpan span, AudioOutput& output,
                           Progress& progress)
{
  constexpr double kFrameRate = 24.0; // of a timeline, which there is none of
  const TovAudioContext context(plan.rate, request.quality, kFrameRate, 0.0);
  const ProviderReference<WatchedFile> file = wholeFile(source, context);
  ChannelBuffers block(plan.channels, framesPerBlock(plan.channels));
  const TovNLArray<int> channels = everyChannel(plan.channels);
  GridPiece piece = {};
  for (long long frame = span.from; frame < span.to; frame += piece.count) {
    throwIfInterrupted();
    piece = gridPieceAt(frame, span.to, block.getFrames());
    block.silence();
    file->getAudio(block.all(), channels, context, file->getTimeOfSample(context, piece.blockStart),
                   file->getTimeOfSample(context, piece.blockStart + block.getFrames()));
    file->throwIfFailed();
    const TovNLPArray<float> samples = block.from(piece.offset);
    applyGain(samples, piece.count, request.gain);
    output.append(samples, piece.count, frame);
    progress.advance(piece.count);
  }
}

ConversionResult convertFile(const ConversionRequest& request, const Notices& notices)
{
  readIntegersAsScaledFloats(request.isForced);
  const SourceFile source = openSource(request.input);
  OutputPlan plan = planOutput(request, source);
  const FrameSpan span = spanOf(request, source, plan.rate);
  plan.frames = span.length();
  plan.exactSource = keepsSampleBytes(request, plan, source) ? &source : nullptr;
  plan.exactFirstFrame = span.from;
  if (plan.isDithered) {
    checkDitherBits(plan.bits);
  }
  AudioOutput output(plan, notices);
  sayWhatIsLost(plan, source, notices);
  checkScaledFloatInput(source, request.isForced, notices);
  double timesRealTime = 0.0;
  {
    Progress progress(request.isQuiet ? ProgressStyle::none : request.progress, plan.frames,
                      plan.rate);
    if (plan.rate == source.rate()) {
      copyFrames(request, source, span, output, progress);
    } else {
      resampleFrames(request, source, plan, span, output, progress);
    }
    output.finish();
    timesRealTime = progress.timesRealTime();
  }
  sayWhatWasClipped(plan, output.getLevels(), notices, "");
  return {source, plan.rate, plan.bits, plan.frames, output.getLevels(), timesRealTime};
}
