#include "Conversion.h"
#include "FileSpan.h"
#include "Gain.h"
#include "Mix.h"
#include "Resampling.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;
using Floats = std::vector<float>;

const float quietNan = std::numeric_limits<float>::quiet_NaN();
const float infinity = std::numeric_limits<float>::infinity();

std::uint32_t bits(float v)
{
    return std::bit_cast<std::uint32_t>(v);
}

float decodeOne(const Bytes& bytes, int encoding, bool bigEndian)
{
    return reference::decode(bytes, encoding, bigEndian, 1, {0}, 1).at(0).at(0);
}

Bytes encodeOne(float x, int encoding, bool bigEndian)
{
    return reference::encode({{x}}, encoding, bigEndian, 1);
}

// A fixed sequence, so that a failure can be repeated.
class Noise
{
public:
    std::uint32_t next()
    {
        state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<std::uint32_t>(state_ >> 33);
    }
    float sample() { return static_cast<float>(next()) / 1073741824.0f - 1.0f; }
    int between(int low, int high)
    {
        return low + static_cast<int>(next() % static_cast<std::uint32_t>(high - low + 1));
    }

private:
    std::uint64_t state_ = 1;
};

} // namespace

// Conversion

TEST(ReferenceConversion, SampleSizes)
{
    const std::vector<int> sizes = {1, 1, 2, 2, 3, 3, 4, 4, 4, 4};
    for (int encoding = 0; encoding < 10; ++encoding) {
        EXPECT_EQ(reference::bytesPerSample(encoding), sizes.at(static_cast<std::size_t>(encoding)));
    }
    EXPECT_EQ(reference::bytesPerSample(-1), 0);
    EXPECT_EQ(reference::bytesPerSample(10), 0);
}

TEST(ReferenceConversion, ReadsEightBit)
{
    EXPECT_EQ(decodeOne({0x80}, 0, false), -1.0f);
    EXPECT_EQ(decodeOne({0x7F}, 0, true), 127.0f / 128.0f);
    EXPECT_EQ(decodeOne({0xFF}, 0, true), -1.0f / 128.0f);
    EXPECT_EQ(decodeOne({0x80}, 1, false), 0.0f);
    EXPECT_EQ(decodeOne({0x00}, 1, false), -1.0f);
    EXPECT_EQ(decodeOne({0xFF}, 1, false), 0.9921875f);
}

TEST(ReferenceConversion, ReadsSixteenBit)
{
    EXPECT_EQ(decodeOne({0x00, 0x80}, 2, false), -1.0f);
    EXPECT_EQ(decodeOne({0xFF, 0x7F}, 2, false), 0.999969482421875f);
    EXPECT_EQ(decodeOne({0x80, 0x00}, 2, true), -1.0f);
    EXPECT_EQ(decodeOne({0x7F, 0xFF}, 2, true), 0.999969482421875f);
    EXPECT_EQ(decodeOne({0x00, 0x00}, 3, false), -1.0f);
    EXPECT_EQ(decodeOne({0x00, 0x80}, 3, false), 0.0f);
    EXPECT_EQ(decodeOne({0x80, 0x00}, 3, true), 0.0f);
}

TEST(ReferenceConversion, ReadsTwentyFourBit)
{
    EXPECT_EQ(decodeOne({0x80, 0x00, 0x00}, 4, true), -1.0f);
    EXPECT_EQ(decodeOne({0x00, 0x00, 0x80}, 4, false), -1.0f);
    EXPECT_EQ(decodeOne({0x7F, 0xFF, 0xFF}, 4, true), 8388607.0f / 8388608.0f);
    EXPECT_EQ(decodeOne({0xFF, 0xFF, 0xFF}, 4, true), -1.0f / 8388608.0f);
    EXPECT_EQ(decodeOne({0x01, 0x02, 0x03}, 4, true), 66051.0f / 8388608.0f);
    EXPECT_EQ(decodeOne({0x03, 0x02, 0x01}, 4, false), 66051.0f / 8388608.0f);
    EXPECT_EQ(decodeOne({0x80, 0x00, 0x00}, 5, true), 0.0f);
    EXPECT_EQ(decodeOne({0x00, 0x00, 0x00}, 5, true), -1.0f);
}

TEST(ReferenceConversion, ReadsThirtyTwoBit)
{
    EXPECT_EQ(decodeOne({0x80, 0, 0, 0}, 6, true), -1.0f);
    EXPECT_EQ(decodeOne({0, 0, 0, 0x40}, 6, false), 0.5f);
    EXPECT_EQ(decodeOne({0x7F, 0xFF, 0xFF, 0xFF}, 6, true), 1.0f);
    EXPECT_EQ(decodeOne({0, 0, 0, 0x80}, 7, false), 0.0f);
    EXPECT_EQ(decodeOne({0, 0, 0, 0}, 7, false), -1.0f);
    EXPECT_EQ(decodeOne({0xFF, 0xFF, 0xFF, 0xFF}, 7, false), 1.0f);
}

TEST(ReferenceConversion, ReadsFloatsBitForBit)
{
    EXPECT_EQ(decodeOne({0x00, 0x00, 0x80, 0x3F}, 8, false), 1.0f);
    EXPECT_EQ(decodeOne({0x3F, 0x80, 0x00, 0x00}, 8, true), 1.0f);
    const std::vector<Floats> nan = reference::decode({0x7F, 0x81, 0x23, 0x45}, 8, true, 1, {0}, 1);
    EXPECT_EQ(bits(nan[0][0]), 0x7F812345u); // still signalling
    EXPECT_EQ(decodeOne({0x00, 0x00, 0x00, 0x47}, 9, false), 1.0f);
}

TEST(ReferenceConversion, ScaledBigEndianExchangesBytesAfterScaling)
{
    // 47 00 00 00 lies in memory as the number 0x00000047, far too small to survive the scaling.
    EXPECT_EQ(bits(decodeOne({0x47, 0x00, 0x00, 0x00}, 9, true)), 0u);
    // 00 00 00 47 is 32768 as it lies; the product 1.0 is 3F800000, exchanged 0000803F.
    EXPECT_EQ(bits(decodeOne({0x00, 0x00, 0x00, 0x47}, 9, true)), 0x0000803Fu);
}

TEST(ReferenceConversion, ChannelMap)
{
    const Bytes stereo = {10, 20, 30, 40, 50, 60};
    const auto both = reference::decode(stereo, 0, false, 2, {1, 1}, 3);
    const Floats right = {20.0f / 128.0f, 40.0f / 128.0f, 60.0f / 128.0f};
    EXPECT_EQ(both, (std::vector<Floats>{right, right}));
    const Floats left = {10.0f / 128.0f, 30.0f / 128.0f, 50.0f / 128.0f};
    EXPECT_EQ(reference::decode(stereo, 0, false, 2, {-3, 7}, 3), (std::vector<Floats>{left, right}));
}

