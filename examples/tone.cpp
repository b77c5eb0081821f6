// A provider of one's own, in a mix: a sine tone that never ends.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <vector>

#include "graph/TovAudioMixer.h"

class Tone : public TovAudioProvider {
public:
  explicit Tone(double hertz) : frequency(hertz) {}

  TovAudioProvider* clone() const override { return new Tone(frequency); }
  int activate(const TovAudioContext&) override { return 0; }
  int deactivate() override { return 0; }
  int serialize(void** out) override { return *out = nullptr, 0; } // saved settings hold files
  int deserialize(const void*, bool) override { return -1; }

  int getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>&,
               const TovAudioContext& context, double t0, double t1) override
  {
    if (context.sampleRate < 1 || hasNullBuffer(buffers))
      return 4;
    const LockedProvider locked(*this);
    // Time 0 of the tone falls where the context's offset says.
    const long long first =
        getSampleIndex(context, t0) + getSampleIndex(context, -context.timeOffset);
    const long long frames = getNumSampleFrames(context, t0, t1);
    const double cycles = frequency / context.sampleRate;
    for (int channel = 0; channel < buffers.getCount(); ++channel)
      for (long long i = 0; i < frames; ++i) {
        const double phase = std::fmod(cycles * static_cast<double>(first + i), 1.0);
        buffers[channel][i] = static_cast<float>(std::sin(2.0 * std::numbers::pi * phase));
      }
    return 0;
  }

  void setFrequency(double hertz)
  {
    lockAcquire();
    frequency = hertz;
    lockRelease();
    callNotifyCallbacks(); // with the lock released: listeners may call back
  }

private:
  double frequency; ///< hertz; protected by providerLock
};

int main()
{
  Tone* const tone = new Tone(440.0);
  TovAudioMixer* const mixer = new TovAudioMixer;
  mixer->addProvider(tone);
  mixer->setStartTime(tone, 0.0);
  mixer->setEndTime(tone, 0.0); // not above the start: no end
  mixer->setGain(tone, 0.5f);
  std::atomic<int> changes = 0;
  mixer->addCallback([](void* count) { ++*static_cast<std::atomic<int>*>(count); }, &changes);
  tone->setFrequency(441.0); // the mixer passes the news on

  std::vector<float> left(44100), right(44100);
  TovNLPArray<float> buffers;
  buffers.append(left.data());
  buffers.append(right.data());
  TovNLArray<int> channels;
  channels.append(0);
  channels.append(1);
  const TovAudioContext context(44100, 0, 24.0, 0.0);
  const int status = mixer->getAudio(buffers, channels, context, 1.0, 2.0);
  const float peak = *std::max_element(left.begin(), left.end());
  std::printf("status %d, peak %.3f, %d change\n", status, static_cast<double>(peak),
              changes.load());
  mixer->dereference();
  tone->dereference();
  return status;
}
