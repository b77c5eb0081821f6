#include "tests/soundserver/NoiseMix.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "core/TovAudioContext.h"
#include "graph/TovAudioResampler.h"
#include "tests/support/Buffers.h"
#include "tests/support/IntegerSound.h"

using support::Signal;

namespace {

constexpr long long kBlockFrames = 4096;

Signal rendered(TovAudioProvider& provider, const TovAudioContext& context, double t0, double t1)
{
  constexpr int kNothingSounds = 5; // the block stays as silent as it is
  Signal block(2, std::vector<float>(static_cast<std::size_t>(
                      provider.getNumSampleFrames(context, t0, t1))));
  const int activation = provider.activate(context);
  const int status =
      provider.getAudio(support::pointers(block), support::channelMap({0, 1}), context, t0, t1);
  provider.deactivate();
  if (activation != 0 || (status != 0 && status != kNothingSounds))
    throw std::runtime_error("the mix is not rendered: " + std::to_string(activation) + ", " +
                             std::to_string(status));
  return block;
}

void append(Signal& sound, const Signal& more)
{
  for (std::size_t channel = 0; channel < sound.size(); ++channel)
    sound[channel].insert(sound[channel].end(), more[channel].begin(), more[channel].end());
}

} // namespace

NoiseMix::NoiseMix(const support::TempFolder& folder) : mixer(TovAudioMixer::getMasterMixer())
{
  add(folder.write("a.wav", support::wavOf(support::randomSound(2, 66150, kRate, 24, 1))), 0.0,
      kSeconds, 0.5f, 0.0f);
  add(folder.write("b.aif", support::aiffOf(support::randomSound(2, 60000, 48000, 16, 2))), 0.0,
      1.25, 0.25f, 0.0f);
  add(folder.write("c.wav", support::wavOf(support::randomSound(1, 30000, kRate, 16, 3))), 0.4,
      1.05, 0.25f, -0.5f);
}

NoiseMix::~NoiseMix()
{
  mixer->clear();
}

void NoiseMix::add(const std::string& path, double startTime, double endTime, float gain, float pan)
{
  files.push_back(support::make<TovAudioFile>());
  TovAudioFile* const file = files.back().get();
  if (file->initialize(path.c_str()) != 0 || mixer->addProvider(file) != 0)
    throw std::runtime_error("no track for " + path);
  mixer->setStartTime(file, startTime);
  mixer->setEndTime(file, endTime);
  mixer->setGain(file, gain);
  mixer->setPan(file, pan);
}

Signal NoiseMix::span(double start, double end, int sourceRate) const
{
  const auto chain = support::make<TovAudioResampler>(mixer.get());
  chain->setSourceRate(sourceRate);
  const TovAudioContext context(kRate, 1, 24.0, 0.0);
  const long long last = chain->getSampleIndex(context, end);
  Signal sound(2);
  double time = start;
  for (long long cur = chain->getSampleIndex(context, start); cur != last;) {
    const long long next = start <= end ? std::min(last, cur + kBlockFrames)
                                        : std::max(last, cur - kBlockFrames);
    const double nextTime = chain->getTimeOfSample(context, next);
    Signal block = start <= end
                       ? rendered(*chain, context, time, nextTime)
                       : rendered(*chain, context, nextTime, chain->getTimeOfSample(context, cur));
    if (start > end) {
      for (std::vector<float>& channel : block)
        std::reverse(channel.begin(), channel.end());
    }
    append(sound, block);
    time = nextTime;
    cur = next;
  }
  return sound;
}

Signal repeated(const Signal& sound, int rounds)
{
  Signal all(sound.size());
  for (int round = 0; round < rounds; ++round)
    append(all, sound);
  return all;
}

Signal amplified(const Signal& sound, float factor)
{
  Signal louder = sound;
  for (std::vector<float>& channel : louder) {
    for (float& sample : channel)
      sample *= factor;
  }
  return louder;
}
