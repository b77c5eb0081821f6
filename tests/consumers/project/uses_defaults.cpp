// Writes a file, mixes it, and prints what is wrong: the least that a host
// does, with the default host core services.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "io/TovAudioTranslator.h"
#include "io/TovAudioWriter.h"

namespace {

int failures = 0;

void check(bool holds, const char* what)
{
  if (!holds) {
    std::printf("wrong: %s\n", what);
    ++failures;
  }
}

} // namespace

int main()
{
  const char* const path = "uses_defaults.aif";
  TovAudioTranslator* const translator =
      TovAudioTranslator::findWriter(TovName::getString(path), 1);
  check(translator != nullptr, "a writer by suffix");
  if (!translator)
    return EXIT_FAILURE;

  std::vector<float> samples(48000, 0.5f);
  {
    const std::unique_ptr<TovAudioWriter> writer(translator->createWriter());
    TovAudioIOFormat format{};
    format.bytesPerSample = 2;
    format.sampleRate = 48000;
    format.channels = 1;
    TovNLPArray<float> input;
    input.append(samples.data());
    check(writer->initialize(path, format) == 0, "the file is started");
    check(writer->writeChannels(input, 0, 48000) == 0, "the file is written");
    writer->close();
  }

  TovAudioMixer* const mixer = new TovAudioMixer;
  TovAudioFile* const file = new TovAudioFile;
  check(file->initialize(path) == 0, "the file is opened");
  check(mixer->addProvider(file) == 0, "the file is added");
  mixer->setStartTime(file, 0.0);
  mixer->setEndTime(file, 0.0);

  const TovAudioContext context(48000, 0, 24.0, 0.0);
  std::vector<float> left(100), right(100);
  TovNLPArray<float> buffers;
  buffers.append(left.data());
  buffers.append(right.data());
  TovNLArray<int> map;
  map.append(0);
  map.append(1);
  check(mixer->activate(context) == 0, "the mixer is activated");
  check(mixer->getAudio(buffers, map, context, 0.5, 0.5 + 100.0 / 48000) == 0, "audio is mixed");
  check(std::fabs(left[50] - 0.5f) < 1e-6f, "the left channel is the file's");
  check(std::fabs(right[50] - 0.5f) < 1e-6f, "and so is the right one");
  file->dereference();
  mixer->dereference();
  std::remove(path);
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
