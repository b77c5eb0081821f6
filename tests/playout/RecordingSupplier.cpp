#include "tests/playout/RecordingSupplier.h"

#include <stdexcept>

namespace support {

PeAudioSupplierUPP RecordingSupplier::upp()
{
  PeAudioSupplierUPP wrapper = nullptr;
  if (NewPeAudioSupplierUPP(&supply, &wrapper) != 0)
    throw std::runtime_error("no wrapper");
  return wrapper;
}

int RecordingSupplier::supply(void* self, double time, unsigned long n, unsigned long frames,
                              float** buffers, unsigned char* flag)
{
  RecordingSupplier& supplier = *static_cast<RecordingSupplier*>(self);
  supplier.calls.push_back({time, n, frames});
  if (supplier.instead)
    return supplier.instead(time, frames, buffers, flag);
  for (int channel = 0; channel < supplier.channels; ++channel)
    for (unsigned long frame = 0; frame < frames; ++frame)
      buffers[channel][frame] = sampleAt(time + static_cast<double>(frame), channel);
  return 0;
}

float RecordingSupplier::sampleAt(double position, int channel)
{
  return static_cast<float>(position) + 0.125f * static_cast<float>(channel + 1);
}

std::vector<float> RecordingSupplier::heard(double first, long frames) const
{
  std::vector<float> samples;
  for (long frame = 0; frame < frames; ++frame)
    for (int channel = 0; channel < channels; ++channel)
      samples.push_back(sampleAt(first + static_cast<double>(frame), channel));
  return samples;
}

} // namespace support
