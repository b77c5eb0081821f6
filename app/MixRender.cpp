#include "app/MixRender.h"

#include <cmath>
#include <cstdio>

#include "app/AudioOutput.h"
#include "app/BlockGrid.h"
#include "app/Failures.h"
#include "app/Interruption.h"
#include "app/MixGraph.h"
#include "app/ScaledFloatInput.h"

static constexpr int kBlockFrames = 4096;
static constexpr int kChannels = 2;

/** The part of the timeline that is written, in frames. */
struct FrameSpan {
  long long from;
  long long to;
};

static FrameSpan spanOf(const MixRequest& request, const MixGraph& graph)
{
  FrameSpan span = {};
  span.from = std::llround(request.from.value_or(0.0) * graph.getRate());
  span.to = request.to ? std::llround(*request.to * graph.getRate()) : graph.getEndFrame();
  if (span.to > span.from) {
    return span;
  }
  if (request.from || request.to) {
    throw UsageError(request.to ? "--to is not behind the beginning of the mix"
                                : "--from is not before the end of the last track");
  }
  throw Failure(request.output, "the mix is empty: no track reaches behind time 0");
}

static std::string adviceOnLevel(const MixRequest& request, const LevelMeter& levels)
{
  const double tooMuch = decibelsOfFullScale(static_cast<double>(levels.getHighestPeak()));
  // A tenth above what is needed, so that rounding cannot spoil it.
  const double master =
      std::floor((static_cast<double>(request.master) - tooMuch) * 10.0 - 1e-9) / 10.0;
  char text[64];
  std::snprintf(text, sizeof text, "; --master %.1f would avoid it", master);
  return std::isfinite(master) ? text : "";
}

static std::vector<MixedTrack> tracksOf(const MixRequest& request, const MixGraph& graph)
{
  std::vector<MixedTrack> tracks;
  for (int i = 0; i < graph.getTrackCount(); ++i) {
    tracks.push_back({request.tracks[static_cast<std::size_t>(i)], graph.getSource(i),
                      graph.getPlan(i), graph.isHeard(i)});
  }
  return tracks;
}

static double renderSpan(MixGraph& graph, AudioOutput& output, FrameSpan span, ProgressStyle style)
{
  const ChannelBuffers block(kChannels, kBlockFrames);
  Progress progress(style, span.to - span.from, graph.getRate());
  graph.activate();
  GridPiece piece = {};
  for (long long frame = span.from; frame < span.to; frame += piece.count) {
    throwIfInterrupted();
    piece = gridPieceAt(frame, span.to, kBlockFrames);
    graph.render(block, piece.blockStart);
    output.append(block.from(piece.offset), piece.count, frame);
    progress.advance(piece.count);
  }
  graph.checkInputs();
  output.finish();
  return progress.timesRealTime();
}

MixResult renderMix(const MixRequest& request, const Notices& notices)
{
  MixGraph graph(request, notices);
  const FrameSpan span = spanOf(request, graph);
  OutputPlan plan = {};
  plan.target = request.output;
  plan.rate = graph.getRate();
  plan.bits = request.bits;
  plan.channels = kChannels;
  plan.frames = span.to - span.from;
  plan.isDithered = request.isDithered;
  AudioOutput output(plan, notices);
  for (int i = 0; i < graph.getTrackCount(); ++i) {
    checkScaledFloatInput(graph.getSource(i), request.isForced, notices);
  }
  const ProgressStyle style = request.isQuiet ? ProgressStyle::none : request.progress;
  const double timesRealTime = renderSpan(graph, output, span, style);
  sayWhatWasClipped(plan, output.getLevels(), notices, adviceOnLevel(request, output.getLevels()));
  return {tracksOf(request, graph), plan.rate, plan.frames, output.getLevels(), timesRealTime};
}
