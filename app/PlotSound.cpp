#include "app/PlotSound.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "app/BlockGrid.h"
#include "app/Failures.h"
#include "app/Interruption.h"
#include "app/SourceBlocks.h"

void readSpan(const SourceFile& source, const TovNLArray<int>& channels, FrameSpan span,
              const PlotSound::Take& take)
{
  const std::unique_ptr<TovAudioReader> reader = openReader(source);
  const ChannelBuffers block(channels.getCount(), framesPerBlock(channels.getCount()));
  for (long long frame = span.from; frame < span.to; frame += block.getFrames()) {
    throwIfInterrupted();
    const long long frames = std::min<long long>(block.getFrames(), span.to - frame);
    if (reader->readChannels(block.all(), channels, frame, frames) != 0) {
      throwIfCutShort(source);
      throw Failure(source.name, "could not be read at frame " + std::to_string(frame));
    }
    // The AIFF reader does not say that a file has ended early.
    throwIfCutShort(source);
    take(block.all(), static_cast<int>(frames), frame);
  }
}

float FileSound::getFullScale() const
{
  // A float holds no more, and what is stored as one may lie anywhere.
  constexpr int kMostBits = 24;
  return source.hasScaledFloatSamples()
             ? 1.0f
             : 1.0f - std::ldexp(1.0f, 1 - std::clamp(source.bits, 2, kMostBits));
}

void FileSound::read(FrameSpan span, Progress& progress, const Take& take)
{
  readSpan(source, everyChannel(source.channels()), span,
           [&](const TovNLPArray<float>& samples, int frames, long long first) {
             take(samples, frames, first);
             progress.advance(frames);
           });
}

FrameSpan MixSound::getExtent() const
{
  constexpr long long kFar = std::numeric_limits<long long>::max() / 4;
  return {-kFar, kFar};
}

float MixSound::getFullScale() const
{
  return std::nextafter(1.0f, 2.0f);
}

void MixSound::read(FrameSpan span, Progress& progress, const Take& take)
{
  constexpr int kBlockFrames = 4096;
  const ChannelBuffers block(getChannels(), kBlockFrames);
  GridPiece piece = {};
  graph.activate();
  for (long long frame = span.from; frame < span.to; frame += piece.count) {
    throwIfInterrupted();
    piece = gridPieceAt(frame, span.to, kBlockFrames);
    graph.render(block, piece.blockStart);
    take(block.from(piece.offset), piece.count, frame);
    progress.advance(piece.count);
  }
  graph.checkInputs();
}
