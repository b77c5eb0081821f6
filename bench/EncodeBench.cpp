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

// From creating the file to closing it; every side has a file of its own in the
// same folder, which it replaces each time.

namespace {

constexpr int kRate = 48000;

void encodeBySndfile(const std::string& path, const Channels& samples, int format)
{
  SF_INFO info = {};
  info.samplerate = kRate;
  info.channels = static_cast<int>(samples.size());
  info.format = format;
  SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (!file)
    throw std::runtime_error(path + ": " + sf_strerror(nullptr));
  sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  const float* const left = samples[0].data();
  const float* const right = samples[1].data();
  const std::size_t frames = samples[0].size();
  std::vector<float> interleaved(kFileBlock * 2);
  for (std::size_t first = 0; first < frames; first += kFileBlock) {
    const std::size_t count = std::min<std::size_t>(kFileBlock, frames - first);
    for (std::size_t i = 0; i < count; ++i) {
      interleaved[2 * i] = left[first + i];
      interleaved[2 * i + 1] = right[first + i];
    }
    const sf_count_t wanted = static_cast<sf_count_t>(2 * count);
    if (sf_write_float(file, interleaved.data(), wanted) != wanted)
      throw std::runtime_error(path + " cannot be written");
  }
  sf_close(file);
}

struct Kind {
  const char* suffix;
  int bits;
  int sndfileFormat;
  double atLeast;
};

constexpr Kind kKinds[] = {
    {"wav", 16, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2.0},
    {"aiff", 16, SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 2.0},
    {"wav", 24, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1.7},
    {"aiff", 24, SF_FORMAT_AIFF | SF_FORMAT_PCM_24, 1.7},
};

} // namespace

std::function<void()> makeEncoding(std::istream& words)
{
  std::string path;
  int bits = 0;
  long long frames = 0;
  words >> path >> bits >> frames;
  const std::shared_ptr<const Channels> samples =
      std::make_shared<const Channels>(noiseSamples(2, frames));
  return [path, bits, samples] { writeSamples(path, *samples, kRate, bits); };
}

Section benchEncoding(Run& run)
{
  Section section;
  section.title = "Encoding from planar float";
  section.method = "Whole files of noise, stereo, in blocks of 4096 frames, creating and closing "
                   "included; nanoseconds per sample.  The peer's channels are put together for "
                   "sf_write_float, and it clips as ours does.";
  const long long frames = run.isQuick ? 240000 : 480000;
  const Channels samples = noiseSamples(2, frames);
  for (const Kind& kind : kKinds) {
    std::vector<Contender> contenders;
    for (const std::unique_ptr<OurProcess>& process : run.ours) {
      const std::string work = "encode " + run.folder + "/" + process->kernels + "." + kind.suffix +
                               " " + std::to_string(kind.bits) + " " + std::to_string(frames);
      contenders.push_back({work, [&process, work] { return process->measure(work); }});
    }
    const std::string path = run.folder + "/sndfile." + kind.suffix;
    contenders.push_back({"libsndfile", [&] {
                            return secondsPerPass(
                                [&] { encodeBySndfile(path, samples, kind.sndfileFormat); });
                          }});
    const std::vector<double> seconds = medianSeconds(contenders, run.repetitions(21));

    Comparison row;
    row.work = std::string(kind.suffix) + ", " + std::to_string(kind.bits) + " bit";
    row.peer = "libsndfile, clipping";
    for (std::size_t i = 0; i < run.ours.size(); ++i)
      row.ours.push_back({run.ours[i]->kernels, seconds[i]});
    row.theirs = seconds.back();
    row.items = static_cast<double>(2 * frames);
    row.atLeast = kind.atLeast;
    section.comparisons.push_back(row);
  }
  return section;
}
