#include "tests/support/IntegerSound.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <string>

namespace support {

namespace {

/** A cursor through the bytes of a file. */
class Cursor {
public:
  explicit Cursor(const std::vector<std::uint8_t>& file) : bytes(file) {}

  std::uint64_t number(int count, bool isBigEndian)
  {
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i) {
      const std::uint64_t byte = bytes.at(position++);
      value = isBigEndian ? value << 8 | byte : value | byte << (8 * i);
    }
    return value;
  }

  void expect(const std::string& text)
  {
    for (const char character : text) {
      if (bytes.at(position++) != static_cast<std::uint8_t>(character))
        throw std::runtime_error("the file does not hold \"" + text + "\" where it should");
    }
  }

  void expect(std::uint64_t value, int count, bool isBigEndian, const char* what)
  {
    const std::uint64_t found = number(count, isBigEndian);
    if (found != value)
      throw std::runtime_error(std::string(what) + " is " + std::to_string(found) + ", not " +
                               std::to_string(value));
  }

  std::size_t left() const { return bytes.size() - position; }

private:
  const std::vector<std::uint8_t>& bytes;
  std::size_t position = 0;
};

void readSamples(IntegerSound& sound, std::size_t channels, Cursor& cursor, bool isAiff)
{
  const std::size_t bytesPerSample = static_cast<std::size_t>(sound.bits) / 8;
  const std::size_t frames = cursor.left() / (channels * bytesPerSample);
  if (frames * channels * bytesPerSample != cursor.left())
    throw std::runtime_error("the samples are not whole frames");
  sound.channels.assign(channels, {});
  for (std::size_t frame = 0; frame < frames; ++frame) {
    for (std::vector<std::int32_t>& channel : sound.channels) {
      const std::int64_t code =
          static_cast<std::int64_t>(cursor.number(static_cast<int>(bytesPerSample), isAiff));
      const std::int64_t half = std::int64_t(1) << (sound.bits - 1);
      const bool isOffset = sound.bits == 8 && !isAiff;
      channel.push_back(static_cast<std::int32_t>(isOffset      ? code - half
                                                  : code < half ? code
                                                                : code - 2 * half));
    }
  }
}

IntegerSound wavSound(const std::vector<std::uint8_t>& file)
{
  Cursor cursor(file);
  IntegerSound sound;
  cursor.expect("RIFF");
  cursor.expect(file.size() - 8, 4, false, "the RIFF size");
  cursor.expect("WAVEfmt ");
  cursor.expect(16, 4, false, "the size of \"fmt \"");
  cursor.expect(1, 2, false, "the format tag");
  const std::uint64_t channels = cursor.number(2, false);
  const std::uint64_t rate = cursor.number(4, false);
  const std::uint64_t byteRate = cursor.number(4, false);
  const std::uint64_t frameBytes = cursor.number(2, false);
  const std::uint64_t bits = cursor.number(2, false);
  if (channels == 0 || bits % 8 != 0 || frameBytes != channels * bits / 8 ||
      byteRate != rate * frameBytes)
    throw std::runtime_error("the fields of \"fmt \" contradict each other");
  cursor.expect("data");
  cursor.expect(cursor.left() - 4, 4, false, "the size of \"data\"");
  sound.rate = static_cast<int>(rate);
  sound.bits = static_cast<int>(bits);
  readSamples(sound, static_cast<std::size_t>(channels), cursor, false);
  return sound;
}

IntegerSound aiffSound(const std::vector<std::uint8_t>& file)
{
  Cursor cursor(file);
  IntegerSound sound;
  cursor.expect("FORM");
  cursor.expect(file.size() - 8, 4, true, "the FORM size");
  cursor.expect("AIFFCOMM");
  cursor.expect(18, 4, true, "the size of \"COMM\"");
  const std::uint64_t channels = cursor.number(2, true);
  const std::uint64_t frames = cursor.number(4, true);
  sound.bits = static_cast<int>(cursor.number(2, true));
  const int exponent = static_cast<int>(cursor.number(2, true));
  const double mantissa = static_cast<double>(cursor.number(8, true));
  sound.rate = static_cast<int>(std::lround(std::ldexp(mantissa, exponent - 16383 - 63)));
  cursor.expect("SSND");
  cursor.expect(cursor.left() - 4, 4, true, "the size of \"SSND\"");
  cursor.expect(0, 8, true, "offset and block size");
  if (channels == 0)
    throw std::runtime_error("no channels");
  readSamples(sound, static_cast<std::size_t>(channels), cursor, true);
  if (sound.frames() != static_cast<long long>(frames))
    throw std::runtime_error("the frame count is wrong");
  return sound;
}

} // namespace