TEST(ReferenceConversion, NothingToConvert)
{
    EXPECT_TRUE(reference::decode({}, 2, false, 1, {0}, 0).at(0).empty());
    EXPECT_TRUE(reference::decode({}, 2, false, 1, {0}, -5).at(0).empty());
    EXPECT_TRUE(reference::decode({1, 2, 3, 4}, 10, false, 1, {0}, 1).at(0).empty());
    EXPECT_TRUE(reference::decode({1, 2, 3, 4}, 2, false, 0, {0}, 1).at(0).empty());
    EXPECT_TRUE(reference::encode({{1.0f}}, 2, false, 0).empty());
    EXPECT_TRUE(reference::encode({{1.0f}}, 10, false, 1).empty());
    EXPECT_THROW(reference::decode({1}, 2, false, 1, {0}, 1), std::out_of_range);
}

TEST(ReferenceConversion, WritesEightBit)
{
    EXPECT_EQ(encodeOne(0.99999f, 0, false), (Bytes{127}));
    EXPECT_EQ(encodeOne(1.0f, 0, false), (Bytes{127}));
    EXPECT_EQ(encodeOne(-2.0f, 0, false), (Bytes{0x80}));
    EXPECT_EQ(encodeOne(1.0f, 1, false), (Bytes{255}));
    EXPECT_EQ(encodeOne(-1.0f, 1, false), (Bytes{0}));
    EXPECT_EQ(encodeOne(0.0f, 1, false), (Bytes{128}));
}

TEST(ReferenceConversion, WritesSixteenBit)
{
    EXPECT_EQ(encodeOne(1.0f, 2, true), (Bytes{0x7F, 0xFF}));
    EXPECT_EQ(encodeOne(1.0f, 2, false), (Bytes{0xFF, 0x7F}));
    EXPECT_EQ(encodeOne(-1.0f, 2, true), (Bytes{0x80, 0x00}));
    EXPECT_EQ(encodeOne(-0.00001f, 2, true), (Bytes{0x00, 0x00}));
    EXPECT_EQ(encodeOne(-1.0f, 3, true), (Bytes{0x00, 0x00}));
    EXPECT_EQ(encodeOne(0.0f, 3, true), (Bytes{0x80, 0x00}));
    EXPECT_EQ(encodeOne(1.0f, 3, true), (Bytes{0xFF, 0xFF}));
}

TEST(ReferenceConversion, WritesTwentyFourBit)
{
    EXPECT_EQ(encodeOne(1.0f, 4, true), (Bytes{0x7F, 0xFF, 0xFF}));
    EXPECT_EQ(encodeOne(-1.0f, 4, true), (Bytes{0x80, 0x00, 0x00}));
    EXPECT_EQ(encodeOne(-1.0f, 4, false), (Bytes{0x00, 0x00, 0x80}));
    EXPECT_EQ(encodeOne(66051.0f / 8388608.0f, 4, false), (Bytes{0x03, 0x02, 0x01}));
    EXPECT_EQ(encodeOne(-1.0f, 5, true), (Bytes{0x00, 0x00, 0x00}));
    EXPECT_EQ(encodeOne(0.0f, 5, true), (Bytes{0x80, 0x00, 0x00}));
    EXPECT_EQ(encodeOne(1.0f, 5, true), (Bytes{0xFF, 0xFF, 0xFF}));
}

TEST(ReferenceConversion, WritesThirtyTwoBit)
{
    EXPECT_EQ(bits(0.99999f), bits(0.9999899864196777f));
    // 2147462144 is 7FFFAC00.
    EXPECT_EQ(encodeOne(1.5f, 6, true), (Bytes{0x7F, 0xFF, 0xAC, 0x00}));
    EXPECT_EQ(encodeOne(1.5f, 6, false), (Bytes{0x00, 0xAC, 0xFF, 0x7F}));
    EXPECT_EQ(0x7FFFAC00, 2147462144);
    EXPECT_EQ(encodeOne(-1.5f, 6, true), (Bytes{0x80, 0x00, 0x00, 0x00}));
    EXPECT_EQ(encodeOne(-1.0f, 7, true), (Bytes{0x00, 0x00, 0x00, 0x00}));
    EXPECT_EQ(encodeOne(0.0f, 7, true), (Bytes{0x80, 0x00, 0x00, 0x00}));
    // 2147462144 + 2147483648 = 4294945792 is a multiple of 256, so single precision keeps it.
    EXPECT_EQ(encodeOne(1.0f, 7, true), (Bytes{0xFF, 0xFF, 0xAC, 0x00}));
}

TEST(ReferenceConversion, WritesFloats)
{
    EXPECT_EQ(encodeOne(1.5f, 8, true), (Bytes{0x3F, 0xC0, 0x00, 0x00}));
    EXPECT_EQ(encodeOne(1.5f, 8, false), (Bytes{0x00, 0x00, 0xC0, 0x3F}));
    EXPECT_EQ(bits(49152.0f), 0x47400000u);
    EXPECT_EQ(encodeOne(1.5f, 9, true), (Bytes{0x47, 0x40, 0x00, 0x00}));
    EXPECT_EQ(encodeOne(1.5f, 9, false), (Bytes{0x00, 0x00, 0x40, 0x47}));
    const auto signalling = reference::decode({0x45, 0x23, 0x81, 0xFF}, 8, false, 1, {0}, 1);
    EXPECT_EQ(reference::encode(signalling, 8, true, 1), (Bytes{0xFF, 0x81, 0x23, 0x45}));
    EXPECT_EQ(encodeOne(infinity, 9, true), (Bytes{0x7F, 0x80, 0x00, 0x00}));
}

