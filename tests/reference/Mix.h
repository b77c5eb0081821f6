#pragma once

#include <functional>
#include <vector>

namespace reference {

struct Track {
    // Gets two buffers of exactly the frames between t0 and t1, zeroed, writes
    // them from their start, and returns its status; anything but 0 leaves the
    // track out of this request.
    std::function<int(std::vector<std::vector<float>>& twoBuffers, double timeOffset, double t0,
                      double t1)>
        input;
    bool mute = false, solo = false;
    float gain = 1.0f, pan = 0.0f, wide = 1.0f;
    double startTime = 0.0, endTime = 0.0;
};

struct MixResult {
    int status; // 0, or 5 when no track was mixed
    std::vector<float> left, right;
    int mixed;
};

bool isHeard(const Track& track, const std::vector<Track>& all, bool soloOverridesMute);

// The outputs start as leftBefore and rightBefore; they grow with zeros when
// shorter than the request, but only if something is written at all.
MixResult mix(const std::vector<Track>& tracks, float masterGain, int contextRate, double t0,
              double t1, bool soloOverridesMute, const std::vector<float>& leftBefore,
              const std::vector<float>& rightBefore);

} // namespace reference
