// Mixes compared with those that other programs compute.
#include <cmath>
#include <cstdlib>

#include "tests/app/Tov.h"

namespace {

using support::IntegerSound;

class MixIndependent : public support::TovTest {
protected:
  MixIndependent()
  {
    write("a.wav", support::randomSound(2, 96000, 48000, 16, 1, 0.4));
    write("b.wav", support::randomSound(2, 72000, 48000, 16, 2, 0.4));
    write("c.wav", support::randomSound(1, 60000, 48000, 24, 3, 0.4));
  }

  /** Frames in which a track fades, in and out. */
  struct Fades {
    long long start;
    long long end;

    bool hold(long long frame) const
    {
      return (frame >= start && frame < start + 960) || (frame >= end - 960 && frame < end);
    }
  };

  /** Both are equal within one step of the mix, but in the fades. */
  static void expectEqualOutsideFades(const IntegerSound& mix, const IntegerSound& wanted,
                                      const std::vector<Fades>& fades)
  {
    ASSERT_EQ(mix.rate, wanted.rate);
    ASSERT_EQ(mix.bits, wanted.bits);
    ASSERT_EQ(mix.channelCount(), wanted.channelCount());
    ASSERT_EQ(mix.frames(), wanted.frames());
    long long compared = 0;
    long long differing = 0;
    for (long long frame = 0; frame < mix.frames(); ++frame) {
      bool isFading = false;
      for (const Fades& fade : fades)
        isFading = isFading || fade.hold(frame);
      if (isFading)
        continue;
      ++compared;
      for (std::size_t c = 0; c < mix.channels.size(); ++c) {
        const std::size_t i = static_cast<std::size_t>(frame);
        differing += std::abs(mix.channels[c][i] - wanted.channels[c][i]) > 1;
      }
    }
    EXPECT_EQ(differing, 0);
    EXPECT_GT(compared, mix.frames() - 2000 * static_cast<long long>(fades.size()));
  }
};

TEST_F(MixIndependent, EqualsThatOfSox)
{
  // sox cannot place a file on a timeline, but can prepend silence.
  support::runOrThrow({"sox", "-D", folder.path("b.wav"), folder.path("later.wav"), "pad", "0.5"});
  support::runOrThrow({"sox", "-D", "-m", "-v", "0.5", folder.path("a.wav"), "-v", "0.25",
                       folder.path("later.wav"), "-t", "wavpcm", "-b", "16",
                       folder.path("sox.wav")});
  const std::string half = std::to_string(20.0 * std::log10(0.5));
  const std::string quarter = std::to_string(20.0 * std::log10(0.25));
  const IntegerSound mix = mixed(
      {"a.wav", "--gain", half, "b.wav", "--gain", quarter, "--start", "0.5", "--bits", "16"});
  expectEqualOutsideFades(mix, read("sox.wav"), {{0, 96000}, {24000, 96000}});
}

TEST_F(MixIndependent, OfAPartEqualsThatOfSox)
{
  support::runOrThrow(
      {"sox", "-D", folder.path("a.wav"), folder.path("part.wav"), "trim", "0.25", "1.25"});
  support::runOrThrow({"sox", "-D", "-m", "-v", "1", folder.path("part.wav"), "-v", "1",
                       folder.path("b.wav"), "-t", "wavpcm", "-b", "16", folder.path("sox.wav")});
  const IntegerSound mix =
      mixed({"a.wav", "--in", "0.25", "--out", "1.5", "b.wav", "--bits", "16"});
  expectEqualOutsideFades(mix, read("sox.wav"), {{0, 60000}, {0, 72000}});
}

/** Mixes in double precision what it is told by its arguments: the output, its
 *  frames, then for each track the file, decibels, pan, width, start frame and
 *  first frame of the file. */
constexpr const char* kPythonMixer = R"(
import sys, wave

def samples(name):
    with wave.open(name, 'rb') as file:
        channels, size = file.getnchannels(), file.getsampwidth()
        data = file.readframes(file.getnframes())
    full = float(1 << (8 * size - 1))
    values = [int.from_bytes(data[i:i + size], 'little', signed=True) / full
              for i in range(0, len(data), size)]
    return values[0::channels], values[1 % channels::channels]

def clamp(x):
    return max(-1.0, min(1.0, x))

output, frames = sys.argv[1], int(sys.argv[2])
left, right = [0.0] * frames, [0.0] * frames
arguments = sys.argv[3:]
while arguments:
    name, gain, pan, width, start, first = arguments[:6]
    arguments = arguments[6:]
    factor, pan, width = 10.0 ** (float(gain) / 20.0), float(pan), float(width)
    start, first = int(start), int(first)
    spread = (1.0 - abs(pan)) * width
    to_right = [(clamp(pan - spread) + 1.0) / 2.0, (clamp(pan + spread) + 1.0) / 2.0]
    a, b = samples(name)
    for i in range(max(0, -start), min(len(a) - first, frames - start)):
        x, y = factor * a[first + i], factor * b[first + i]
        left[start + i] += x * (1.0 - to_right[0]) + y * (1.0 - to_right[1])
        right[start + i] += x * to_right[0] + y * to_right[1]

data = bytearray()
for pair in zip(left, right):
    for sample in pair:
        code = max(-8388608, min(8388607, int(sample * 8388608.0)))
        data += (code & 0xffffff).to_bytes(3, 'little')
with wave.open(output, 'wb') as file:
    file.setnchannels(2)
    file.setsampwidth(3)
    file.setframerate(48000)
    file.writeframes(bytes(data))
)";

