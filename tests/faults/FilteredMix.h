#pragma once

#include <string>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"

namespace support {

/** Two files, mixed, behind a low-pass filter. */
class FilteredMix {
public:
  FilteredMix(const std::string& first, const std::string& second, const TovAudioContext& c)
      : context(c)
  {
    resampler->setSourceRate(16000);
    add(*files[0], first);
    add(*files[1], second);
  }

  TovAudioMixer& mixer() { return *mix; }
  TovAudioFile& file(std::size_t index) { return *files[index]; }

  int activate() { return resampler->activate(context); }
  int deactivate() { return resampler->deactivate(); }

  /** The frames [first, end), from that of the buffers on. */
  int render(Buffers& buffers, long long first, long long end)
  {
    TovNLPArray<float> rest;
    rest.append(buffers.channel(0) + first);
    rest.append(buffers.channel(1) + first);
    const double rate = context.sampleRate;
    return resampler->getAudio(rest, map, context, static_cast<double>(first) / rate,
                               static_cast<double>(end) / rate);
  }

  void expectLocksFree() const
  {
    EXPECT_FALSE(isLockHeld(*resampler));
    EXPECT_FALSE(isLockHeld(*mix));
    EXPECT_FALSE(isLockHeld(*files[0]));
    EXPECT_FALSE(isLockHeld(*files[1]));
  }

private:
  void add(TovAudioFile& file, const std::string& path)
  {
    EXPECT_EQ(file.initialize(path.c_str()), 0);
    EXPECT_EQ(mix->addProvider(&file), 0);
    mix->setStartTime(&file, 0.0);
    mix->setEndTime(&file, 1.0);
  }

  const TovAudioContext context;
  const TovNLArray<int> map = channelMap({0, 1});
  Owned<TovAudioMixer> mix = make<TovAudioMixer>();
  Owned<TovAudioResampler> resampler = make<TovAudioResampler>(mix.get());
  Owned<TovAudioFile> files[2] = {make<TovAudioFile>(), make<TovAudioFile>()};
};

} // namespace support