TEST(ReferenceConversion, WritesMinimumForWhatDoesNotFit)
{
    for (const float x : {1.0e20f, -1.0e20f, infinity, -infinity, quietNan, -quietNan}) {
        EXPECT_EQ(encodeOne(x, 0, true), (Bytes{0x80}));
        EXPECT_EQ(encodeOne(x, 1, true), (Bytes{0x00}));
        EXPECT_EQ(encodeOne(x, 2, true), (Bytes{0x80, 0x00}));
        EXPECT_EQ(encodeOne(x, 3, true), (Bytes{0x00, 0x00}));
        EXPECT_EQ(encodeOne(x, 4, true), (Bytes{0x80, 0x00, 0x00}));
        EXPECT_EQ(encodeOne(x, 5, true), (Bytes{0x00, 0x00, 0x00}));
    }
    // The first values that no longer fit, and the last ones that do.
    EXPECT_EQ(encodeOne(16777216.0f, 0, true), (Bytes{0x80}));
    EXPECT_EQ(encodeOne(16777215.0f, 0, true), (Bytes{0x7F}));
    EXPECT_EQ(encodeOne(256.0f, 4, true), (Bytes{0x80, 0x00, 0x00}));
    EXPECT_EQ(encodeOne(255.0f, 4, true), (Bytes{0x7F, 0xFF, 0xFF}));
    EXPECT_EQ(encodeOne(infinity, 6, true), (Bytes{0x7F, 0xFF, 0xAC, 0x00}));
    EXPECT_EQ(encodeOne(-infinity, 6, true), (Bytes{0x80, 0x00, 0x00, 0x00}));
    EXPECT_EQ(encodeOne(quietNan, 6, true), (Bytes{0x80, 0x00, 0x00, 0x00}));
    EXPECT_EQ(encodeOne(quietNan, 7, true), (Bytes{0x00, 0x00, 0x00, 0x00}));
}

TEST(ReferenceConversion, Interleaves)
{
    EXPECT_EQ(reference::encode({{0.5f, -0.5f}, {0.25f, -0.25f}}, 0, false, 2),
              (Bytes{64, 32, 0xC0, 0xE0}));
}

TEST(ReferenceConversion, RoundTrips)
{
    Noise noise;
    for (int i = 0; i < 5000; ++i) {
        const float x = noise.sample();
        for (const bool bigEndian : {false, true}) {
            EXPECT_LT(std::fabs(decodeOne(encodeOne(x, 2, bigEndian), 2, bigEndian) - x),
                      1.0f / 32768.0f);
            EXPECT_LT(std::fabs(decodeOne(encodeOne(x, 4, bigEndian), 4, bigEndian) - x),
                      1.0f / 8388608.0f);
            EXPECT_EQ(decodeOne(encodeOne(x, 8, bigEndian), 8, bigEndian), x);
            EXPECT_EQ(decodeOne(encodeOne(x, 6, bigEndian), 6, bigEndian),
                      x > 0.99999f ? 0.99999f : x);
        }
        EXPECT_EQ(decodeOne(encodeOne(x, 9, false), 9, false), x);
    }
    EXPECT_EQ(decodeOne(encodeOne(0.999999f, 6, false), 6, false), 0.99999f);
    for (int code = 0; code < 256; ++code) {
        const Bytes byte = {static_cast<std::uint8_t>(code)};
        EXPECT_EQ(encodeOne(decodeOne(byte, 0, false), 0, false), byte);
        EXPECT_EQ(encodeOne(decodeOne(byte, 1, false), 1, false), byte);
    }
}

// Resampling

TEST(ReferenceResampling, Bessel)
{
    EXPECT_EQ(reference::besselI0(0.0), 1.0);
    EXPECT_NEAR(reference::besselI0(1.0), 1.2660658777520084, 1e-15);
    EXPECT_NEAR(reference::besselI0(9.0), 1093.5883545113747, 1e-9);
}

TEST(ReferenceResampling, Handles)
{
    EXPECT_EQ(reference::handles(0, 48000, 96000), 1);
    EXPECT_EQ(reference::handles(0, 1, INT_MAX), 1);
    EXPECT_EQ(reference::handles(1, 44100, 44100), 4);
    EXPECT_EQ(reference::handles(2, 44100, 48000), 9);
    EXPECT_EQ(reference::handles(2, 48000, 44100), 8);
    EXPECT_EQ(reference::handles(3, 48000, 96000), 27);
    EXPECT_EQ(reference::handles(7, 48000, 96000), 27);
    EXPECT_EQ(reference::handles(-1, 48000, 96000), 1);
    EXPECT_EQ(reference::handles(3, 0, 96000), 1);
    EXPECT_EQ(reference::handles(3, 48000, 0), 1);
    EXPECT_EQ(reference::handles(3, 1, INT_MAX), INT_MAX);
}

TEST(ReferenceResampling, Tables)
{
    const std::vector<std::size_t> lengths = {0, 1536, 3584, 26624};
    const std::vector<std::size_t> crossings = {0, 512, 512, 2048};
    for (std::size_t q = 0; q < 4; ++q) {
        const reference::FilterTable table = reference::makeFilterTable(static_cast<int>(q));
        ASSERT_EQ(table.value.size(), lengths[q]);
        ASSERT_EQ(table.delta.size(), lengths[q]);
        if (q == 0) {
            continue;
        }
        EXPECT_EQ(table.value[0], 1.0f);
        for (std::size_t i = crossings[q]; i < lengths[q]; i += crossings[q]) {
            EXPECT_NEAR(table.value[i], 0.0f, 1e-7f);
        }
        for (std::size_t i = 0; i + 1 < lengths[q]; ++i) {
            EXPECT_EQ(table.delta[i], table.value[i + 1] - table.value[i]);
        }
        EXPECT_EQ(table.delta.back(), -table.value[lengths[q] - 2]);
    }
    EXPECT_EQ(reference::makeFilterTable(2).delta.back(),
              -reference::makeFilterTable(2).value[3582]);
}

TEST(ReferenceResampling, HoldsSamplesAtQualityZero)
{
    const Floats block = {9.0f, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f};
    EXPECT_EQ(reference::resample(0, block, 1, 44100, 44100, 4, 0.0f),
              (Floats{1.0f, 2.0f, 3.0f, 4.0f}));
    EXPECT_EQ(reference::resample(0, block, 1, 44100, 88200, 3, 0.0f), (Floats{1.0f, 3.0f, 5.0f}));
    EXPECT_EQ(reference::resample(0, block, 1, 44100, 88200, 3, 0.9f), (Floats{1.0f, 3.0f, 5.0f}));
    EXPECT_EQ(reference::resample(0, block, 1, 2, 1, 5, 0.0f),
              (Floats{1.0f, 1.0f, 2.0f, 2.0f, 3.0f}));
    // A third of 65536 is cut off to 21845, so the second input sample comes one output late.
    EXPECT_EQ(reference::resample(0, block, 1, 3, 1, 5, 0.0f),
              (Floats{1.0f, 1.0f, 1.0f, 1.0f, 2.0f}));
    EXPECT_THROW(reference::resample(0, block, 1, 1, 1, 7, 0.0f), std::out_of_range);
}

