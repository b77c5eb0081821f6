#pragma once

#include <vector>

namespace reference {

float decibelsToFactor(float decibels);

// First letter: the track's channel; second letter: the output it goes to.
// audible has bit value 2 for the left output and 1 for the right output.
struct Matrix {
    float ll, lr, rl, rr;
    int audible;
};

Matrix panMatrix(float gain, float pan, float wide);

std::vector<float> amplify(const std::vector<float>& in, float decibels);

struct Stereo {
    std::vector<float> left, right;
};

// Throws std::out_of_range when right is shorter than left.
Stereo removeCentre(const std::vector<float>& left, const std::vector<float>& right);

} // namespace reference
