#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "tests/app/Tov.h"

namespace support {

/** A mix of files whose samples never change: away from the fades its level is
 *  the coefficient. */
class MixTest : public TovTest {
protected:
  static constexpr int kRate = 48000;
  static constexpr std::size_t kMiddle = 24000;
  static constexpr double kStep = 1.0 / 8388608.0; ///< of 24 bits

  /** A file of these levels, one per channel, 1 second long. */
  void writeSteady(const std::string& name, const std::vector<double>& levels,
                   long long frames = kRate, int rate = kRate) const
  {
    IntegerSound sound{rate, 24, {}};
    for (const double level : levels)
      sound.channels.emplace_back(static_cast<std::size_t>(frames),
                                  static_cast<std::int32_t>(std::lround(level / kStep)));
    write(name, sound);
  }

  static double level(const IntegerSound& sound, std::size_t channel, std::size_t frame = kMiddle)
  {
    return sound.channels.at(channel).at(frame) / sound.fullScale();
  }

  static void expectLevels(const IntegerSound& sound, double left, double right,
                           std::size_t frame = kMiddle)
  {
    ASSERT_EQ(sound.channelCount(), 2);
    ASSERT_GT(sound.frames(), static_cast<long long>(frame));
    EXPECT_NEAR(level(sound, 0, frame), left, 1.5 * kStep) << "left";
    EXPECT_NEAR(level(sound, 1, frame), right, 1.5 * kStep) << "right";
  }

  static double factor(double decibelLevel) { return std::pow(10.0, decibelLevel / 20.0); }
};

} // namespace support