TEST(ReferenceResampling, UnusableRatesGiveZeros)
{
    const Floats zeros(3, 0.0f);
    EXPECT_EQ(reference::resample(2, {}, 0, 0, 44100, 3, 0.0f), zeros);
    EXPECT_EQ(reference::resample(0, {}, 0, 44100, -1, 3, 0.0f), zeros);
    EXPECT_TRUE(reference::resample(2, {}, 0, 1, 1, 0, 0.0f).empty());
    EXPECT_TRUE(reference::resample(2, {}, 0, 1, 1, -2, 0.0f).empty());
}

TEST(ReferenceResampling, EqualRatesReproduceTheInput)
{
    Noise noise;
    Floats block;
    for (int i = 0; i < 200; ++i) {
        block.push_back(noise.sample());
    }
    for (int q = 1; q <= 3; ++q) {
        const Floats out = reference::resample(q, block, 20, 48000, 48000, 100, 0.0f);
        for (std::size_t i = 0; i < out.size(); ++i) {
            EXPECT_NEAR(out[i], block[i + 20], 1e-6f);
        }
    }
}

TEST(ReferenceResampling, ConstantKeepsItsLevel)
{
    const Floats ones(4000, 1.0f);
    for (int q = 1; q <= 3; ++q) {
        for (const int outRate : {8000, 22050, 44100, 47999, 48000, 96000}) {
            for (const float sample : reference::resample(q, ones, 300, outRate, 48000, 300, 0.25f)) {
                EXPECT_NEAR(sample, 1.0f, q == 1 ? 0.02f : 0.002f);
            }
        }
    }
}

TEST(ReferenceResampling, AgreesWithTheContinuousFilter)
{
    Noise noise;
    Floats block;
    for (int i = 0; i < 6000; ++i) {
        block.push_back(noise.sample());
    }
    for (int q = 1; q <= 3; ++q) {
        for (const int outRate : {8000, 22050, 44100, 47999, 48000, 88200, 96000}) {
            const float phase = 0.3f;
            const Floats out = reference::resample(q, block, 400, outRate, 48000, 200, phase);
            for (std::size_t n = 0; n < out.size(); ++n) {
                const double position = static_cast<double>(phase)
                                        + static_cast<double>(n) * 48000.0 / outRate;
                const double ideal = reference::idealResampleAt(q, block, 400, outRate, 48000,
                                                                position);
                EXPECT_NEAR(static_cast<double>(out[n]), ideal, 1e-5) << q << " " << outRate;
            }
        }
    }
}

TEST(ReferenceResampling, FollowsATone)
{
    Floats block;
    const double perSample = 0.2;
    for (int i = -40; i < 400; ++i) {
        block.push_back(static_cast<float>(std::sin(perSample * i)));
    }
    const Floats out = reference::resample(3, block, 40, 48000, 44100, 300, 0.5f);
    for (std::size_t n = 0; n < out.size(); ++n) {
        const double position = 0.5 + static_cast<double>(n) * 44100.0 / 48000.0;
        EXPECT_NEAR(static_cast<double>(out[n]), std::sin(perSample * position), 1e-4);
    }
}

TEST(ReferenceResampling, ReadsNoFurtherThanTheHandles)
{
    Noise noise;
    for (int i = 0; i < 300; ++i) {
        const int q = noise.between(1, 3);
        const int outRate = noise.between(4000, 192000);
        const int inRate = noise.between(4000, 192000);
        const float phase = static_cast<float>(noise.between(0, 999)) / 1000.0f;
        const long long outFrames = noise.between(1, 40);
        const int h = reference::handles(q, outRate, inRate);
        const double furthest = static_cast<double>(phase)
                                + static_cast<double>(outFrames - 1) * inRate / outRate;
        const std::size_t length = static_cast<std::size_t>(std::ceil(furthest)) + 1
                                   + 2 * static_cast<std::size_t>(h);
        EXPECT_NO_THROW(reference::resample(q, Floats(length, 1.0f), h, outRate, inRate, outFrames,
                                            phase))
            << q << " " << outRate << " " << inRate;
    }
}

TEST(ReferencePitchShift, UnityPitchInterpolatesLinearly)
{
    const Floats in = {0.0f, 1.0f, 0.0f, -1.0f};
    const auto shifted = reference::resampleWithPitchShift(in, 2, 1, 100, 1.0f);
    EXPECT_EQ(shifted.written, 8);
    EXPECT_EQ(shifted.hits, 0);
    EXPECT_EQ(shifted.splices, 0);
    EXPECT_EQ(shifted.line, "Hits: 0/0 (  nan%)\n");
    ASSERT_EQ(shifted.out.size(), 100u);
    const Floats expected = {0.0f, 0.5f, 1.0f, 0.5f, 0.0f, -0.5f, -1.0f, -1.0f};
    EXPECT_EQ(Floats(shifted.out.begin(), shifted.out.begin() + 8), expected);
    EXPECT_EQ(shifted.out[8], 0.0f);
    EXPECT_EQ(reference::resampleWithPitchShift(in, 2, 1, 3, 1.0f).written, 3);
    EXPECT_EQ(reference::resampleWithPitchShift({}, 2, 1, 3, 1.0f).written, 0);
    EXPECT_EQ(reference::resampleWithPitchShift(in, 0, 1, 3, 1.0f).written, 0);
    EXPECT_EQ(reference::resampleWithPitchShift(in, 1, 1, -3, 1.0f).written, 0);
}

TEST(ReferencePitchShift, SplicesAtQuietSamples)
{
    // Zone 15, window 70. The first splice falls after 71 samples and goes back to
    // offset 1, the next to 2, and so on up to 14; from then on every 57 samples:
    // 71 + 70 + ... + 58 = 903, 960, 1017.
    const auto silent = reference::resampleWithPitchShift(Floats(1000, 0.0f), 1000, 1000, 1000, 2.0f);
    EXPECT_EQ(silent.hits, 15);
    EXPECT_EQ(silent.splices, 15);
    EXPECT_EQ(silent.line, "Hits: 15/15 (100.00%)\n");
}

TEST(ReferencePitchShift, SplicesLoudSamplesOnlyUpwards)
{
    // Forced at offset 141: after 141, 281, 420, 558, 695, 831 and 966 samples.
    const Floats loud(1000, 0.5f);
    const auto up = reference::resampleWithPitchShift(loud, 1000, 1000, 1000, 2.0f);
    EXPECT_EQ(up.hits, 0);
    EXPECT_EQ(up.splices, 7);
    EXPECT_EQ(up.line, "Hits: 0/7 ( 0.00%)\n");
    const auto down = reference::resampleWithPitchShift(loud, 1000, 1000, 1000, 0.5f);
    EXPECT_EQ(down.splices, 0);
    EXPECT_EQ(down.line, "Hits: 0/0 (  nan%)\n");
    for (const float sample : down.out) {
        EXPECT_EQ(sample, 0.5f);
    }
}

