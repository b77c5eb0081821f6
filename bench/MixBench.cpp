#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "graph/TovAudioMixer.h"

// Arguments: tracks, frames of a request.  Items are track frames, of two
// channels each.

namespace {

/** An input that costs nothing but the copying of its samples. */
class ToneProvider : public TovAudioProvider {
public:
  explicit ToneProvider(long long frames) : tone(static_cast<std::size_t>(frames))
  {
    for (std::size_t i = 0; i < tone.size(); ++i)
      tone[i] = std::sin(0.05f * static_cast<float>(i));
  }
  TovAudioProvider* clone() const override { return nullptr; }
  int activate(const TovAudioContext&) override { return 0; }
  int deactivate() override { return 0; }
  int getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>&,
               const TovAudioContext& context, double t0, double t1) override
  {
    const long long frames = getNumSampleFrames(context, t0, t1);
    std::copy_n(tone.data(), frames, buffers[0]);
    std::copy_n(tone.data(), frames, buffers[1]);
    return 0;
  }
  int serialize(void** out) override
  {
    *out = nullptr;
    return 0;
  }
  int deserialize(const void*, bool) override { return -1; }

private:
  std::vector<float> tone;
};

void Mix(benchmark::State& state)
{
  const int tracks = static_cast<int>(state.range(0));
  const long long frames = state.range(1);
  const TovAudioContext context(48000, 2, 24.0, 0.0);

  TovAudioMixer* const mixer = new TovAudioMixer;
  for (int i = 0; i < tracks; ++i) {
    TovAudioProvider* const tone = new ToneProvider(frames + 1);
    mixer->addProvider(tone);
    mixer->setStartTime(tone, 0.0);
    mixer->setEndTime(tone, 0.0); // no end
    mixer->setPan(tone, 0.3f);
    tone->dereference();
  }
  std::vector<float> left(static_cast<std::size_t>(frames + 1));
  std::vector<float> right(left);
  TovNLPArray<float> buffers;
  buffers.append(left.data());
  buffers.append(right.data());
  TovNLArray<int> map;
  map.append(0);
  map.append(1);

  const double t0 = 1.0; // behind the fades
  const double t1 = mixer->getTimeOfSample(context, 48000 + frames);
  for (auto _ : state)
    if (mixer->getAudio(buffers, map, context, t0, t1) != 0)
      state.SkipWithError("nothing was mixed");
  state.SetItemsProcessed(state.iterations() * tracks * frames);
  mixer->dereference();
}

} // namespace

BENCHMARK(Mix)->ArgNames({"tracks", "frames"})->ArgsProduct({{1, 8, 64}, {4096, 65536}});
