#include "Mix.h"

#include "FileSpan.h"
#include "Gain.h"

#include <algorithm>
#include <climits>
#include <cstddef>

namespace reference {

namespace {

const double fadeInTime = 0.02;
const double fadeOutTime = 0.02;

long long within(long long v, long long low, long long high)
{
    if (v < low) {
        return low;
    }
    if (v > high) {
        return high;
    }
    return v;
}

// Frames between two times; never fewer than none, and absurd times count as
// the largest number instead of overflowing.
long long framesBetween(int rate, double from, double to)
{
    const long long first = sampleIndex(rate, from);
    const long long last = sampleIndex(rate, to);
    if (last <= first) {
        return 0;
    }
    if (first < 0 && last > LLONG_MAX + first) {
        return LLONG_MAX;
    }
    return last - first;
}

void scale(std::vector<std::vector<float>>& channels, long long frame, float factor)
{
    for (std::vector<float>& channel : channels) {
        float& sample = channel.at(static_cast<std::size_t>(frame));
        sample = sample * factor;
    }
}

void fadeIn(std::vector<std::vector<float>>& span, long long frames, int rate, double ts, double a)
{
    if (!(a < ts + fadeInTime)) {
        return;
    }
    const long long whole = sampleIndex(rate, fadeInTime);
    const long long k0 = ts < a ? sampleIndex(rate, a - ts) : 0;
    const long long n = within(sampleIndex(rate, std::min(ts + fadeInTime - a, fadeInTime)), 0,
                               frames);
    if (n == 0) {
        return; // at rates that have no whole frame in a fade, the step would be infinite
    }
    const float step = 1.0f / static_cast<float>(whole);
    float factor = static_cast<float>(k0) * step;
    for (long long j = 0; j < n; ++j) {
        scale(span, j, factor);
        factor = factor + step;
    }
}

void fadeOut(std::vector<std::vector<float>>& span, long long frames, int rate, double te, double a,
             double b)
{
    const double fs = te - fadeOutTime;
    if (!(fs < b)) {
        return;
    }
    const long long whole = sampleIndex(rate, fadeOutTime);
    const long long k0 = fs < a ? sampleIndex(rate, a - fs) : 0;
    const long long n = within(sampleIndex(rate, std::min(b - fs, fadeOutTime)), 0, frames);
    if (n == 0) {
        return; // at rates that have no whole frame in a fade, the step would be infinite
    }
    const float step = 1.0f / static_cast<float>(whole);
    const float reached = static_cast<float>(k0) * step;
    float factor = 1.0f - reached;
    for (long long j = 0; j < n; ++j) {
        scale(span, frames - n + j, factor);
        factor = factor - step;
    }
}

void accumulate(std::vector<float>& out, const std::vector<float>& s0, const std::vector<float>& s1,
                float c0, float c1, float floor, bool first)
{
    const bool has0 = c0 > floor;
    const bool has1 = c1 > floor;
    for (std::size_t i = 0; i < s0.size(); ++i) {
        float result = 0.0f;
        if (has0 && has1) {
            const float term0 = c0 * s0[i];
            const float term1 = c1 * s1[i];
            result = term0 + term1;
        } else if (has0) {
            result = c0 * s0[i];
        } else if (has1) {
            result = c1 * s1[i];
        } else if (!first) {
            // Adding a zero is not the same as leaving alone: it turns -0 into 0.
            continue;
        }
        out.at(i) = first ? result : out.at(i) + result;
    }
}

} // namespace

bool isHeard(const Track& track, const std::vector<Track>& all, bool soloOverridesMute)
{
    bool soloOn = false;
    for (const Track& other : all) {
        if (other.solo) {
            soloOn = true;
        }
    }
    if (!soloOverridesMute) {
        return !track.mute && (!soloOn || track.solo);
    }
    if (soloOn) {
        return track.solo;
    }
    return !track.mute;
}

MixResult mix(const std::vector<Track>& tracks, float masterGain, int contextRate, double t0,
              double t1, bool soloOverridesMute, const std::vector<float>& leftBefore,
              const std::vector<float>& rightBefore)
{
    MixResult result{5, leftBefore, rightBefore, 0};
    const long long frames = framesBetween(contextRate, t0, t1);
    const float floor = decibelsToFactor(-90.0f);

    for (const Track& track : tracks) {
        const double ts = track.startTime;
        double te = track.endTime;
        if (te < ts + 0.0001) {
            te = t1 + fadeOutTime;
        }
        if (!(t0 < te && ts < t1)) {
            continue;
        }
        const float gain = track.gain * masterGain;
        if (!(gain > floor) || !isHeard(track, tracks, soloOverridesMute)) {
            continue;
        }
        const Matrix matrix = panMatrix(gain, track.pan, track.wide);
        if (matrix.audible == 0) {
            continue;
        }

        double a = t0;
        double b = t1;
        long long lead = 0;
        long long remaining = frames;
        if (t0 < ts) {
            lead = within(framesBetween(contextRate, t0, ts), 0, remaining);
            remaining -= lead;
            a = ts;
        }
        if (te < t1) {
            remaining -= within(framesBetween(contextRate, te, t1), 0, remaining);
            b = te;
        }

        std::vector<std::vector<float>> span(
            2, std::vector<float>(static_cast<std::size_t>(remaining), 0.0f));
        if (track.input(span, ts, a, b) != 0) {
            continue;
        }
        span.resize(2);
        for (std::vector<float>& channel : span) {
            channel.resize(static_cast<std::size_t>(remaining), 0.0f);
        }

        fadeIn(span, remaining, contextRate, ts, a);
        fadeOut(span, remaining, contextRate, te, a, b);

        std::vector<float> s0(static_cast<std::size_t>(frames), 0.0f);
        std::vector<float> s1(static_cast<std::size_t>(frames), 0.0f);
        for (long long i = 0; i < remaining; ++i) {
            s0.at(static_cast<std::size_t>(lead + i)) = span[0][static_cast<std::size_t>(i)];
            s1.at(static_cast<std::size_t>(lead + i)) = span[1][static_cast<std::size_t>(i)];
        }

        if (result.left.size() < s0.size()) {
            result.left.resize(s0.size(), 0.0f);
        }
        if (result.right.size() < s0.size()) {
            result.right.resize(s0.size(), 0.0f);
        }
        const bool first = result.mixed == 0;
        accumulate(result.left, s0, s1, matrix.ll, matrix.rl, floor, first);
        accumulate(result.right, s0, s1, matrix.lr, matrix.rr, floor, first);
        result.mixed += 1;
        result.status = 0;
    }
    return result;
}

} // namespace reference