TEST(ReferencePitchShift, AbsurdPitchesStayDefined)
{
    const Floats in(50, 0.25f);
    for (const float pitch : {-3.0f, 0.0f, 1.0e30f}) {
        EXPECT_EQ(reference::resampleWithPitchShift(in, 48000, 44100, 50, pitch).written, 50);
    }
    for (const float pitch : {quietNan, infinity, -infinity}) {
        EXPECT_EQ(reference::resampleWithPitchShift(in, 48000, 44100, 50, pitch).written, 0);
    }
}

// Gain

TEST(ReferenceGain, Decibels)
{
    EXPECT_EQ(reference::decibelsToFactor(0.0f), 1.0f);
    EXPECT_EQ(reference::decibelsToFactor(20.0f), 10.0f);
    EXPECT_NEAR(reference::decibelsToFactor(-6.0206f), 0.5f, 1e-6f);
    EXPECT_NEAR(reference::decibelsToFactor(-90.0f), 3.1623e-05f, 1e-9f);
    EXPECT_NEAR(reference::decibelsToFactor(-82.0f), 7.9433e-05f, 1e-9f);
}

TEST(ReferenceGain, Amplify)
{
    EXPECT_NEAR(reference::amplify({0.8f}, 6.0f).at(0), 1.596f, 5e-4f);
    EXPECT_TRUE(reference::amplify({}, 6.0f).empty());
}

TEST(ReferenceGain, RemoveCentre)
{
    const auto same = reference::removeCentre({0.3f, -0.7f}, {0.3f, -0.7f});
    EXPECT_EQ(same.left, (Floats{0.0f, 0.0f}));
    EXPECT_EQ(same.right, (Floats{0.0f, 0.0f}));
    const auto opposite = reference::removeCentre({0.5f}, {-0.5f});
    EXPECT_EQ(opposite.left, (Floats{1.0f}));
    EXPECT_EQ(opposite.right, (Floats{1.0f}));
}

TEST(ReferenceGain, PanMatrix)
{
    const auto centre = reference::panMatrix(1.0f, 0.0f, 1.0f);
    EXPECT_EQ(centre.ll, 1.0f);
    EXPECT_EQ(centre.lr, 0.0f);
    EXPECT_EQ(centre.rl, 0.0f);
    EXPECT_EQ(centre.rr, 1.0f);
    EXPECT_EQ(centre.audible, 3);

    const auto folded = reference::panMatrix(0.8f, 0.0f, 0.0f);
    for (const float gain : {folded.ll, folded.lr, folded.rl, folded.rr}) {
        EXPECT_EQ(gain, 0.4f);
    }

    for (const float wide : {-1.0f, 0.0f, 0.3f, 1.0f}) {
        const auto hardRight = reference::panMatrix(0.7f, 1.0f, wide);
        EXPECT_EQ(hardRight.ll, 0.0f);
        EXPECT_EQ(hardRight.rl, 0.0f);
        EXPECT_EQ(hardRight.lr, 0.7f);
        EXPECT_EQ(hardRight.rr, 0.7f);
        EXPECT_EQ(hardRight.audible, 1);
        EXPECT_EQ(reference::panMatrix(0.7f, -1.0f, wide).audible, 2);
    }

    const auto swapped = reference::panMatrix(1.0f, 0.0f, -1.0f);
    EXPECT_EQ(swapped.lr, 1.0f);
    EXPECT_EQ(swapped.rl, 1.0f);
    EXPECT_EQ(swapped.ll, 0.0f);

    EXPECT_EQ(reference::panMatrix(0.0f, 0.0f, 1.0f).audible, 0);
    EXPECT_EQ(reference::panMatrix(reference::decibelsToFactor(-90.0f), 0.0f, 1.0f).audible, 0);
}

// Time and the file provider

TEST(ReferenceTime, SampleIndex)
{
    EXPECT_EQ(reference::sampleIndex(44100, -0.00001), -1);
    EXPECT_EQ(reference::sampleIndex(44100, 0.0), 0);
    EXPECT_EQ(reference::sampleIndex(44100, 1.0), 44100);
    EXPECT_EQ(reference::sampleIndex(44100, std::nan("")), 0);
    EXPECT_EQ(reference::sampleIndex(44100, 1.0e300), LLONG_MAX);
    EXPECT_EQ(reference::sampleIndex(44100, -1.0e300), LLONG_MIN);
    EXPECT_EQ(reference::sampleIndex(1, 9223372036854775808.0), LLONG_MAX);
    EXPECT_EQ(reference::sampleIndex(1, -9223372036854775808.0), LLONG_MIN);
    EXPECT_EQ(reference::sampleIndex(0, 1.0), 0);
}

TEST(ReferenceTime, TimeOfSample)
{
    for (const int rate : {1, 8, 8000, 44100, 48000, 192000}) {
        for (long long s = -3000; s < 3000; ++s) {
            const double t = reference::timeOfSample(rate, s);
            const long long k = reference::sampleIndex(rate, t);
            EXPECT_GE(k, s);
            EXPECT_LE(k, s + 1);
            const double exact = static_cast<double>(s) / rate;
            if (std::fma(exact, rate, -static_cast<double>(s)) == 0.0) {
                EXPECT_EQ(k, s);
            }
        }
    }
    EXPECT_EQ(reference::timeOfSample(0, 5), 0.0);
    EXPECT_EQ(reference::timeOfSample(-2, 5), -2.5);
    for (const long long s : {LLONG_MAX, LLONG_MIN, LLONG_MAX - 1, (1LL << 53) + 1, 1LL << 60}) {
        EXPECT_NEAR(reference::timeOfSample(44100, s) * 44100.0 / static_cast<double>(s), 1.0,
                    1e-9);
    }
}

namespace {

// Frame f of channel c holds f + 1000 c + 1, so no frame is mistaken for silence.
reference::Source countingSource(int rate, int playbackRate, int frames, double srcIn, double srcOut)
{
    reference::Source source{{}, rate, playbackRate, srcIn, srcOut};
    for (int c = 0; c < 2; ++c) {
        Floats channel;
        for (int f = 0; f < frames; ++f) {
            channel.push_back(static_cast<float>(f + 100000 * c + 1));
        }
        source.channels.push_back(channel);
    }
    return source;
}

} // namespace

