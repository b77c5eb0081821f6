#include "app/MixRender.h"

#include <cmath>
#include <cstdio>

#include "app/AudioOutput.h"
#include "app/BlockGrid.h"
#include "app/Failures.h"
#include "app/Interruption.h"
#include "app/MixGraph.h"
#include "app/MixSpan.h"
#include "app/ScaledFloatInput.h"
#include "app/StandardOutput.h"
#include "pcm/TovPcm.h"

static constexpr int kBlockFrames = 4096;
static constexpr int kChannels = 2;

static std::string adviceOnLevel(float masterGain, const LevelMeter& levels)
{
  const double tooMuch = decibelsOfFullScale(static_cast<double>(levels.getHighestPeak()));
  // A tenth above what is needed, so that rounding cannot spoil it.
  const double master = std::floor((decibelsOfFactor(masterGain) - tooMuch) * 10.0 - 1e-9) / 10.0;
  char text[64];
  (void)std::snprintf(text, sizeof text, "; --master %.1f would avoid it", master);
  return std::isfinite(master) ? text : "";
}

static std::vector<MixedTrack> tracksOf(const MixGraph& graph)
{
  std::vector<MixedTrack> tracks;
  tracks.reserve(static_cast<std::size_t>(graph.getTrackCount()));
  for (int i = 0; i < graph.getTrackCount(); ++i) {
    tracks.push_back({graph.getTrack(i), graph.getPlan(i), graph.isHeard(i)});
  }
  return tracks;
}

/** Nothing where the mix is to stay as it is. */
static void applyGain(const ChannelBuffers& block, float decibels)
{
  if (!(decibels < 0.0f) && !(decibels > 0.0f)) {
    return;
  }
  for (int c = 0; c < block.getChannels(); ++c) {
    TovPcm::amplifyDB(block.channel(c), block.channel(c), block.getFrames(), decibels);
  }
}

static double renderSpan(MixGraph& graph, AudioOutput& output, FrameSpan span,
                         const MixRequest& request)
{
  const ProgressStyle style = request.isQuiet ? ProgressStyle::none : request.progress;
  const ChannelBuffers block(kChannels, kBlockFrames);
  Progress progress(style, span.to - span.from, graph.getRate());
  graph.activate();
  GridPiece piece = {};
  for (long long frame = span.from; frame < span.to; frame += piece.count) {
    throwIfInterrupted();
    piece = gridPieceAt(frame, span.to, kBlockFrames);
    graph.render(block, piece.blockStart);
    applyGain(block, request.gain);
    output.append(block.from(piece.offset), piece.count, frame);
    progress.advance(piece.count);
  }
  graph.checkInputs();
  output.finish();
  return progress.timesRealTime();
}

MixResult renderMix(const MixContents& contents, const MixRequest& request, const Notices& notices)
{
  refuseMissing(contents, request.isMissingAllowed, notices);
  MixGraph graph(contents, request, notices);
  const FrameSpan span = spanOf(request, graph, outputNameForPeople(request.output));
  OutputPlan plan = {};
  plan.target = request.output;
  plan.rate = graph.getRate();
  plan.bits = request.bits;
  plan.channels = kChannels;
  plan.frames = span.to - span.from;
  plan.isDithered = request.isDithered;
  plan.formatName = request.formatName;
  AudioOutput output(plan, notices);
  for (int i = 0; i < graph.getTrackCount(); ++i) {
    if (const MixTrack& track = graph.getTrack(i); track.source) {
      checkScaledFloatInput(*track.source, request.isForced, notices);
    }
  }
  const double timesRealTime = renderSpan(graph, output, span, request);
  sayWhatWasClipped(plan, output.getLevels(), notices,
                    adviceOnLevel(contents.masterGain, output.getLevels()));
  return {tracksOf(graph), plan.rate, plan.frames, output.getLevels(), timesRealTime};
}