IntegerSound randomSound(int channels, long long frames, int rate, int bits, unsigned int seed,
                         double level)
{
  std::mt19937 generator(seed);
  IntegerSound sound{rate, bits, {}};
  const double lowest = -sound.fullScale();
  const double highest = bits == 32 ? 0.99998 * sound.fullScale() : sound.fullScale() - 1.0;
  const auto code = [&](double value) {
    const double kept = std::trunc(std::clamp(value, lowest, highest) * level);
    return bits == 32 ? static_cast<std::int32_t>(256.0 * std::trunc(kept / 256.0))
                      : static_cast<std::int32_t>(kept);
  };
  for (int c = 0; c < channels; ++c) {
    std::vector<std::int32_t> codes;
    for (long long frame = 0; frame < frames; ++frame) {
      const double random = static_cast<double>(generator()) / 4294967296.0;
      codes.push_back(code(frame == c                  ? lowest
                           : frame == c + channels     ? highest
                           : frame == c + 2 * channels ? -1.0 / level
                                                       : (2.0 * random - 1.0) * sound.fullScale()));
    }
    sound.channels.push_back(std::move(codes));
  }
  return sound;
}

IntegerSound constantSound(int channels, long long frames, int rate, int bits, std::int32_t code)
{
  return {rate, bits,
          std::vector(static_cast<std::size_t>(channels),
                      std::vector<std::int32_t>(static_cast<std::size_t>(frames), code))};
}

std::vector<std::vector<float>> floatsOf(const IntegerSound& sound)
{
  std::vector<std::vector<float>> signal;
  for (const std::vector<std::int32_t>& codes : sound.channels) {
    std::vector<float> samples;
    for (const std::int32_t code : codes)
      samples.push_back(static_cast<float>(code / sound.fullScale()));
    signal.push_back(std::move(samples));
  }
  return signal;
}

static Bytes samplesOf(const IntegerSound& sound, bool isAiff)
{
  Bytes bytes;
  for (std::size_t frame = 0; frame < static_cast<std::size_t>(sound.frames()); ++frame) {
    for (const std::vector<std::int32_t>& codes : sound.channels) {
      const std::uint32_t code = static_cast<std::uint32_t>(codes[frame]);
      switch (sound.bits) {
      case 8:
        bytes.u8((isAiff ? code : code + 128) & 0xff);
        break;
      case 16:
        isAiff ? bytes.u16be(code & 0xffff) : bytes.u16le(code & 0xffff);
        break;
      case 24:
        isAiff ? bytes.u24be(code & 0xffffff) : bytes.u24le(code & 0xffffff);
        break;
      default:
        isAiff ? bytes.u32be(code) : bytes.u32le(code);
        break;
      }
    }
  }
  return bytes;
}

Bytes wavOf(const IntegerSound& sound)
{
  return wavFile(static_cast<unsigned int>(sound.channels.size()),
                 static_cast<unsigned int>(sound.rate), static_cast<unsigned int>(sound.bits),
                 samplesOf(sound, false));
}

Bytes aiffOf(const IntegerSound& sound)
{
  return aiffFile(static_cast<unsigned int>(sound.channels.size()),
                  static_cast<std::uint32_t>(sound.frames()), static_cast<unsigned int>(sound.rate),
                  static_cast<unsigned int>(sound.bits), samplesOf(sound, true));
}

std::vector<std::int32_t> interleaved32(const IntegerSound& sound)
{
  std::vector<std::int32_t> codes;
  for (std::size_t frame = 0; frame < static_cast<std::size_t>(sound.frames()); ++frame) {
    for (const std::vector<std::int32_t>& channel : sound.channels)
      codes.push_back(static_cast<std::int32_t>(static_cast<std::uint32_t>(channel[frame])
                                                << (32 - sound.bits)));
  }
  return codes;
}

IntegerSound soundOf(const std::vector<std::uint8_t>& file)
{
  if (!file.empty() && file[0] == 'R')
    return wavSound(file);
  return aiffSound(file);
}

} // namespace support
