#include "tests/hostile/HostileUse.h"

#include <memory>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "io/TovAudioReader.h"
#include "io/TovAudioTranslator.h"
#include "tests/hostile/Cost.h"
#include "tests/support/Owned.h"

namespace support {

namespace {

constexpr long long kFrames = 4096;

std::vector<int> firstChannels(int count)
{
  std::vector<int> channels;
  for (int i = 0; i < count; ++i)
    channels.push_back(i);
  return channels;
}

void readByReader(const std::string& path, FileUse& use)
{
  Buffers buffers(2, 1);
  const TovNLArray<int> map = channelMap({0, 1});
  const Cost opening;
  const TovName name = TovName::getString(path.c_str());
  const TovAudioTranslator* const translator = TovAudioTranslator::findReader(name, 1);
  if (!translator) {
    EXPECT_TRUE(opening.isBounded()) << "finding a reader for " << path;
    return;
  }
  const std::unique_ptr<TovAudioReader> reader(translator->createReader());
  use.openStatus = reader->initialize(path.c_str());
  use.formatStatus = reader->getFileSpec(&use.format);
  EXPECT_TRUE(opening.isBounded()) << "opening " << path;
  const Cost reading;
  use.readStatus = reader->readChannels(buffers.pointers(), map, 0, 1);
  EXPECT_TRUE(reading.isBoundedInMemory()) << "reading " << path;
  EXPECT_TRUE(buffers.guardsIntact());
}

} // namespace

int renderBounded(TovAudioProvider& provider, const FrameRequest& request, int channels)
{
  Buffers buffers(channels, kFrames);
  const TovNLArray<int> map = channelMap(firstChannels(channels));
  const TovAudioContext context(request.rate, request.quality, 24.0, 0.0);
  provider.activate(context);
  // Times far out are coarser than frames: what is asked for may then be less.
  double end = provider.getTimeOfSample(
      context, provider.getSampleIndex(context, request.time) + kFrames);
  if (provider.getNumSampleFrames(context, request.time, end) > kFrames)
    end = request.time;
  const Cost rendering;
  const int status = provider.getAudio(buffers.pointers(), map, context, request.time, end);
  EXPECT_TRUE(rendering.isBoundedInMemory())
      << "rendering at " << request.rate << ", quality " << request.quality << ", time "
      << request.time;
  EXPECT_TRUE(buffers.guardsIntact());
  return status;
}

FileUse useFile(const std::string& path, const std::vector<FrameRequest>& requests)
{
  FileUse use;
  readByReader(path, use);
  const Owned<TovAudioFile> file = make<TovAudioFile>();
  const Cost naming;
  use.providerStatus = file->initialize(path.c_str());
  EXPECT_TRUE(naming.isBounded()) << "naming " << path;
  for (const FrameRequest& request : requests)
    use.audioStatus = renderBounded(*file, request);
  return use;
}

} // namespace support
