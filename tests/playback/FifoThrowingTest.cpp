// Providers that throw where nothing else ever does: when they are asked for
// indices, and when they are deactivated.

#include <memory>
#include <stdexcept>

#include "tests/playback/FifoTest.h"

namespace {

using support::FifoTest;
using support::IndexedProvider;
using support::SteppedHost;

class Throwing : public IndexedProvider {
public:
  bool isIndexThrown = false;
  bool isDeactivationThrown = false;

  long long getSampleIndex(const TovAudioContext& context, double time) const override
  {
    if (isIndexThrown)
      throw std::runtime_error("no index");
    return IndexedProvider::getSampleIndex(context, time);
  }

  int deactivate() override
  {
    IndexedProvider::deactivate();
    if (isDeactivationThrown)
      throw std::runtime_error("still at work");
    return 0;
  }

protected:
  ~Throwing() override = default;
};

class FifoThrowingTest : public FifoTest {
protected:
  FifoThrowingTest()
  {
    fifo = nullptr;
    fifo = std::make_unique<TovAudioFIFO>(throwing.get());
    SteppedHost::settle();
  }
  ~FifoThrowingTest() override { fifo = nullptr; }

  support::Owned<Throwing> throwing = support::make<Throwing>();
};

TEST_F(FifoThrowingTest, AnIndexThatThrowsIsTriedAgain)
{
  throwing->isIndexThrown = true;
  span(0, 10);
  span(20, 30, true);
  for (int i = 0; i < 8; ++i)
    EXPECT_EQ(0.005, SteppedHost::step());
  EXPECT_EQ(0, throwing->requestCount());
  EXPECT_TRUE(fill(10).empty());
  throwing->isIndexThrown = false;
  SteppedHost::step();
  EXPECT_EQ(joined(frames(0, 10), frames(20, 30)), fill(20));
}

TEST_F(FifoThrowingTest, ADeactivationThatThrowsCountsAsFailing)
{
  throwing->isDeactivationThrown = true;
  span(0, 10);
  for (int i = 0; i < 8; ++i)
    EXPECT_EQ(0.005, SteppedHost::step());
  EXPECT_EQ(8, throwing->requestCount());
  EXPECT_EQ(8, throwing->deactivations());
  EXPECT_TRUE(fill(10).empty());
  throwing->isDeactivationThrown = false;
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
}

} // namespace
