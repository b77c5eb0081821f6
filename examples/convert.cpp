// Converts a sound file to 48 kHz and 24 bits, in the format that the output's
// name says, block by block.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "graph/TovAudioFile.h"
#include "io/TovAudioTranslator.h"
#include "io/TovAudioWriter.h"

static constexpr int kRate = 48000;
static constexpr long long kBlockFrames = 4096;

struct Release {
  void operator()(TovAudioProvider* provider) const { provider->dereference(); }
};

int main(int argc, char** argv)
{
  if (argc != 3) {
    std::fprintf(stderr, "usage: convert INPUT OUTPUT\n");
    return 2;
  }
  const std::unique_ptr<TovAudioFile, Release> file(new TovAudioFile);
  TovAudioIOFormat source{};
  if (file->initialize(argv[1]) != 0 || file->getSourceFormat(&source) != 0 ||
      source.state != FormatValid) {
    std::fprintf(stderr, "%s cannot be read\n", argv[1]);
    return 1;
  }

  TovAudioIOFormat wanted{};
  wanted.sampleRate = kRate;
  wanted.bytesPerSample = 3;
  wanted.channels = source.channels;
  TovAudioTranslator* const format = TovAudioTranslator::findWriter(TovName::getString(argv[2]), 1);
  const std::unique_ptr<TovAudioWriter> writer(format ? format->createWriter() : nullptr);
  if (!writer || writer->initialize(argv[2], wanted) != 0) {
    std::fprintf(stderr, "%s cannot be written\n", argv[2]);
    return 1;
  }

  std::vector<std::vector<float>> samples(source.channels, std::vector<float>(kBlockFrames));
  TovNLPArray<float> buffers;
  TovNLArray<int> channels;
  for (std::vector<float>& channel : samples) {
    channels.append(buffers.getCount());
    buffers.append(channel.data());
  }

  const TovAudioContext context(kRate, 3, 24.0, 0.0); // quality "Highest"
  file->activate(context);
  const long long frames = file->getSampleIndex(context, file->getSrcOut());
  for (long long first = 0; first < frames; first += kBlockFrames) {
    const long long end = std::min(first + kBlockFrames, frames);
    const double t0 = file->getTimeOfSample(context, first);
    const double t1 = file->getTimeOfSample(context, end);
    if (file->getAudio(buffers, channels, context, t0, t1) != 0 ||
        writer->writeChannels(buffers, 0, static_cast<int>(end - first)) != 0) {
      std::fprintf(stderr, "failed at frame %lld\n", first);
      return 1;
    }
  }
  file->deactivate();
  writer->close(); // fills in the sizes
  std::printf("%lld frames of %u channels at %d Hz\n", frames, source.channels, kRate);
  return 0;
}
