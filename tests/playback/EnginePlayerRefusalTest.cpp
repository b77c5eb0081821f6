// What the engine-backed player refuses, and a supplier call without a flag.

#include <vector>

#include "tests/playback/EnginePlayerTest.h"

namespace {

using support::EnginePlayerTest;

class EnginePlayerRefusalTest : public EnginePlayerTest {
protected:
  EnginePlayerRefusalTest() { make(); }
};

TEST_F(EnginePlayerRefusalTest, LevelsWithoutAKeyOrAPlaceAreRefused)
{
  int key = 0;
  float levels[2] = {7.0f, 7.0f};
  EXPECT_NE(0, player->getLevels(levels, nullptr));
  EXPECT_NE(0, player->getLevels(nullptr, &key));
  EXPECT_EQ(7.0f, levels[0]);
  EXPECT_EQ(7.0f, levels[1]);
  EXPECT_EQ(0, player->getLevels(levels, &key));
}

TEST_F(EnginePlayerRefusalTest, AVolumeWithoutARangeCannotBeHadNorSet)
{
  engine.minimum = engine.maximum = 3.0f;
  engine.value = 3.0f;
  float volume = 7.0f;
  EXPECT_NE(0, player->getVolume(&volume));
  EXPECT_EQ(7.0f, volume);
  EXPECT_NE(0, player->setVolume(0.5f));
  EXPECT_EQ(3.0f, engine.value);
}

TEST_F(EnginePlayerRefusalTest, ASupplierCallNeedsNoFlag)
{
  std::vector<float> left(64, 0.5f);
  std::vector<float> right(64, 0.5f);
  EXPECT_EQ(0, engine.pull(64, left.data(), right.data(), nullptr));
  EXPECT_EQ(std::vector<float>(64, 0.0f), left);
  EXPECT_EQ(std::vector<float>(64, 0.0f), right);
}

} // namespace
