#include "Resampling.h"

#include "Gain.h"

#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <numbers>
#include <stdexcept>

namespace reference {

namespace {

struct FilterShape {
    int samplesPerCrossing;
    int crossings;
};

int validQuality(int quality)
{
    if (quality < 0) {
        return 0;
    }
    if (quality > 3) {
        return 3;
    }
    return quality;
}

FilterShape shapeOf(int quality)
{
    switch (validQuality(quality)) {
    case 1:
        return {512, 3};
    case 2:
        return {512, 7};
    case 3:
        return {2048, 13};
    default:
        return {0, 0};
    }
}

// Tables cost some tens of milliseconds, and tests resample thousands of blocks.
const FilterTable& keptTable(int quality)
{
    static const std::array<FilterTable, 4> tables = {makeFilterTable(0), makeFilterTable(1),
                                                      makeFilterTable(2), makeFilterTable(3)};
    return tables.at(static_cast<std::size_t>(validQuality(quality)));
}

// The sum wraps like the unsigned index it becomes, so that any index outside
// the block, negative ones included, is refused by at().
float sampleAt(const std::vector<float>& block, long long origin, long long index)
{
    return block.at(static_cast<std::size_t>(origin) + static_cast<std::size_t>(index));
}

// A position that is no usable index is refused like any other read outside the block.
long long indexOf(double whole)
{
    if (!(whole > -4611686018427387904.0 && whole < 4611686018427387904.0)) {
        throw std::out_of_range("reference: position outside the block");
    }
    return static_cast<long long>(whole);
}

std::vector<float> resampleHeld(const std::vector<float>& block, long long origin, int outRate,
                                int inRate, long long outFrames)
{
    const double rates = static_cast<double>(inRate) / static_cast<double>(outRate);
    const std::int64_t step = static_cast<std::int64_t>(rates * 65536.0);

    // Unsigned, so that running past the end of 64 bits wraps instead of being undefined.
    std::uint64_t position = 0;
    std::vector<float> out;
    out.reserve(static_cast<std::size_t>(outFrames));
    for (long long n = 0; n < outFrames; ++n) {
        const std::int64_t shifted = static_cast<std::int64_t>(position) >> 16;
        const std::int32_t index = static_cast<std::int32_t>(shifted);
        out.push_back(sampleAt(block, origin, index));
        position += static_cast<std::uint64_t>(step);
    }
    return out;
}

// One wing at the table's own spacing: every tap lies one crossing further out,
// so all taps share one fraction between two table entries.
float addPlainWing(float sum, const FilterTable& table, int samplesPerCrossing, float p,
                   const std::vector<float>& block, long long origin, long long index,
                   int direction)
{
    const float whole = std::floor(p);
    const float f = p - whole;
    std::size_t i = static_cast<std::size_t>(whole);
    while (i < table.value.size()) {
        const float between = f * table.delta.at(i);
        const float weight = table.value.at(i) + between;
        const float term = weight * sampleAt(block, origin, index);
        sum = sum + term;
        i += static_cast<std::size_t>(samplesPerCrossing);
        index += direction;
    }
    return sum;
}

// One wing of the stretched filter: the taps lie less than a crossing apart, so
// each has its own fraction.
float addStretchedWing(float sum, const FilterTable& table, int samplesPerCrossing, float e,
                       float ratio, long long mostTaps, const std::vector<float>& block,
                       long long origin, long long index, int direction)
{
    const float perCrossing = static_cast<float>(samplesPerCrossing);
    for (long long taps = 0; taps < mostTaps; ++taps) {
        const float p = perCrossing * e;
        const float whole = std::floor(p);
        const std::size_t i = static_cast<std::size_t>(whole);
        if (i >= table.value.size()) {
            return sum;
        }
        const float f = p - whole;
        const float between = f * table.delta.at(i);
        const float weight = table.value.at(i) + between;
        const float term = weight * sampleAt(block, origin, index);
        sum = sum + term;
        e = e + ratio;
        index += direction;
    }
    return sum;
}

// The mean of exp(x cos a) over the circle. Nothing in common with the power
// series, and with this many points exact to double precision for any x used here.
double besselByMean(double x)
{
    const int points = 256;
    double sum = 0.0;
    for (int i = 0; i < points; ++i) {
        sum += std::exp(x * std::cos(2.0 * std::numbers::pi * i / points));
    }
    return sum / points;
}

// NaN compares false with everything and would be no index at all.
std::size_t clampedIndex(double whole, double last)
{
    if (!(whole > 0.0)) {
        return 0;
    }
    if (whole > last) {
        return static_cast<std::size_t>(last);
    }
    return static_cast<std::size_t>(whole);
}

std::string statisticsLine(int hits, int splices)
{
    // 0 of 0 is stated as a positive NaN, because the sign of the NaN that a
    // division produces differs between processors and compilers.
    float percentage = std::numeric_limits<float>::quiet_NaN();
    if (splices != 0) {
        const float share = static_cast<float>(hits) / static_cast<float>(splices);
        percentage = share * 100.0f;
    }
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "Hits: %d/%d (%5.2f%%)\n", hits, splices,
                  static_cast<double>(percentage));
    return text.data();
}

} // namespace

