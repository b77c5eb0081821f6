#include <algorithm>

#include "fuzz/ConversionCheck.h"
#include "fuzz/Seeds.h"
#include "tests/reference/Conversion.h"

// Samples of every encoding to float and back, against the plain arithmetic.

namespace fuzz {

namespace {

void run(Input& input)
{
  constexpr unsigned int kOrders[] = {0, 1, 0x100, 0x1ff};
  TovAudioIOFormat format{};
  format.state = input.u8() < 250 ? FormatValid : FormatUnsupported;
  format.encoding = static_cast<unsigned int>(input.below(11));
  format.bigEndian = kOrders[input.below(4)];
  format.channels = 1 + static_cast<unsigned int>(input.below(5));
  const std::size_t shift = static_cast<std::size_t>(input.below(8));
  std::vector<int> map(static_cast<std::size_t>(input.below(5)));
  for (int& channel : map)
    channel = input.s8();
  const bool isBackward = input.u8() >= 250;
  const std::vector<std::uint8_t> stored = input.rest();

  const int bytes = std::max(reference::bytesPerSample(static_cast<int>(format.encoding)), 1);
  format.bytesPerSample = static_cast<unsigned int>(bytes);
  const long long size = static_cast<long long>(stored.size());
  const long long frames = isBackward ? -size : size / bytes / format.channels;
  checkDecoding(stored, format, shift, map, frames);

  const long long floats = isBackward ? 0 : size / 4 / format.channels;
  std::vector<std::vector<float>> signal(format.channels);
  Input samples(stored.data(), stored.size());
  for (long long i = 0; i < floats; ++i)
    for (std::vector<float>& channel : signal)
      channel.push_back(samples.f32());
  checkEncoding(signal, format, shift, floats);
}

} // namespace

extern const Target conversionTarget;
const Target conversionTarget = {"conversion", run, conversionSeeds,
                                 "pcm/TovPcmConversion.cpp pcm/kernels/ConversionLoops.h"};

} // namespace fuzz
