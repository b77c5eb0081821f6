#include <algorithm>
#include <istream>
#include <memory>
#include <stdexcept>
#include <vector>

#include <sndfile.h>

#include "bench/Benches.h"
#include "bench/SoundFile.h"
#include "bench/Timing.h"
#include "bench/Works.h"
#include "io/TovAudioReader.h"
#include "io/TovAudioTranslator.h"

// From opening the file to its last block, into the same planar buffers again
// and again, as a stream is decoded.

namespace {

void decodeByLibrary(const std::string& path, Channels& block)
{
  const TovAudioTranslator* const translator =
      TovAudioTranslator::findReader(TovName::getString(path.c_str()), 1);
  const std::unique_ptr<TovAudioReader> reader(translator ? translator->createReader() : nullptr);
  TovAudioIOFormat format{};
  if (!reader || reader->initialize(path.c_str()) != 0 || reader->getFileSpec(&format) != 0)
    throw std::runtime_error(path + " cannot be read");
  TovNLPArray<float> outputs;
  TovNLArray<int> map;
  for (std::uint32_t i = 0; i < format.channels; ++i) {
    outputs.append(block[i].data());
    map.append(static_cast<int>(i));
  }
  for (long long first = 0; first < format.frameCount; first += kFileBlock)
    if (reader->readChannels(outputs, map, first,
                             std::min<long long>(kFileBlock, format.frameCount - first)) != 0)
      throw std::runtime_error(path + " ends early");
  reader->close();
}

void decodeBySndfile(const std::string& path, Channels& block)
{
  SF_INFO info = {};
  SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
  if (!file)
    throw std::runtime_error(path + ": " + sf_strerror(nullptr));
  const std::size_t channels = static_cast<std::size_t>(info.channels);
  std::vector<float> interleaved(kFileBlock * channels);
  while (const sf_count_t samples =
             sf_read_float(file, interleaved.data(), static_cast<sf_count_t>(interleaved.size()))) {
    const std::size_t frames = static_cast<std::size_t>(samples) / channels;
    if (channels == 2) {
      float* const left = block[0].data();
      float* const right = block[1].data();
      for (std::size_t i = 0; i < frames; ++i) {
        left[i] = interleaved[2 * i];
        right[i] = interleaved[2 * i + 1];
      }
    } else {
      for (std::size_t channel = 0; channel < channels; ++channel)
        for (std::size_t i = 0; i < frames; ++i)
          block[channel][i] = interleaved[i * channels + channel];
    }
  }
  sf_close(file);
}

Channels emptyBlock()
{
  return Channels(2, std::vector<float>(kFileBlock));
}

struct Kind {
  const char* suffix;
  int bits;
  double atLeast;
  const char* remark;
};

constexpr Kind kKinds[] = {
    {"wav", 16, 2.5, ""},
    {"aiff", 16, 2.5, ""},
    {"wav", 24, 2.3, ""},
    {"aiff", 24, 2.3, ""},
    {"wav", 32, 1.5, "ours takes such a file as scaled floats, the peer as integers"},
    {"aiff", 32, 1.5, ""},
};

} // namespace

std::function<void()> makeDecoding(std::istream& words)
{
  std::string path;
  words >> path;
  const std::shared_ptr<Channels> block = std::make_shared<Channels>(emptyBlock());
  return [path, block] { decodeByLibrary(path, *block); };
}

Section benchDecoding(Run& run)
{
  Section section;
  section.title = "Decoding to planar float";
  section.method = "Whole files of noise, stereo, in blocks of 4096 frames, opening and closing "
                   "included; nanoseconds per sample.  The peer reads by sf_read_float and takes "
                   "the channels apart.";
  const long long frames = run.isQuick ? 480000 : 1440000;
  const Channels samples = noiseSamples(2, frames);
  for (const Kind& kind : kKinds) {
    const std::string path = run.folder + "/decode" + std::to_string(kind.bits) + "." + kind.suffix;
    writeSamples(path, samples, 48000, kind.bits);
    const std::string work = "decode " + path;
    std::vector<Contender> contenders;
    for (const std::unique_ptr<OurProcess>& process : run.ours)
      contenders.push_back({work, [&process, work] { return process->measure(work); }});
    Channels block = emptyBlock();
    contenders.push_back({"libsndfile", [&path, &block] {
                            return secondsPerPass([&] { decodeBySndfile(path, block); });
                          }});
    const std::vector<double> seconds = medianSeconds(contenders, run.repetitions(21));

    Comparison row;
    row.work = std::string(kind.suffix) + ", " + std::to_string(kind.bits) + " bit";
    row.peer = "libsndfile";
    for (std::size_t i = 0; i < run.ours.size(); ++i)
      row.ours.push_back({run.ours[i]->kernels, seconds[i]});
    row.theirs = seconds.back();
    row.items = static_cast<double>(2 * frames);
    row.atLeast = kind.atLeast;
    row.remark = kind.remark;
    section.comparisons.push_back(row);
  }
  return section;
}
