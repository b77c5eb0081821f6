#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "tests/kernels/KernelSets.h"
#include "tests/kernels/SameBits.h"
#include "tests/kernels/TightRoom.h"

namespace {

using support::TightRoom;

constexpr float kUntouched = 9.0f;
constexpr long long kMostFrames = 200;
constexpr int kMostChannels = 3;

/** Where the arrays of one conversion lie, one set after the other. */
struct Rooms {
  static constexpr std::size_t kMostBytes = kMostFrames * kMostChannels * 4 + 4;
  TightRoom bytes{kMostBytes};
  TightRoom left{kMostBytes};
  TightRoom right{kMostBytes};
  TightRoom firstResult{kMostBytes};
  TightRoom secondResult{kMostBytes};
};

/** One conversion with random bytes, samples, length and alignment.  Every array
 *  is of exactly its length, at one of its ends; one that begins at its page is
 *  the one with an alignment. */
class Case {
public:
  explicit Case(std::mt19937& random, TightRoom::Tight whereTight)
      : encoding(static_cast<unsigned int>(random() % 10)), order(static_cast<unsigned int>(random() % 2)),
        channels(static_cast<int>(1 + random() % kMostChannels)),
        frames(static_cast<long long>(random() % kMostFrames)), offset(random() % 4),
        tight(whereTight)
  {
    bytesPerSample = TovKernels::plain.conversion[encoding].bytesPerSample;
    bytes.resize(offset + static_cast<std::size_t>(frames * channels * bytesPerSample));
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

  Result run(const TovKernels& set, Rooms& rooms) const
  {
    const TovKernels::Conversion& kernels = set.conversion[encoding];
    const std::vector<float> blank(left.size(), kUntouched);
    const long long stride = channels * bytesPerSample;
    const unsigned char* const from = rooms.bytes.take(bytes, tight) + offset;
    const float* const fromLeft = rooms.left.take(left, tight);
    const float* const fromRight = rooms.right.take(right, tight);
    Result result;
    float* const decoded = rooms.firstResult.take(blank, tight);
    kernels.decode[order](decoded, from, stride, frames);
    result.decoded.emplace_back(decoded, decoded + frames);
    unsigned char* const encoded = rooms.firstResult.take(bytes, tight);
    kernels.encode[order](encoded + offset, stride, fromLeft, frames);
    result.encoded.emplace_back(encoded, encoded + bytes.size());
    if (channels == 2) {
      float* const decodedLeft = rooms.firstResult.take(blank, tight);
      float* const decodedRight = rooms.secondResult.take(blank, tight);
      kernels.decodeStereo[order](decodedLeft, decodedRight, from, frames);
      result.decoded.emplace_back(decodedLeft, decodedLeft + frames);
      result.decoded.emplace_back(decodedRight, decodedRight + frames);
      unsigned char* const encodedStereo = rooms.firstResult.take(bytes, tight);
      kernels.encodeStereo[order](encodedStereo + offset, fromLeft, fromRight, frames);
      result.encoded.emplace_back(encodedStereo, encodedStereo + bytes.size());
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
  TightRoom::Tight tight;
  int bytesPerSample = 0;
  std::vector<unsigned char> bytes;
  std::vector<float> left;
  std::vector<float> right;
};

TEST(ConversionKernels, GiveThePlainBits)
{
  std::mt19937 random(3);
  Rooms rooms;
  const long long cases = support::samplesWanted(2000000, 100000000) / 100;
  for (long long i = 0; i < cases; ++i) {
    const Case conversion(random, i % 2 ? TightRoom::Tight::AtStart : TightRoom::Tight::AtEnd);
    const Case::Result expected = conversion.run(TovKernels::plain, rooms);
    for (const TovKernels* const set : support::fastSets()) {
      const Case::Result got = conversion.run(*set, rooms);
      ASSERT_EQ(expected.encoded, got.encoded) << set->name << ", " << conversion.name();
      ASSERT_EQ(expected.decoded.size(), got.decoded.size());
      for (std::size_t k = 0; k < expected.decoded.size(); ++k)
        ASSERT_TRUE(support::areSameBits(expected.decoded[k], got.decoded[k]))
            << set->name << ", " << conversion.name();
    }
  }
}

} // namespace
