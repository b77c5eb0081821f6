#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <cstdlib>
#include <limits>
#include <thread>
#include <vector>

#include "tests/pcm/Noise.h"
#include "tests/reference/Resampling.h"
#include "tests/support/Buffers.h"

// What happens before the first build shows only once per process, so each
// test runs in a process that is started for it.

namespace {

bool isBuilt(int quality)
{
  return TovPcm::filterTable[quality] != nullptr || TovPcm::filterTableDelta[quality] != nullptr ||
         TovPcm::filterTableLength[quality] != 0;
}

bool nothingIsBuilt()
{
  return !isBuilt(0) && !isBuilt(1) && !isBuilt(2) && !isBuilt(3);
}

void resampleOnce(int quality)
{
  const std::vector<float> in(64, 1.0f);
  float out = 0.0f;
  TovPcm::resample(quality, &out, in.data() + 32, 44100, 44100, 1, 64, 0.0f);
}

/** The number of the first rule that does not hold, 0 when all do. */
int brokenRuleOfFirstUse()
{
  if (!nothingIsBuilt())
    return 1;

  for (int quality = 0; quality <= 3; ++quality) {
    TovPcm::resamplerHandles(quality, 44100, 48000);
    TovPcm::getFilterQualityString(quality);
    TovPcm::filterI0(9.0);
  }
  if (!nothingIsBuilt())
    return 2;

  resampleOnce(0);
  resampleOnce(-1);
  const float in[2] = {1.0f, 1.0f};
  float out[2] = {};
  TovPcm::resampleLowQuality(out, in, 1, 1, 2, 2);
  if (!nothingIsBuilt())
    return 3;

  TovPcm::createFilterTable(0);
  if (!nothingIsBuilt())
    return 4;

  resampleOnce(2);
  if (!isBuilt(2) || isBuilt(0) || isBuilt(1) || isBuilt(3))
    return 5;
  if (TovPcm::filterTableLength[2] != 3584 || TovPcm::filterTable[2][0] != 1.0f)
    return 6;

  const float* const table = TovPcm::filterTable[2];
  resampleOnce(2);
  if (TovPcm::filterTable[2] != table || isBuilt(1) || isBuilt(3))
    return 7;

  resampleOnce(std::numeric_limits<int>::max());
  if (!isBuilt(3) || isBuilt(1) || TovPcm::filterTableLength[3] != 26624)
    return 8;
  return 0;
}

/** A table built by hand is not built again by the first resample(). */
int brokenRuleOfEarlyBuild()
{
  TovPcm::createFilterTable(1);
  const float* const table = TovPcm::filterTable[1];
  TovPcm::filterTable[1][0] = 3.0f;
  resampleOnce(1);
  if (TovPcm::filterTable[1] != table)
    return 1;
  if (TovPcm::filterTable[1][0] != 3.0f)
    return 2;
  return 0;
}

constexpr int kThreads = 8;

/** All threads make the first call of their quality at the same moment; 0 when
 *  every one got the reference's samples and all see one table. */
int firstCallAtOnce(const std::array<int, kThreads>& qualities)
{
  Noise noise(80);
  const std::vector<float> in = noise.samples(400);
  std::array<std::vector<float>, kThreads> outputs;
  std::array<const float*, kThreads> tables{};
  std::barrier start(kThreads);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      outputs[i].resize(100);
      start.arrive_and_wait();
      TovPcm::resample(qualities[i], outputs[i].data(), in.data() + 100, 44100, 48000, 100, 400,
                       0.25f);
      tables[i] = TovPcm::filterTable[qualities[i]];
    });
  }
  for (std::thread& thread : threads)
    thread.join();

  for (std::size_t i = 0; i < kThreads; ++i) {
    const int quality = qualities[i];
    if (support::bits(outputs[i]) !=
        support::bits(reference::resample(quality, in, 100, 44100, 48000, 100, 0.25f)))
      return 1;
    if (tables[i] != TovPcm::filterTable[quality] || tables[i] == nullptr)
      return 2;
  }
  return 0;
}

} // namespace

class LazyFilterTableDeathTest : public testing::Test {
protected:
  LazyFilterTableDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(LazyFilterTableDeathTest, OnlyTheFirstResamplingOfAQualityBuildsItsTable)
{
  EXPECT_EXIT(std::_Exit(brokenRuleOfFirstUse()), testing::ExitedWithCode(0), "");
}

TEST_F(LazyFilterTableDeathTest, ATableThatIsThereIsNotBuiltAgain)
{
  EXPECT_EXIT(std::_Exit(brokenRuleOfEarlyBuild()), testing::ExitedWithCode(0), "");
}

TEST_F(LazyFilterTableDeathTest, EightThreadsMayMakeTheFirstMediumCallAtOnce)
{
  EXPECT_EXIT(std::_Exit(firstCallAtOnce({1, 1, 1, 1, 1, 1, 1, 1})), testing::ExitedWithCode(0),
              "");
}

TEST_F(LazyFilterTableDeathTest, EightThreadsMayMakeTheFirstHighestCallAtOnce)
{
  EXPECT_EXIT(std::_Exit(firstCallAtOnce({3, 3, 3, 3, 3, 3, 3, 3})), testing::ExitedWithCode(0),
              "");
}

TEST_F(LazyFilterTableDeathTest, EightThreadsMayMakeFirstCallsOfSeveralQualitiesAtOnce)
{
  EXPECT_EXIT(std::_Exit(firstCallAtOnce({1, 2, 3, 1, 2, 3, 1, 2})), testing::ExitedWithCode(0),
              "");
}