double besselI0(double x)
{
    const double h = 0.5 * x;
    double sum = 1.0;
    double factorial = 1.0;
    for (int k = 1; k <= 29; ++k) {
        factorial = factorial * k;
        const double term = std::pow(h, static_cast<double>(k)) / factorial;
        sum = sum + term * term;
    }
    return sum;
}

FilterTable makeFilterTable(int quality)
{
    FilterTable table;
    const FilterShape shape = shapeOf(quality);
    const int length = shape.samplesPerCrossing * shape.crossings;
    if (length == 0) {
        return table;
    }
    const double norm = besselI0(9.0);
    table.value.push_back(1.0f);
    for (int i = 1; i < length; ++i) {
        const double t = static_cast<double>(i) / shape.samplesPerCrossing;
        const double u = t / shape.crossings;
        const double angle = std::numbers::pi * t;
        const double window = besselI0(9.0 * std::sqrt(1.0 - u * u)) / norm;
        table.value.push_back(static_cast<float>(window * std::sin(angle) / angle));
    }
    const std::size_t last = table.value.size() - 1;
    for (std::size_t i = 0; i < last; ++i) {
        table.delta.push_back(table.value[i + 1] - table.value[i]);
    }
    // The entry before the last, not the last: the filter's ends have always
    // been built like this and the output depends on it.
    table.delta.push_back(0.0f - table.value[last - 1]);
    return table;
}

int handles(int quality, int outRate, int inRate)
{
    if (validQuality(quality) == 0 || outRate < 1 || inRate < 1) {
        return 1;
    }
    const int crossings = shapeOf(quality).crossings;
    const double ratio = static_cast<double>(outRate) / static_cast<double>(inRate);
    if (ratio >= 1.0) {
        return crossings + 1;
    }
    const double count = std::ceil(static_cast<double>(crossings) / ratio) + 1.0;
    if (count >= static_cast<double>(INT_MAX)) {
        return INT_MAX;
    }
    return static_cast<int>(count);
}

std::vector<float> resample(int quality, const std::vector<float>& block, long long origin,
                            int outRate, int inRate, long long outFrames, float phase,
                            long long mostTaps)
{
    if (outFrames <= 0) {
        return {};
    }
    if (outRate < 1 || inRate < 1) {
        return std::vector<float>(static_cast<std::size_t>(outFrames), 0.0f);
    }
    if (validQuality(quality) == 0) {
        return resampleHeld(block, origin, outRate, inRate, outFrames);
    }

    const FilterTable& table = keptTable(quality);
    const int samplesPerCrossing = shapeOf(quality).samplesPerCrossing;
    const float perCrossing = static_cast<float>(samplesPerCrossing);
    const double ratio = static_cast<double>(outRate) / static_cast<double>(inRate);
    const double step = static_cast<double>(inRate) / static_cast<double>(outRate);
    const float ratioF = static_cast<float>(outRate) / static_cast<float>(inRate);

    std::vector<float> out;
    out.reserve(static_cast<std::size_t>(outFrames)); // refuses absurd lengths at once
    double x = static_cast<double>(phase);
    for (long long n = 0; n < outFrames; ++n) {
        const double ceiling = std::ceil(x);
        const long long c = indexOf(ceiling);
        const float d = static_cast<float>(ceiling - x);
        float sum = 0.0f;
        if (ratio >= 1.0) {
            sum = addPlainWing(sum, table, samplesPerCrossing, d * perCrossing, block, origin, c, 1);
            sum = addPlainWing(sum, table, samplesPerCrossing, (1.0f - d) * perCrossing, block,
                               origin, c - 1, -1);
        } else {
            const float right = static_cast<float>(static_cast<double>(d) * ratio);
            // The two roundings can differ in the last place; a distance is never negative.
            const float left = ratioF - right < 0.0f ? 0.0f : ratioF - right;
            sum = addStretchedWing(sum, table, samplesPerCrossing, right, ratioF, mostTaps,
                                   block, origin, c, 1);
            sum = addStretchedWing(sum, table, samplesPerCrossing, left, ratioF, mostTaps, block,
                                   origin, c - 1, -1);
            sum = sum * ratioF;
        }
        out.push_back(sum);
        x = x + step;
    }
    return out;
}

