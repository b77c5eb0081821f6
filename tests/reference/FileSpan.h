#pragma once

#include <vector>

namespace reference {

// Time to sample index and back at a rate in frames per second. NaN is index 0,
// and indices beyond 64 bits are the nearest 64-bit number.
long long sampleIndex(int rate, double t);
double timeOfSample(int rate, long long s);

struct Source {
    std::vector<std::vector<float>> channels; // the shortest one is the file's length
    int rate;                                 // of the file
    int playbackRate;
    double srcIn, srcOut; // seconds of the file at its own rate
};

// audio holds one vector per entry of the channel map when status is 0, and
// nothing otherwise.
struct Delivered {
    int status;
    std::vector<std::vector<float>> audio;
};

// Status 4 for a context rate below 1, 1 for a playback rate below 1, 5 when the
// span delivers nothing, else 0. Map entries outside the file's channels are
// taken as the nearest channel.
Delivered render(const Source& source, const std::vector<int>& channelMap, int contextRate,
                 int quality, double timeOffset, double t0, double t1);

} // namespace reference
