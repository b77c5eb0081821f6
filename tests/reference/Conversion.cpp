#include "Conversion.h"

#include <cstddef>
#include <cstring>
#include <limits>

namespace reference {

namespace {

const float two7 = 128.0f;
const float two15 = 32768.0f;
const float two23 = 8388608.0f;
const float two31 = 2147483648.0f;
const float largestClamped32 = 0.99999f;

// Bits are moved with memcpy only: an assignment through a floating-point
// register may turn a signalling NaN into a quiet one.
std::uint32_t bitsOf(const float& value)
{
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

void storeBits(float& target, std::uint32_t bits)
{
    std::memcpy(&target, &bits, sizeof bits);
}

std::uint32_t reversedBytes(std::uint32_t v)
{
    return ((v & 0x000000FFu) << 24) | ((v & 0x0000FF00u) << 8) | ((v & 0x00FF0000u) >> 8)
           | ((v & 0xFF000000u) >> 24);
}

std::uint32_t readUnsigned(const std::vector<std::uint8_t>& block, std::size_t offset, int size,
                           bool bigEndian)
{
    std::uint32_t value = 0;
    for (int i = 0; i < size; ++i) {
        const int byteIndex = bigEndian ? i : size - 1 - i;
        const std::uint32_t byte = block.at(offset + static_cast<std::size_t>(byteIndex));
        value = (value << 8) | byte;
    }
    return value;
}

void appendUnsigned(std::vector<std::uint8_t>& block, std::uint32_t value, int size, bool bigEndian)
{
    for (int i = 0; i < size; ++i) {
        const int shift = bigEndian ? 8 * (size - 1 - i) : 8 * i;
        block.push_back(static_cast<std::uint8_t>((value >> shift) & 0xFFu));
    }
}

std::int32_t signExtended24(std::uint32_t v)
{
    const std::int32_t n = static_cast<std::int32_t>(v);
    return n >= 0x800000 ? n - 0x1000000 : n;
}

void decodeSample(float& target, const std::vector<std::uint8_t>& block, std::size_t offset,
                  int encoding, bool bigEndian)
{
    const std::uint32_t raw = readUnsigned(block, offset, bytesPerSample(encoding), bigEndian);
    switch (encoding) {
    case 0:
        target = static_cast<float>(static_cast<std::int8_t>(raw)) * (1.0f / two7);
        break;
    case 1:
        target = static_cast<float>(raw) * (1.0f / two7) - 1.0f;
        break;
    case 2:
        target = static_cast<float>(static_cast<std::int16_t>(raw)) * (1.0f / two15);
        break;
    case 3:
        target = static_cast<float>(raw) * (1.0f / two15) - 1.0f;
        break;
    case 4:
        target = static_cast<float>(signExtended24(raw)) * (1.0f / two23);
        break;
    case 5:
        target = static_cast<float>(raw) * (1.0f / two23) - 1.0f;
        break;
    case 6:
        target = static_cast<float>(static_cast<std::int32_t>(raw)) * (1.0f / two31);
        break;
    case 7:
        target = static_cast<float>(raw) * (1.0f / two31) - 1.0f;
        break;
    case 8:
        storeBits(target, raw);
        break;
    case 9: {
        // Scaled before any byte is exchanged, whatever the byte order of the
        // block: the big-endian form exchanges the bytes of the product.
        float stored = 0.0f;
        storeBits(stored, readUnsigned(block, offset, 4, false));
        const float scaled = stored * (1.0f / two15);
        storeBits(target, bigEndian ? reversedBytes(bitsOf(scaled)) : bitsOf(scaled));
        break;
    }
    default:
        break;
    }
}

// What does not fit, NaN included, becomes the smallest integer: the answer of
// the processor's truncating conversion, which C++ itself leaves undefined.
std::int32_t truncated32(float v)
{
    if (v >= -two31 && v < two31) {
        return static_cast<std::int32_t>(v);
    }
    return std::numeric_limits<std::int32_t>::min();
}

std::int64_t truncated64(float v)
{
    const float two63 = 9223372036854775808.0f;
    if (v >= -two63 && v < two63) {
        return static_cast<std::int64_t>(v);
    }
    return std::numeric_limits<std::int64_t>::min();
}

std::int32_t clampedInteger(std::int32_t n, std::int32_t low, std::int32_t high)
{
    if (n < low) {
        return low;
    }
    if (n > high) {
        return high;
    }
    return n;
}

// A NaN fails both comparisons and stays a NaN.
float clampedFor32(float x)
{
    if (x < -1.0f) {
        return -1.0f;
    }
    if (x > largestClamped32) {
        return largestClamped32;
    }
    return x;
}

std::uint32_t encodedSample(const float& x, int encoding)
{
    switch (encoding) {
    case 0:
        return static_cast<std::uint32_t>(clampedInteger(truncated32(two7 * x), -128, 127));
    case 1:
        return static_cast<std::uint32_t>(clampedInteger(truncated32(two7 * x), -128, 127) + 128);
    case 2:
        return static_cast<std::uint32_t>(clampedInteger(truncated32(two15 * x), -32768, 32767));
    case 3:
        return static_cast<std::uint32_t>(clampedInteger(truncated32(two15 * x), -32768, 32767)
                                          + 32768);
    case 4:
        return static_cast<std::uint32_t>(
            clampedInteger(truncated32(two23 * x), -8388608, 8388607));
    case 5:
        return static_cast<std::uint32_t>(clampedInteger(truncated32(two23 * x), -8388608, 8388607)
                                          + 8388608);
    case 6:
        return static_cast<std::uint32_t>(truncated32(two31 * clampedFor32(x)));
    case 7: {
        const float product = clampedFor32(x) * two31;
        const float shifted = product + two31;
        return static_cast<std::uint32_t>(truncated64(shifted) & 0xFFFFFFFFLL);
    }
    case 8:
        return bitsOf(x);
    case 9: {
        const float product = two15 * x;
        return bitsOf(product);
    }
    default:
        return 0;
    }
}

} // namespace

int bytesPerSample(int encoding)
{
    switch (encoding) {
    case 0:
    case 1:
        return 1;
    case 2:
    case 3:
        return 2;
    case 4:
    case 5:
        return 3;
    case 6:
    case 7:
    case 8:
    case 9:
        return 4;
    default:
        return 0;
    }
}

std::vector<std::vector<float>> decode(const std::vector<std::uint8_t>& block, int encoding,
                                       bool bigEndian, int channels,
                                       const std::vector<int>& channelMap, long long frames)
{
    std::vector<std::vector<float>> outputs(channelMap.size());
    const int size = bytesPerSample(encoding);
    if (size == 0 || channels < 1 || frames <= 0) {
        return outputs;
    }
    for (std::size_t i = 0; i < channelMap.size(); ++i) {
        int channel = channelMap[i];
        if (channel < 0) {
            channel = 0;
        }
        if (channel > channels - 1) {
            channel = channels - 1;
        }
        outputs[i].resize(static_cast<std::size_t>(frames));
        for (long long f = 0; f < frames; ++f) {
            const std::size_t sample = static_cast<std::size_t>(f) * static_cast<std::size_t>(channels)
                                       + static_cast<std::size_t>(channel);
            decodeSample(outputs[i][static_cast<std::size_t>(f)], block,
                         sample * static_cast<std::size_t>(size), encoding, bigEndian);
        }
    }
    return outputs;
}

std::vector<std::uint8_t> encode(const std::vector<std::vector<float>>& inputs, int encoding,
                                 bool bigEndian, long long frames)
{
    std::vector<std::uint8_t> block;
    const int size = bytesPerSample(encoding);
    if (size == 0) {
        return block;
    }
    for (long long f = 0; f < frames; ++f) {
        for (const std::vector<float>& input : inputs) {
            appendUnsigned(block, encodedSample(input.at(static_cast<std::size_t>(f)), encoding),
                           size, bigEndian);
        }
    }
    return block;
}

} // namespace reference
