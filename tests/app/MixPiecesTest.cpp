// A mix rendered in pieces, as a farm does, is that rendered at once.
#include <algorithm>
#include <random>

#include "tests/app/Tov.h"

namespace {

using support::IntegerSound;

class MixPieces : public support::TovTest {
protected:
  /** Renders the mix at once and in pieces between random frames of the
   *  output, and compares the samples byte for byte. */
  void expectPiecesEqualWhole(const std::vector<std::string>& mix, int rate, int headerBytes,
                              const std::string& suffix, unsigned int seed) const
  {
    const std::string wholeName = "whole" + suffix;
    std::vector<std::string> arguments = {"mix", "-o", wholeName};
    arguments.insert(arguments.end(), mix.begin(), mix.end());
    succeed(arguments);
    const std::vector<std::uint8_t> whole = folder.read(wholeName);
    const long long frames = read(wholeName).frames();

    std::vector<long long> cuts = {0, 1, 2, frames - 1, frames};
    std::mt19937 random(seed);
    for (int i = 0; i < 8; ++i)
      cuts.push_back(2 + static_cast<long long>(random()) % (frames - 3));
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());

    std::vector<std::uint8_t> joined(whole.begin(), whole.begin() + headerBytes);
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
      std::vector<std::string> piece = arguments;
      piece[2] = "piece" + suffix;
      piece.insert(piece.end(),
                   {"--from", timeOf(cuts[i], rate), "--to", timeOf(cuts[i + 1], rate)});
      succeed(piece);
      const std::vector<std::uint8_t> bytes = folder.read("piece" + suffix);
      ASSERT_EQ(read("piece" + suffix).frames(), cuts[i + 1] - cuts[i]);
      joined.insert(joined.end(), bytes.begin() + headerBytes, bytes.end());
    }
    EXPECT_EQ(joined.size(), whole.size());
    EXPECT_TRUE(joined == whole);
  }

  static std::string timeOf(long long frame, int rate)
  {
    char text[32];
    std::snprintf(text, sizeof text, "%.9f", static_cast<double>(frame) / rate);
    return text;
  }

  void writeNoise(const std::string& name, int channels, int rate, int bits,
                  unsigned int seed) const
  {
    write(name, support::randomSound(channels, rate, rate, bits, seed, 0.5));
  }
};

TEST_F(MixPieces, AtEqualRatesJoinToTheWhole)
{
  writeNoise("a.wav", 2, 48000, 16, 1);
  writeNoise("b.aiff", 1, 48000, 24, 2);
  expectPiecesEqualWhole({"a.wav", "--gain", "-3", "--start", "0.1", "b.aiff", "--pan", "-0.3",
                          "--in", "0.2", "a.wav", "--start", "0.7", "--width", "-0.4"},
                         48000, 44, ".wav", 3);
}

TEST_F(MixPieces, OfResampledFilesJoinToTheWhole)
{
  writeNoise("a.wav", 2, 44100, 16, 1);
  writeNoise("b.aiff", 1, 32000, 24, 2);
  writeNoise("c.wav", 4, 48000, 8, 3);
  for (const std::string quality : {"proxy", "medium", "high", "highest"}) {
    SCOPED_TRACE(quality);
    expectPiecesEqualWhole({"a.wav", "--start", "0.1234", "b.aiff", "--pan", "-0.3", "c.wav",
                            "--play-rate", "37123", "--start", "0.5", "--quality", quality},
                           48000, 54, ".aiff", 5);
  }
}

TEST_F(MixPieces, ToAnOddRateJoinToTheWhole)
{
  writeNoise("a.wav", 2, 44100, 16, 1);
  writeNoise("b.aiff", 2, 96000, 24, 2);
  expectPiecesEqualWhole({"a.wav", "b.aiff", "--start", "0.5", "--rate", "44056", "--bits", "16"},
                         44056, 44, ".wav", 7);
}

TEST_F(MixPieces, WithDitherJoinToTheWhole)
{
  writeNoise("a.wav", 2, 44100, 24, 1);
  expectPiecesEqualWhole({"a.wav", "--rate", "48000", "--dither", "--bits", "16"}, 48000, 44,
                         ".wav", 9);
}

TEST_F(MixPieces, BeforeTimeZeroJoinToo)
{
  writeNoise("a.wav", 2, 44100, 24, 1);
  const std::vector<std::string> mix = {"mix",    "a.wav", "--start", "-0.6",
                                        "--rate", "48000", "-o",      "out.wav"};
  const auto part = [&](const std::string& from, const std::string& to) {
    std::vector<std::string> arguments = mix;
    arguments.insert(arguments.end(), {"--from=" + from, "--to=" + to});
    succeed(arguments);
    return read("out.wav").channels[1];
  };
  const std::vector<std::int32_t> whole = part("-0.7", "0.4");
  std::vector<std::int32_t> joined = part("-0.7", "-0.5");
  for (const auto& [from, to] : {std::pair("-0.5", "-0.013"), {"-0.013", "0.2"}, {"0.2", "0.4"}}) {
    const std::vector<std::int32_t> next = part(from, to);
    joined.insert(joined.end(), next.begin(), next.end());
  }
  EXPECT_EQ(joined.size(), 52800u);
  EXPECT_TRUE(joined == whole);
}

} // namespace
