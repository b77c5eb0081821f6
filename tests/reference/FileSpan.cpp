#include "FileSpan.h"

#include "Resampling.h"

#include <climits>
#include <cmath>
#include <cstddef>

namespace reference {

namespace {

// Indices of absurd times sit at the ends of 64 bits; sums of them stay there.
long long sumOf(long long a, long long b)
{
    if (b > 0 && a > LLONG_MAX - b) {
        return LLONG_MAX;
    }
    if (b < 0 && a < LLONG_MIN - b) {
        return LLONG_MIN;
    }
    return a + b;
}

long long differenceOf(long long a, long long b)
{
    if (b < 0 && a > LLONG_MAX + b) {
        return LLONG_MAX;
    }
    if (b > 0 && a < LLONG_MIN + b) {
        return LLONG_MIN;
    }
    return a - b;
}

long long frameCountOf(const Source& source)
{
    if (source.channels.empty()) {
        return 0;
    }
    std::size_t shortest = source.channels.front().size();
    for (const std::vector<float>& channel : source.channels) {
        if (channel.size() < shortest) {
            shortest = channel.size();
        }
    }
    return static_cast<long long>(shortest);
}

const std::vector<float>& nearestChannel(const Source& source, int channel)
{
    if (channel < 0) {
        return source.channels.front();
    }
    if (static_cast<std::size_t>(channel) >= source.channels.size()) {
        return source.channels.back();
    }
    return source.channels[static_cast<std::size_t>(channel)];
}

// Outside the readable part of the file there is silence on both sides.
std::vector<float> fileFrames(const std::vector<float>& channel, long long position, long long n,
                              long long end)
{
    std::vector<float> block;
    if (n <= 0) {
        return block;
    }
    block.reserve(static_cast<std::size_t>(n)); // refuses absurd lengths at once
    for (long long i = 0; i < n; ++i) {
        const long long frame = sumOf(position, i);
        if (frame >= 0 && frame < end) {
            block.push_back(channel.at(static_cast<std::size_t>(frame)));
        } else {
            block.push_back(0.0f);
        }
    }
    return block;
}

} // namespace

long long sampleIndex(int rate, double t)
{
    const double two63 = 9223372036854775808.0;
    const double index = std::floor(static_cast<double>(rate) * t);
    if (std::isnan(index)) {
        return 0;
    }
    if (index >= two63) {
        return LLONG_MAX;
    }
    if (index < -two63) {
        return LLONG_MIN;
    }
    return static_cast<long long>(index);
}

double timeOfSample(int rate, long long s)
{
    if (rate == 0) {
        return 0.0;
    }
    const double exact = static_cast<double>(s) / static_cast<double>(rate);
    if (rate < 1) {
        return exact;
    }
    double t = exact;
    long long k = sampleIndex(rate, t);
    if (k == s) {
        return t;
    }
    const double step = s > k ? 0.5 / rate : -0.5 / rate;
    do {
        const double next = t + step;
        if (next == t) {
            return exact;
        }
        t = next;
        k = sampleIndex(rate, t);
    } while (s > k);
    return t;
}

Delivered render(const Source& source, const std::vector<int>& channelMap, int contextRate,
                 int quality, double timeOffset, double t0, double t1)
{
    const int playbackRate = source.playbackRate;
    if (contextRate < 1) {
        return {4, {}};
    }
    if (playbackRate < 1) {
        return {1, {}};
    }

    const double scale = static_cast<double>(source.rate) / static_cast<double>(playbackRate);
    const long long offset = sampleIndex(playbackRate, -timeOffset);
    const long long inIndex = sampleIndex(playbackRate, scale * source.srcIn);
    const long long outIndex = sampleIndex(playbackRate, scale * source.srcOut);
    const long long base = sumOf(inIndex, offset);

    const long long outFrames = differenceOf(sampleIndex(contextRate, t1),
                                             sampleIndex(contextRate, t0));
    const bool converted = playbackRate != contextRate;

    long long start = 0;
    long long n = 0;
    int h = 0;
    float phase = 0.0f;
    if (!converted) {
        start = sampleIndex(playbackRate, t0);
        n = outFrames;
    } else {
        // The span is moved onto output frames first, so that consecutive
        // requests meet without a seam.
        const double ts = static_cast<double>(sampleIndex(contextRate, t0))
                          / static_cast<double>(contextRate);
        const double te = static_cast<double>(sampleIndex(contextRate, t1))
                          / static_cast<double>(contextRate);
        start = sampleIndex(playbackRate, ts);
        phase = static_cast<float>(static_cast<double>(playbackRate) * ts
                                   - static_cast<double>(start));
        n = sumOf(differenceOf(sampleIndex(playbackRate, te), start), 1);
        h = handles(quality, contextRate, playbackRate);
        n = sumOf(n, 2LL * h);
        start = differenceOf(start, h);
    }

    const long long position = sumOf(start, base);
    const long long frameCount = frameCountOf(source);
    long long end = outIndex > position ? outIndex : position;
    if (end > frameCount) {
        end = frameCount;
    }
    if (sumOf(position, n) < 0 || end <= position || frameCount == 0) {
        return {5, {}};
    }

    Delivered delivered{0, {}};
    for (const int channel : channelMap) {
        const std::vector<float> block = fileFrames(nearestChannel(source, channel), position, n,
                                                    end);
        if (converted) {
            delivered.audio.push_back(
                resample(quality, block, h, contextRate, playbackRate, outFrames, phase));
        } else {
            delivered.audio.push_back(block);
        }
    }
    return delivered;
}

} // namespace reference
