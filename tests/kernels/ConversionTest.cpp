#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "tests/kernels/KernelSets.h"

namespace {

constexpr float kUntouched = 9.0f;

/** One conversion with random bytes, samples, length and alignment. */
class Case {
public:
  explicit Case(std::mt19937& random)
      : encoding(static_cast<unsigned int>(random() % 10)), order(static_cast<unsigned int>(random() % 2)), channels(static_cast<int>(1 + random() % 3)),
        frames(static_cast<long long>(random() % 200)), offset(random() % 4)
  {
    bytesPerSample = TovKernels::plain.conversion[encoding].bytesPerSample;
    bytes.resize(offset + static_cast<std::size_t>(frames * channels * bytesPerSample) + 1);
    for (unsigned char& byte : bytes)
      byte = static_cast<unsigned char>(random());
    left = support::samples(random, frames, true);
    right = support::samples(random, frames, true);
  }

  /** What comes of decoding the bytes and of encoding the samples. */
  struct Result {
    std::vector<std::vector<float>> decoded;
    std::vector<std::vector<unsigned char>> encoded;
  };

  Result run(const TovKernels& set) const
  {
    const TovKernels::Conversion& kernels = set.conversion[encoding];
    const std::vector<float> blank(static_cast<std::size_t>(frames) + 1, kUntouched);
    const long long stride = channels * bytesPerSample;
    Result result{{blank, blank, blank}, {bytes, bytes}};
    kernels.decode[order](result.decoded[0].data(), bytes.data() + offset, stride, frames);
    kernels.encode[order](result.encoded[0].data() + offset, stride, left.data(), frames);
    if (channels == 2) {
      kernels.decodeStereo[order](result.decoded[1].data(), result.decoded[2].data(),
                                  bytes.data() + offset, frames);
      kernels.encodeStereo[order](result.encoded[1].data() + offset, left.data(), right.data(),
                                  frames);
    }
    return result;
  }

  std::string name() const
  {
    return "encoding " + std::to_string(encoding) + ", order " + std::to_string(order) + ", " +
           std::to_string(channels) + " channels, " + std::to_string(frames) + " frames";
  }

private:
  unsigned int encoding;
  unsigned int order;
  int channels;
  long long frames;
  std::size_t offset;
  int bytesPerSample = 0;
  std::vector<unsigned char> bytes;
  std::vector<float> left;
  std::vector<float> right;
};

TEST(ConversionKernels, GiveThePlainBits)
{
  std::mt19937 random(3);
  const long long cases = support::samplesWanted(2000000, 100000000) / 100;
  for (long long i = 0; i < cases; ++i) {
    const Case conversion(random);
    const Case::Result expected = conversion.run(TovKernels::plain);
    for (const TovKernels* const set : support::fastSets()) {
      const Case::Result got = conversion.run(*set);
      ASSERT_EQ(expected.encoded, got.encoded) << set->name << ", " << conversion.name();
      for (std::size_t k = 0; k < expected.decoded.size(); ++k)
        ASSERT_EQ(0, std::memcmp(expected.decoded[k].data(), got.decoded[k].data(),
                                 expected.decoded[k].size() * sizeof(float)))
            << set->name << ", " << conversion.name();
    }
  }
}

} // namespace
