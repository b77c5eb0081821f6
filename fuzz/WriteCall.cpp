#include "fuzz/WriteCall.h"

#include <array>

namespace fuzz {

TovAudioIOFormat requestedFormat(Input& input)
{
  constexpr std::array<std::uint32_t, 8> kRates = {44100,  48000,      8000, 1,
                                                   192000, 0x7fffffff, 0,    0x80000000};
  const std::uint32_t rate = kRates[input.u8() % 8];
  const std::uint32_t bytes = input.u8() % 6;
  const unsigned int shape = input.u8();
  return support::request(rate, bytes, shape < 250 ? shape % 4 : 0xfffe + shape % 4);
}

WriteCall::WriteCall(Input& input, std::uint32_t channels) : signal(), startFrame(0)
{
  const unsigned int size = input.u8();
  const unsigned int seed = input.u8();
  signal = support::noise(static_cast<int>(channels), size < 240 ? size : (size - 239) * 400, seed,
                          1.25f);
  if (seed >= 128 && size > 0)
    signal[0][0] = input.factor();
  startFrame = input.s8();
}

} // namespace fuzz
