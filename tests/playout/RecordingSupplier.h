#pragma once

#include <functional>
#include <vector>

#include "playout/PlayoutEngine.h"

namespace support {

/** A supplier that notes how it was called.  Unless it is told otherwise it
 *  delivers sampleAt() of each position. */
class RecordingSupplier {
public:
  struct Call {
    double time;
    unsigned long n;
    unsigned long frames;
    bool operator==(const Call&) const = default;
  };

  explicit RecordingSupplier(int channelCount) : channels(channelCount) {}

  /** The wrapper of supply(), for which the object is the refCon. */
  static PeAudioSupplierUPP upp();
  static int supply(void* self, double time, unsigned long n, unsigned long frames, float** buffers,
                    unsigned char* flag);

  /** Tells position and channel; never 0. */
  static float sampleAt(double position, int channel);

  /** What a device hears of the positions from @p first on, interleaved. */
  std::vector<float> heard(double first, long frames) const;

  const int channels;
  std::vector<Call> calls;
  std::function<int(double time, unsigned long frames, float** buffers, unsigned char* flag)>
      instead;
};

} // namespace support