TEST_F(MixIndependent, EqualsThatInDoublePrecision)
{
  support::runOrThrow({"python3",    "-c",
                       kPythonMixer, folder.path("python.wav"),
                       "96000",      folder.path("a.wav"),
                       "-3",         "-0.4",
                       "0.75",       "0",
                       "0",          folder.path("b.wav"),
                       "-7.5",       "0.25",
                       "-1",         "-12000",
                       "0",          folder.path("c.wav"),
                       "1",          "0.9",
                       "1",          "36000",
                       "4800"});
  const IntegerSound mix =
      mixed({"a.wav", "--gain", "-3",   "--pan",   "-0.4", "--width", "0.75",  "b.wav", "--gain",
             "-7.5",  "--pan",  "0.25", "--width", "-1",   "--start", "-0.25", "c.wav", "--gain",
             "1",     "--pan",  "0.9",  "--start", "0.75", "--in",    "0.1"});
  expectEqualOutsideFades(mix, read("python.wav"), {{0, 96000}, {-12000, 60000}, {36000, 91200}});
}

TEST_F(MixIndependent, OfAResampledFileComesCloseToThatOfSox)
{
  support::runOrThrow({"sox", "-D", "-n", "-r", "44100", "-b", "24", "-c", "1", "-t", "wavpcm",
                       folder.path("tone.wav"), "synth", "1", "sine", "997", "gain", "-6"});
  support::runOrThrow({"sox", "-D", folder.path("tone.wav"), "-b", "24", "-c", "2", "-t", "wavpcm",
                       folder.path("sox.wav"), "rate", "-v", "48000"});
  const IntegerSound mix = mixed({"tone.wav", "--rate", "48000"});
  const IntegerSound wanted = read("sox.wav");
  ASSERT_EQ(mix.frames(), wanted.frames());
  double error = 0.0;
  double power = 0.0;
  for (std::size_t i = 2000; i < 46000; ++i) {
    error += std::pow(mix.channels[0][i] - wanted.channels[0][i], 2.0);
    power += std::pow(wanted.channels[0][i], 2.0);
  }
  EXPECT_LT(10.0 * std::log10(error / power), -80.0);
}

} // namespace