double idealResampleAt(int quality, const std::vector<float>& block, long long origin, int outRate,
                       int inRate, double position)
{
    if (outRate < 1 || inRate < 1) {
        return 0.0;
    }
    if (validQuality(quality) == 0) {
        return static_cast<double>(sampleAt(block, origin, indexOf(std::floor(position))));
    }
    const double ratio = static_cast<double>(outRate) / static_cast<double>(inRate);
    const double stretch = ratio < 1.0 ? ratio : 1.0;
    const double crossings = shapeOf(quality).crossings;
    const double norm = besselByMean(9.0);

    const long long first = indexOf(std::floor(position - crossings / stretch));
    const long long last = indexOf(std::ceil(position + crossings / stretch));
    double sum = 0.0;
    for (long long k = first; k <= last; ++k) {
        const double t = std::fabs(position - static_cast<double>(k)) * stretch;
        if (t >= crossings) {
            continue;
        }
        const double u = t / crossings;
        const double angle = std::numbers::pi * t;
        const double sinc = t > 0.0 ? std::sin(angle) / angle : 1.0;
        const double window = besselByMean(9.0 * std::sqrt(1.0 - u * u)) / norm;
        sum += window * sinc * static_cast<double>(sampleAt(block, origin, k));
    }
    return sum * stretch;
}

PitchShiftResult resampleWithPitchShift(const std::vector<float>& in, int outRate, int inRate,
                                        long long outFrames, float pitch)
{
    PitchShiftResult result{};
    if (outFrames > 0) {
        result.out.resize(static_cast<std::size_t>(outFrames), 0.0f);
    }
    if (outRate < 1 || inRate < 1 || !std::isfinite(pitch)) {
        result.line = statisticsLine(0, 0);
        return result;
    }

    const double inFrames = static_cast<double>(in.size());
    const double whole = std::trunc(inFrames * outRate / inRate + 0.5);
    long long count = outFrames < 0 ? 0 : outFrames;
    if (whole < static_cast<double>(count)) {
        count = static_cast<long long>(whole);
    }

    const double step = static_cast<double>(inRate) / static_cast<double>(outRate);
    const double last = inFrames - 1.0;
    const double window = inRate * 0.07;
    const double zone = inRate * 0.015;
    const double shift = static_cast<double>(pitch) - 1.0;
    const float quiet = decibelsToFactor(-82.0f);
    const bool upwards = pitch >= 1.0f;

    double offset = upwards ? 0.0 : 2.0 * window;
    double bestOffset = offset;
    float bestLevel = 1.0f;

    for (long long i = 0; i < count; ++i) {
        const double pos = (static_cast<double>(i) + offset) * step;
        const std::size_t a = clampedIndex(std::floor(pos), last);
        const std::size_t b = clampedIndex(std::ceil(pos), last);
        const float fraction = static_cast<float>(pos - static_cast<double>(a));
        const float rise = (in.at(b) - in.at(a)) * fraction;
        const float y = in.at(a) + rise;
        result.out.at(static_cast<std::size_t>(i)) = y;
        offset = offset + shift;

        const float level = std::fabs(y);
        const bool searching = upwards ? offset < zone : offset > 2.0 * window - zone;
        const bool drifted = upwards ? offset > window : offset < window;
        if (searching) {
            if (level < bestLevel) {
                bestOffset = offset;
                bestLevel = level;
            }
        } else if (drifted) {
            const bool hit = level < quiet;
            // Only a pitch-up run can get here: pitch-down is below the window by then.
            const bool forced = offset > 2.0 * window;
            if (hit) {
                result.hits += 1;
            }
            if (hit || forced) {
                offset = bestOffset;
                bestLevel = 1.0f;
                result.splices += 1;
            }
        }
    }
    result.written = count;
    result.line = statisticsLine(result.hits, result.splices);
    return result;
}

} // namespace reference
