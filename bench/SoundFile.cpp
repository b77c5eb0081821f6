#include "bench/SoundFile.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <random>
#include <stdexcept>

#include "io/TovAudioTranslator.h"
#include "io/TovAudioWriter.h"

namespace {

constexpr double kLoudness = 0.012; // of one sine
constexpr int kSines = 4;

/** Adds one sine, as a pointer that turns from frame to frame. */
void addSine(std::vector<float>& samples, double frequency, double phase, int rate)
{
  const std::complex<double> turn = std::polar(1.0, 2.0 * std::numbers::pi * frequency / rate);
  std::complex<double> pointer = std::polar(kLoudness, phase);
  for (float& sample : samples) {
    sample += static_cast<float>(pointer.imag());
    pointer *= turn;
  }
}

} // namespace

void writeSound(const std::string& path, const SoundShape& shape, unsigned seed)
{
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> frequency(60.0, 12000.0);
  std::uniform_real_distribution<double> phase(0.0, 2.0 * std::numbers::pi);
  const std::size_t frames = static_cast<std::size_t>(std::lround(shape.seconds * shape.rate));
  Channels samples(static_cast<std::size_t>(shape.channels), std::vector<float>(frames));
  for (std::vector<float>& channel : samples)
    for (int i = 0; i < kSines; ++i) {
      const double hertz = frequency(random);
      addSine(channel, hertz, phase(random), shape.rate);
    }
  writeSamples(path, samples, shape.rate, shape.bits);
}

void writeSamples(const std::string& path, const Channels& samples, int rate, int bits)
{
  const TovAudioTranslator* const translator =
      TovAudioTranslator::findWriter(TovName::getString(path.c_str()), 1);
  const std::unique_ptr<TovAudioWriter> writer(translator ? translator->createWriter() : nullptr);
  TovAudioIOFormat format{};
  format.state = FormatValid;
  format.bytesPerSample = static_cast<std::uint32_t>(bits / 8);
  format.sampleRate = static_cast<std::uint32_t>(rate);
  format.channels = static_cast<std::uint32_t>(samples.size());
  if (!writer || writer->initialize(path.c_str(), format) != 0)
    throw std::runtime_error(path + " cannot be written");

  const long long frames = static_cast<long long>(samples[0].size());
  for (long long first = 0; first < frames; first += kFileBlock) {
    TovNLPArray<float> inputs;
    for (const std::vector<float>& channel : samples)
      inputs.append(const_cast<float*>(channel.data() + first)); // only read
    const int count = static_cast<int>(std::min(kFileBlock, frames - first));
    if (writer->writeChannels(inputs, 0, count) != 0)
      throw std::runtime_error(path + " cannot be written");
  }
  writer->close();
}

Channels noiseSamples(int channels, long long frames)
{
  std::mt19937 random(1);
  std::uniform_real_distribution<float> sample(-0.9f, 0.9f);
  Channels all(static_cast<std::size_t>(channels),
               std::vector<float>(static_cast<std::size_t>(frames)));
  for (std::vector<float>& channel : all)
    std::generate(channel.begin(), channel.end(), [&] { return sample(random); });
  return all;
}
