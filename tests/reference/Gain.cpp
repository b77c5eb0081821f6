#include "Gain.h"

#include <cmath>
#include <cstddef>

namespace reference {

namespace {

float withinUnit(float v)
{
    if (v < -1.0f) {
        return -1.0f;
    }
    if (v > 1.0f) {
        return 1.0f;
    }
    return v;
}

} // namespace

float decibelsToFactor(float decibels)
{
    return static_cast<float>(std::pow(10.0, static_cast<double>(decibels) / 20.0));
}

Matrix panMatrix(float gain, float pan, float wide)
{
    const float room = pan >= 0.0f ? 1.0f - pan : pan + 1.0f;
    const float spread = room * wide;

    const float leftPosition = withinUnit(pan - spread);
    const float rightPosition = withinUnit(pan + spread);

    const float leftShare = (leftPosition + 1.0f) * 0.5f;
    const float rightShare = (rightPosition + 1.0f) * 0.5f;

    Matrix m{};
    m.ll = (1.0f - leftShare) * gain;
    m.lr = leftShare * gain;
    m.rl = (1.0f - rightShare) * gain;
    m.rr = rightShare * gain;

    const float silent = decibelsToFactor(-90.0f);
    m.audible = 0;
    if (m.ll > silent || m.rl > silent) {
        m.audible += 2;
    }
    if (m.lr > silent || m.rr > silent) {
        m.audible += 1;
    }
    return m;
}

std::vector<float> amplify(const std::vector<float>& in, float decibels)
{
    const float factor = decibelsToFactor(decibels);
    std::vector<float> out;
    for (const float sample : in) {
        out.push_back(factor * sample);
    }
    return out;
}

Stereo removeCentre(const std::vector<float>& left, const std::vector<float>& right)
{
    Stereo out;
    for (std::size_t i = 0; i < left.size(); ++i) {
        const float difference = left[i] - right.at(i);
        out.left.push_back(difference);
        out.right.push_back(difference);
    }
    return out;
}

} // namespace reference
