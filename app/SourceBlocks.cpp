#include "app/SourceBlocks.h"

#include <algorithm>

#include <sys/stat.h>

#include "app/Failures.h"
#include "app/Interruption.h"

int framesPerBlock(int channels)
{
  constexpr int kMostSamples = 1 << 22;
  return std::clamp(kMostSamples / std::max(channels, 1), 16, 4096);
}

bool isStillWhole(const SourceFile& source)
{
  struct stat status = {};
  return stat(source.path.c_str(), &status) != 0 || status.st_size >= source.neededBytes();
}

void throwIfCutShort(const SourceFile& source)
{
  if (!isStillWhole(source)) {
    throw Failure(source.name, "was cut short while it was read");
  }
}

static std::string whereItFailed(const SourceFile& source, long long frame)
{
  const std::string place = "could not be read at frame " + std::to_string(frame);
  return source.isForeign() ? "is damaged or cut short: it " + place + " of " +
                                  std::to_string(source.format.frameCount)
                            : place;
}

void readInBlocks(const SourceFile& source,
                  const std::function<void(const ChannelBuffers& block, int frames)>& take)
{
  readInBlocks(source, {0, source.format.frameCount}, take);
}

void readInBlocks(const SourceFile& source, FrameSpan part,
                  const std::function<void(const ChannelBuffers& block, int frames)>& take)
{
  const std::unique_ptr<TovAudioReader> reader = openReader(source);
  const ChannelBuffers block(source.channels(), framesPerBlock(source.channels()));
  const TovNLArray<int> channels = everyChannel(source.channels());
  for (long long frame = part.from; frame < part.to; frame += block.getFrames()) {
    throwIfInterrupted();
    const long long frames = std::min<long long>(block.getFrames(), part.to - frame);
    if (reader->readChannels(block.all(), channels, frame, frames) != 0) {
      throwIfCutShort(source);
      throw Failure(source.name, whereItFailed(source, frame));
    }
    // The AIFF reader does not say that a file has ended early.
    throwIfCutShort(source);
    take(block, static_cast<int>(frames));
  }
}