TEST(ReferenceFileSpan, ReadsWithoutConversion)
{
    const auto source = countingSource(100, 100, 50, 0.0, 0.5);
    const auto got = reference::render(source, {0, 1, -4, 9}, 100, 2, 0.0, 0.125, 0.25);
    EXPECT_EQ(got.status, 0);
    ASSERT_EQ(got.audio.size(), 4u);
    ASSERT_EQ(got.audio[0].size(), 13u); // 12.5 to 25: frames 12 to 24
    EXPECT_EQ(got.audio[0][0], 13.0f);
    EXPECT_EQ(got.audio[0][12], 25.0f);
    EXPECT_EQ(got.audio[1][0], 100013.0f);
    EXPECT_EQ(got.audio[2], got.audio[0]);
    EXPECT_EQ(got.audio[3], got.audio[1]);
}

TEST(ReferenceFileSpan, StartsAtSrcIn)
{
    const auto source = countingSource(48000, 48000, 48010, 1.0, 2.0);
    const auto got = reference::render(source, {0}, 48000, 2, 0.0, 0.0, 1.0 / 4800.0);
    ASSERT_EQ(got.status, 0);
    ASSERT_EQ(got.audio[0].size(), 10u);
    EXPECT_EQ(got.audio[0][0], 48001.0f);
}

TEST(ReferenceFileSpan, OutsideDeliversNothing)
{
    const auto source = countingSource(100, 100, 50, 0.0, 0.25);
    const std::vector<int> map = {0, 1};
    EXPECT_EQ(reference::render(source, map, 100, 2, 0.0, -0.5, -0.25).status, 5);
    EXPECT_EQ(reference::render(source, map, 100, 2, 0.0, 0.25, 0.5).status, 5);
    EXPECT_EQ(reference::render(source, map, 100, 2, 0.0, 0.75, 1.0).status, 5);
    EXPECT_TRUE(reference::render(source, map, 100, 2, 0.0, 0.75, 1.0).audio.empty());
    EXPECT_EQ(reference::render(countingSource(100, 100, 0, 0.0, 0.25), map, 100, 2, 0.0, 0.0, 0.25)
                  .status,
              5);
    EXPECT_EQ(reference::render({{}, 100, 100, 0.0, 1.0}, map, 100, 2, 0.0, 0.0, 0.25).status, 5);

    // A span that ends exactly where the file begins is still delivered, as silence.
    const auto touching = reference::render(source, map, 100, 2, 0.0, -0.25, 0.0);
    EXPECT_EQ(touching.status, 0);
    EXPECT_EQ(touching.audio, (std::vector<Floats>{Floats(25, 0.0f), Floats(25, 0.0f)}));
}

TEST(ReferenceFileSpan, SilenceAroundTheFile)
{
    const std::vector<int> map = {0};
    const auto source = countingSource(100, 100, 50, 0.0, 0.25);
    const auto before = reference::render(source, map, 100, 2, 0.0, -0.125, 0.125).audio.at(0);
    ASSERT_EQ(before.size(), 25u); // -13 to 12
    EXPECT_EQ(before[12], 0.0f);
    EXPECT_EQ(before[13], 1.0f);
    EXPECT_EQ(before[24], 12.0f);

    const auto after = reference::render(source, map, 100, 2, 0.0, 0.125, 0.5).audio.at(0);
    ASSERT_EQ(after.size(), 38u); // 12 to 50, of which 25 onwards are past srcOut
    EXPECT_EQ(after[12], 25.0f);
    EXPECT_EQ(after[13], 0.0f);

    const auto pastFile = reference::render(countingSource(100, 100, 20, 0.0, 9.0), map, 100, 2, 0.0,
                                            0.0, 0.25).audio.at(0);
    EXPECT_EQ(pastFile[19], 20.0f);
    EXPECT_EQ(pastFile[20], 0.0f);
}

TEST(ReferenceFileSpan, TimeOffsetDelaysTheFile)
{
    const auto source = countingSource(100, 100, 50, 0.0, 0.5);
    const auto got = reference::render(source, {0}, 100, 2, 0.25, 0.25, 0.5);
    EXPECT_EQ(got.audio.at(0).at(0), 1.0f);
    const auto early = reference::render(source, {0}, 100, 2, 0.25, 0.125, 0.5).audio.at(0);
    EXPECT_EQ(early.at(12), 0.0f);
    EXPECT_EQ(early.at(13), 1.0f);
}

TEST(ReferenceFileSpan, UnusableRates)
{
    const auto source = countingSource(100, 100, 50, 0.0, 0.5);
    EXPECT_EQ(reference::render(source, {0}, 0, 2, 0.0, 0.0, 0.25).status, 4);
    EXPECT_EQ(reference::render(countingSource(100, 0, 50, 0.0, 0.5), {0}, 100, 2, 0.0, 0.0, 0.25)
                  .status,
              1);
}

TEST(ReferenceFileSpan, ConvertsByHolding)
{
    const auto source = countingSource(200, 200, 100, 0.0, 0.5);
    const auto half = reference::render(source, {0}, 100, 0, 0.0, 0.125, 0.25).audio.at(0);
    // 0.125 s is output frame 12, which is input frame 24; every second one from there.
    ASSERT_EQ(half.size(), 13u);
    EXPECT_EQ(half[0], 25.0f);
    EXPECT_EQ(half[12], 49.0f);

    // Played at half the file's rate, the file's own seconds still bound it.
    const auto slow = reference::render(countingSource(200, 100, 100, 0.25, 0.5), {0}, 100, 0, 0.0,
                                        0.0, 1.0).audio.at(0);
    ASSERT_EQ(slow.size(), 100u);
    EXPECT_EQ(slow[0], 51.0f);
    EXPECT_EQ(slow[49], 100.0f);
    EXPECT_EQ(slow[50], 0.0f);
}

TEST(ReferenceFileSpan, ConvertsWithTheFilter)
{
    reference::Source source{{{}}, 48000, 48000, 0.0, 1.0};
    for (int f = 0; f < 48000; ++f) {
        source.channels[0].push_back(static_cast<float>(std::sin(0.05 * f)));
    }
    const auto out = reference::render(source, {0}, 44100, 3, 0.0, 0.3, 0.31).audio.at(0);
    ASSERT_EQ(out.size(), 441u);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double position = (13230.0 + static_cast<double>(i)) * 48000.0 / 44100.0;
        EXPECT_NEAR(static_cast<double>(out[i]), std::sin(0.05 * position), 1e-4);
    }
}

