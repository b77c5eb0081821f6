#pragma once

#include <cstddef>
#include <vector>

#include "core/TovNLVArray.h"

/** One block of floats per channel, in the form that readers, writers and
 *  providers take. */
class ChannelBuffers {
public:
  ChannelBuffers(int channels, int framesPerBlock)
      : frames(framesPerBlock),
        samples(static_cast<std::size_t>(channels) * static_cast<std::size_t>(framesPerBlock))
  {
    for (int c = 0; c < channels; ++c) {
      pointers.append(samples.data() + static_cast<std::size_t>(c) * samplesPerChannel());
    }
  }
  ChannelBuffers(const ChannelBuffers&) = delete;
  ChannelBuffers& operator=(const ChannelBuffers&) = delete;

  int getChannels() const { return pointers.getCount(); }
  int getFrames() const { return frames; }
  float* channel(int index) const { return pointers[index]; }
  const TovNLPArray<float>& all() const { return pointers; }

  /** The same channels from frame @p offset on. */
  TovNLPArray<float> from(int offset) const
  {
    TovNLPArray<float> shifted;
    for (int c = 0; c < pointers.getCount(); ++c) {
      shifted.append(pointers[c] + offset);
    }
    return shifted;
  }

  void silence() { samples.assign(samples.size(), 0.0f); }

private:
  std::size_t samplesPerChannel() const { return static_cast<std::size_t>(frames); }

  int frames;
  std::vector<float> samples;
  TovNLPArray<float> pointers; ///< into samples
};

/** The channel map that takes every channel at its place. */
inline TovNLArray<int> everyChannel(int channels)
{
  TovNLArray<int> map;
  for (int c = 0; c < channels; ++c) {
    map.append(c);
  }
  return map;
}
