#include "pcm/TovPcm.h"

#include <algorithm>

#include "pcm/kernels/TovKernels.h"

namespace {

constexpr unsigned int kHighestEncoding = EncFloat32Scaled16;

int byteOrderOf(const TovAudioIOFormat& format)
{
  return (format.bigEndian & 0xffu) != 0 ? 1 : 0;
}

} // namespace

int TovPcm::toFloat(const TovNLPArray<float>& outputs, const TovNLArray<int>& channelMap,
                    const void* data, const TovAudioIOFormat& format, long long frames)
{
  const int count = outputs.getCount();
  if (count == 0 || count != channelMap.getCount() || !data || format.state != FormatValid)
    return 1;
  if (!outputs[0])
    return 2;
  if (format.encoding > kHighestEncoding || format.channels == 0)
    return 0;

  const TovKernels::Conversion& kernels = TovKernels::chosen().conversion[format.encoding];
  const int order = byteOrderOf(format);
  const unsigned char* const bytes = static_cast<const unsigned char*>(data);
  if (count == 2 && format.channels == 2 && outputs[1] && channelMap[0] == 0 &&
      channelMap[1] == 1) {
    kernels.decodeStereo[order](outputs[0], outputs[1], bytes, frames);
    return 0;
  }
  const long long size = kernels.bytesPerSample;
  const long long lastChannel = static_cast<long long>(format.channels) - 1;
  for (int i = 0; i < count; ++i) {
    const long long channel = std::clamp<long long>(channelMap[i], 0, lastChannel);
    if (outputs[i])
      kernels.decode[order](outputs[i], bytes + channel * size, format.channels * size, frames);
  }
  return 0;
}

int TovPcm::toFloat(float* output, const void* data, const TovAudioIOFormat& format,
                    long long frames)
{
  TovNLPArray<float> outputs;
  outputs.append(output);
  TovNLArray<int> channelMap;
  channelMap.append(0);
  return toFloat(outputs, channelMap, data, format, frames);
}

int TovPcm::fromFloat(void* data, const TovNLArray<int>& channelMap,
                      const TovNLPArray<float>& inputs, const TovAudioIOFormat& format,
                      long long frames)
{
  const int count = channelMap.getCount();
  if (format.state != FormatValid)
    return 1;
  if (count == 0 || count != inputs.getCount() ||
      static_cast<unsigned int>(count) != format.channels)
    return 2;
  if (format.encoding > kHighestEncoding || !data)
    return 0;

  const TovKernels::Conversion& kernels = TovKernels::chosen().conversion[format.encoding];
  const int order = byteOrderOf(format);
  unsigned char* const bytes = static_cast<unsigned char*>(data);
  if (count == 2) {
    kernels.encodeStereo[order](bytes, inputs[0], inputs[1], frames);
    return 0;
  }
  const long long size = kernels.bytesPerSample;
  for (int i = 0; i < count; ++i)
    kernels.encode[order](bytes + i * size, count * size, inputs[i], frames);
  return 0;
}

int TovPcm::fromFloat(void* data, const float* input, const TovAudioIOFormat& format,
                      long long frames)
{
  TovNLPArray<float> inputs;
  inputs.append(const_cast<float*>(input)); // the general form only reads its inputs
  TovNLArray<int> channelMap;
  channelMap.append(0);
  return fromFloat(data, channelMap, inputs, format, frames);
}
