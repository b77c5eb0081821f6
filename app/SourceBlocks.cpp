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

void readInBlocks(const SourceFile& source,
                  const std::function<void(const ChannelBuffers& block, int frames)>& take)
{
  const std::unique_ptr<TovAudioReader> reader = openReader(source);
  const ChannelBuffers block(source.channels(), framesPerBlock(source.channels()));
  const TovNLArray<int> channels = everyChannel(source.channels());
  for (long long frame = 0; frame < source.format.frameCount; frame += block.getFrames()) {
    throwIfInterrupted();
    const long long frames =
        std::min<long long>(block.getFrames(), source.format.frameCount - frame);
    if (reader->readChannels(block.all(), channels, frame, frames) != 0) {
      throwIfCutShort(source);
      throw Failure(source.name, "could not be read at frame " + std::to_string(frame));
    }
    // The AIFF reader does not say that a file has ended early.
    throwIfCutShort(source);
    take(block, static_cast<int>(frames));
  }
}
