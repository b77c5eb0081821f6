#pragma once

#include <climits>
#include <string>
#include <vector>

namespace reference {

// Qualities outside 0..3 are taken as the nearest of them throughout.

double besselI0(double x);

struct FilterTable {
    std::vector<float> value, delta;
};

// Quality 0 has no filter: both vectors are empty.
FilterTable makeFilterTable(int quality);

// Input frames that may be read beyond each end of the interpolated span. 1 for
// rates below 1; never above INT_MAX.
int handles(int quality, int outRate, int inRate);

// block[origin] is the input sample with index 0. Throws std::out_of_range for
// a read outside the block. Rates below 1 give outFrames zeros. A stretched wing
// ends after mostTaps, which cut it short where its distances, summed up in
// single precision over thousands of taps, fall behind.
std::vector<float> resample(int quality, const std::vector<float>& block, long long origin,
                            int outRate, int inRate, long long outFrames, float phase,
                            long long mostTaps = LLONG_MAX);

// The value that the table version approximates, at a position in input samples:
// the continuous windowed sinc in double precision. Quality 0 holds the sample
// at or before the position. Rates below 1 give 0.
double idealResampleAt(int quality, const std::vector<float>& block, long long origin, int outRate,
                       int inRate, double position);

struct PitchShiftResult {
    std::vector<float> out; // outFrames long; zeros from `written` onwards
    long long written;
    int hits;
    int splices;
    std::string line;
};

PitchShiftResult resampleWithPitchShift(const std::vector<float>& in, int outRate, int inRate,
                                        long long outFrames, float pitch);

} // namespace reference