TEST(ReferenceFileSpan, NeverReadsOutsideItsBlock)
{
    Noise noise;
    const auto source = countingSource(48000, 48000, 2000, 0.0, 1.0);
    const std::vector<int> rates = {8000, 11025, 22050, 32000, 44100, 48000, 88200, 96000, 192000};
    for (int i = 0; i < 1500; ++i) {
        reference::Source played = source;
        played.channels.pop_back();
        played.playbackRate = rates.at(static_cast<std::size_t>(noise.between(0, 8)));
        const int contextRate = rates.at(static_cast<std::size_t>(noise.between(0, 8)));
        const int quality = noise.between(0, 3);
        const double t0 = noise.between(-100000, 100000) / 1.0e7;
        const double t1 = t0 + noise.between(0, 10000) / 1.0e7;
        EXPECT_NO_THROW({
            const auto got = reference::render(played, {0}, contextRate, quality, 0.0, t0, t1);
            if (got.status == 0) {
                EXPECT_EQ(static_cast<long long>(got.audio.at(0).size()),
                          reference::sampleIndex(contextRate, t1)
                              - reference::sampleIndex(contextRate, t0));
            } else {
                EXPECT_EQ(got.status, 5);
            }
        }) << played.playbackRate << " " << contextRate << " " << quality << " " << t0 << " " << t1;
    }
}

TEST(ReferenceFileSpan, AbsurdTimesStayDefined)
{
    const auto source = countingSource(100, 100, 50, 0.0, 0.5);
    EXPECT_EQ(reference::render(source, {0}, 100, 2, 0.0, 1.0e300, 1.0e301).status, 5);
    EXPECT_EQ(reference::render(source, {0}, 48, 2, 1.0e300, 0.0, 1.0).status, 5);
    EXPECT_EQ(reference::render(source, {0}, 100, 2, -1.0e300, 0.0, 1.0).status, 5);
    EXPECT_EQ(reference::render(source, {0}, 100, 2, std::nan(""), 0.0, 0.25).status, 0);
}

// Mixer

namespace {

// A track whose input is one constant per channel; calls counts its requests.
reference::Track constantTrack(float left, float right, double startTime, double endTime,
                               int* calls = nullptr)
{
    reference::Track track;
    track.startTime = startTime;
    track.endTime = endTime;
    track.input = [left, right, calls](std::vector<Floats>& two, double, double, double) {
        for (float& sample : two.at(0)) {
            sample = left;
        }
        for (float& sample : two.at(1)) {
            sample = right;
        }
        if (calls != nullptr) {
            ++*calls;
        }
        return 0;
    };
    return track;
}

} // namespace

TEST(ReferenceMix, NothingMixedLeavesTheOutputs)
{
    const Floats before = {7.0f, 8.0f};
    const auto none = reference::mix({}, 1.0f, 100, 0.0, 0.5, false, before, before);
    EXPECT_EQ(none.status, 5);
    EXPECT_EQ(none.mixed, 0);
    EXPECT_EQ(none.left, before);
    EXPECT_EQ(none.right, before);
}

TEST(ReferenceMix, SilentTracksAreNotAsked)
{
    int calls = 0;
    reference::Track track = constantTrack(1.0f, 1.0f, 0.0, 0.0, &calls);
    track.gain = 0.0f;
    EXPECT_EQ(reference::mix({track}, 1.0f, 100, 0.0, 0.5, false, {}, {}).status, 5);
    track.gain = 1.0f;
    EXPECT_EQ(reference::mix({track}, 0.0f, 100, 0.0, 0.5, false, {}, {}).status, 5);
    EXPECT_EQ(reference::mix({track}, reference::decibelsToFactor(-90.0f), 100, 0.0, 0.5, false, {},
                             {}).status,
              5);
    EXPECT_EQ(calls, 0);
}

TEST(ReferenceMix, HearingRule)
{
    for (int state = 0; state < 16; ++state) {
        reference::Track a;
        reference::Track b;
        a.mute = (state & 1) != 0;
        a.solo = (state & 2) != 0;
        b.mute = (state & 4) != 0;
        b.solo = (state & 8) != 0;
        const std::vector<reference::Track> all = {a, b};
        const bool soloOn = a.solo || b.solo;
        EXPECT_EQ(reference::isHeard(a, all, false), !a.mute && (!soloOn || a.solo));
        EXPECT_EQ(reference::isHeard(a, all, true), soloOn ? a.solo : !a.mute);
    }
    reference::Track both = constantTrack(1.0f, 1.0f, 0.0, 0.0);
    both.mute = true;
    both.solo = true;
    const std::vector<reference::Track> tracks = {both, constantTrack(1.0f, 1.0f, 0.0, 0.0)};
    EXPECT_EQ(reference::mix(tracks, 1.0f, 100, 0.5, 1.0, false, {}, {}).status, 5);
    EXPECT_EQ(reference::mix(tracks, 1.0f, 100, 0.5, 1.0, true, {}, {}).mixed, 1);
}

TEST(ReferenceMix, DefaultStartIsOneFrameIn)
{
    int calls = 0;
    const auto track = constantTrack(1.0f, 1.0f, 1.0 / 25.0, 1.0 / 25.0, &calls);
    EXPECT_EQ(reference::mix({track}, 1.0f, 100, 0.0, 1.0 / 25.0, false, {}, {}).status, 5);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(reference::mix({track}, 1.0f, 100, 1000.0, 1001.0, false, {}, {}).mixed, 1);
}

TEST(ReferenceMix, SilenceThenFadeIn)
{
    // At rate 100 a fade is two frames: factors 0 and 0.5.
    const auto track = constantTrack(1.0f, -1.0f, 0.25, 0.25);
    const auto got = reference::mix({track}, 1.0f, 100, 0.125, 0.5, false, {}, {});
    EXPECT_EQ(got.status, 0);
    ASSERT_EQ(got.left.size(), 38u);
    for (std::size_t i = 0; i < 13; ++i) {
        EXPECT_EQ(got.left[i], 0.0f);
    }
    EXPECT_EQ(got.left[13], 0.0f);
    EXPECT_EQ(got.left[14], 0.5f);
    EXPECT_EQ(got.right[14], -0.5f);
    for (std::size_t i = 15; i < 38; ++i) {
        EXPECT_EQ(got.left[i], 1.0f);
        EXPECT_EQ(got.right[i], -1.0f);
    }
}

TEST(ReferenceMix, FadeOutThenSilence)
{
    const auto track = constantTrack(1.0f, 1.0f, 0.0, 0.125);
    const auto got = reference::mix({track}, 1.0f, 100, 0.0625, 0.5, false, {}, {});
    ASSERT_EQ(got.left.size(), 44u); // 6 to 50, of which 12 onwards are past the end
    EXPECT_EQ(got.left[3], 1.0f);
    EXPECT_EQ(got.left[4], 1.0f);
    EXPECT_EQ(got.left[5], 0.5f);
    for (std::size_t i = 6; i < 44; ++i) {
        EXPECT_EQ(got.left[i], 0.0f);
    }
}

