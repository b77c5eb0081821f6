#include "pcm/kernels/EvenPositions.h"

#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Reached {
  float distance;
  double frame;
};

Reached plainly(double x)
{
  const double c = std::ceil(x);
  return {static_cast<float>(c - x), c};
}

/** Takes positions in parts of random lengths and compares with the sum. */
void expectRepeatedAddition(double phase, double step, long long count, std::mt19937& random)
{
  EvenPositions positions(phase, step);
  double x = phase;
  std::vector<float> distances;
  std::vector<int> frames;
  for (long long done = 0; done < count;) {
    const double base = std::floor(positions.position());
    ASSERT_EQ(x, positions.position()) << phase << " + n * " << step << ", n " << done;
    const std::size_t part = random() % 700;
    distances.assign(part, -1.0f);
    frames.assign(part, -1);
    const double first = positions.position();
    const double spacing = positions.evenSpacing();
    const bool isEven = positions.staysEven(static_cast<long long>(part));
    positions.take(distances.data(), frames.data(), base, static_cast<long long>(part));
    for (std::size_t i = 0; i < part; ++i) {
      const Reached expected = plainly(x);
      if (isEven) {
        ASSERT_EQ(x, first + static_cast<double>(i) * spacing) << phase << " + n * " << step;
      }
      ASSERT_EQ(expected.distance, distances[i]) << phase << " + n * " << step;
      ASSERT_EQ(expected.frame, base + frames[i]) << phase << " + n * " << step;
      x += step;
    }
    done += static_cast<long long>(part);
    const long long skipped = random() % 3 ? 0 : static_cast<long long>(random() % 3000);
    positions.skip(skipped);
    for (long long i = 0; i < skipped; ++i)
      x += step;
    done += skipped;
  }
}

TEST(EvenPositions, AreThoseOfRepeatedAdditionAtUsualRates)
{
  std::mt19937 random(1);
  for (const auto& [in, out] : {std::pair{44100, 48000}, {48000, 44100}, {96000, 48000},
                                {44100, 96000}, {8000, 192000}, {192000, 8000}, {1, 3}})
    expectRepeatedAddition(0.25, static_cast<double>(in) / out, 200000, random);
}

TEST(EvenPositions, AreThoseOfRepeatedAdditionAtAnyRates)
{
  std::mt19937 random(2);
  for (int i = 0; i < 300; ++i) {
    const double in = static_cast<double>(1 + random() % 200000);
    const double out = static_cast<double>(1 + random() % 200000);
    const double phase = std::generate_canonical<float, 24>(random);
    expectRepeatedAddition(random() % 4 ? phase : 0.0, in / out, 5000, random);
  }
}

// The sum lies halfway between two points of the grid, again and again.
TEST(EvenPositions, AreThoseOfRepeatedAdditionWhereItRoundsHalfway)
{
  std::mt19937 random(3);
  for (int bits = 1; bits <= 52; ++bits)
    for (const double lead : {1.0, 0.5, 1.5, 0.625})
      expectRepeatedAddition(0.0, lead + std::ldexp(1.0, -bits), 3000, random);
}

TEST(EvenPositions, StandStillWhereTheStepIsLost)
{
  EvenPositions positions(0.5, 1e-30);
  positions.skip(1000000000000);
  EXPECT_EQ(0.5, positions.position());
}

} // namespace