TEST(ReferenceMix, FadeOutLosesAFrameToRounding)
{
    // 0.25 - (0.25 - 0.02) falls just short of 0.02 and holds one whole frame
    // instead of two, whose factor is the ramp's first: 1.
    ASSERT_LT(0.25 - (0.25 - 0.02), 0.02);
    const auto track = constantTrack(1.0f, 1.0f, 0.0, 0.25);
    const auto got = reference::mix({track}, 1.0f, 100, 0.125, 0.5, false, {}, {});
    EXPECT_EQ(got.left.at(12), 1.0f);
    EXPECT_EQ(got.left.at(13), 0.0f);
}

TEST(ReferenceMix, FadeInContinues)
{
    const auto track = constantTrack(1.0f, 1.0f, 0.0, 0.0);
    const auto got = reference::mix({track}, 1.0f, 1000, 0.01, 0.04, false, {}, {});
    ASSERT_EQ(got.left.size(), 30u);
    float factor = 10.0f * (1.0f / 20.0f);
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(bits(got.left[i]), bits(factor));
        factor += 1.0f / 20.0f;
    }
    EXPECT_EQ(got.left[10], 1.0f);
    EXPECT_NEAR(got.left[9], 0.95f, 1e-5f);
}

TEST(ReferenceMix, AnEndBarelyAfterTheStartIsNoEnd)
{
    const auto open = constantTrack(1.0f, 1.0f, 0.0, 0.00009);
    EXPECT_EQ(reference::mix({open}, 1.0f, 100, 0.5, 1.0, false, {}, {}).left.at(49), 1.0f);
    const auto closed = constantTrack(1.0f, 1.0f, 0.0, 0.0002);
    EXPECT_EQ(reference::mix({closed}, 1.0f, 100, 0.5, 1.0, false, {}, {}).status, 5);
}

TEST(ReferenceMix, SumsTracks)
{
    const Floats stale(50, 99.0f);
    reference::Track loud = constantTrack(0.5f, 0.25f, 0.0, 0.0);
    reference::Track hardLeft = constantTrack(0.125f, 0.0625f, 0.0, 0.0);
    hardLeft.pan = -1.0f;
    const auto got = reference::mix({loud, hardLeft}, 2.0f, 100, 0.5, 1.0, false, stale, stale);
    EXPECT_EQ(got.mixed, 2);
    EXPECT_EQ(got.left, Floats(50, 1.375f));
    EXPECT_EQ(got.right, Floats(50, 0.5f));
    // The other way round, the first track fills the channel it does not reach.
    const auto only = reference::mix({hardLeft}, 1.0f, 100, 0.5, 1.0, false, stale, stale);
    EXPECT_EQ(only.left, Floats(50, 0.1875f));
    EXPECT_EQ(only.right, Floats(50, 0.0f));
}

TEST(ReferenceMix, LeavesFramesBeyondTheRequest)
{
    const Floats stale(5, 99.0f);
    const auto track = constantTrack(1.0f, 1.0f, 0.0, 0.0);
    const auto got = reference::mix({track}, 1.0f, 4, 1.0, 1.5, false, stale, stale);
    EXPECT_EQ(got.left, (Floats{1.0f, 1.0f, 99.0f, 99.0f, 99.0f}));
}

TEST(ReferenceMix, FailingInputIsLeftOut)
{
    reference::Track failing = constantTrack(1.0f, 1.0f, 0.0, 0.0);
    failing.input = [](std::vector<Floats>& two, double, double, double) {
        two.at(0).at(0) = 5.0f;
        return 5;
    };
    const auto track = constantTrack(0.5f, 0.5f, 0.0, 0.0);
    const auto got = reference::mix({failing, track}, 1.0f, 4, 1.0, 1.5, false, {9.0f}, {9.0f});
    EXPECT_EQ(got.mixed, 1);
    EXPECT_EQ(got.left, (Floats{0.5f, 0.5f}));
    EXPECT_EQ(reference::mix({failing}, 1.0f, 4, 1.0, 1.5, false, {9.0f}, {9.0f}).left, (Floats{9.0f}));
}

TEST(ReferenceMix, InputSeesItsOwnSpan)
{
    reference::Track track;
    track.startTime = 0.25;
    track.endTime = 0.75;
    std::vector<double> seen;
    std::size_t frames = 0;
    track.input = [&](std::vector<Floats>& two, double offset, double a, double b) {
        seen = {offset, a, b};
        frames = two.at(0).size();
        return 0;
    };
    reference::mix({track}, 1.0f, 1000, 0.0, 2.0, false, {}, {});
    EXPECT_EQ(seen, (std::vector<double>{0.25, 0.25, 0.75}));
    EXPECT_EQ(frames, 500u);
    reference::mix({track}, 1.0f, 1000, 0.5, 0.625, false, {}, {});
    EXPECT_EQ(seen, (std::vector<double>{0.25, 0.5, 0.625}));
    EXPECT_EQ(frames, 125u);
}

TEST(ReferenceMix, PlaysAFileFromItsStartTime)
{
    const auto source = countingSource(100, 100, 50, 0.0, 0.5);
    reference::Track track;
    track.startTime = 1.0;
    track.input = [&](std::vector<Floats>& two, double offset, double a, double b) {
        const auto got = reference::render(source, {0, 1}, 100, 2, offset, a, b);
        if (got.status == 0) {
            two = got.audio;
        }
        return got.status;
    };
    const auto got = reference::mix({track}, 1.0f, 100, 1.25, 1.75, false, {}, {});
    ASSERT_EQ(got.left.size(), 50u);
    EXPECT_EQ(got.left[0], 26.0f);
    EXPECT_EQ(got.left[24], 50.0f);
    EXPECT_EQ(got.left[25], 0.0f);
    EXPECT_EQ(got.right[0], 100026.0f);
    EXPECT_EQ(reference::mix({track}, 1.0f, 100, 1.5, 1.75, false, {}, {}).status, 5);
}

TEST(ReferenceMix, AbsurdRequestsStayDefined)
{
    const auto track = constantTrack(1.0f, 1.0f, 0.0, 0.0);
    for (const int rate : {-44100, 0, 1, 49}) {
        EXPECT_EQ(reference::mix({track}, 1.0f, rate, 0.0, 0.0625, false, {}, {}).status, 0);
    }
    EXPECT_EQ(reference::mix({track}, 1.0f, 100, std::nan(""), 1.0, false, {}, {}).status, 5);
    EXPECT_EQ(reference::mix({track}, 1.0f, 100, 0.5, 0.495, false, {}, {}).left.size(), 0u);
    EXPECT_EQ(reference::mix({track}, quietNan, 100, 0.0, 1.0, false, {}, {}).status, 5);
}
