#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "tests/core/AllocationCounter.h"
#include "tests/playout/SteppedEngine.h"

namespace {

using support::DeviceVariable;
using support::FailingAllocation;

int silentSupplier(void* calls, double, unsigned long, unsigned long, float**, unsigned char* flag)
{
  *flag = 1;
  static_cast<std::atomic<int>*>(calls)->fetch_add(1);
  return 0;
}

int neverWrappedBefore(void*, double, unsigned long, unsigned long, float**, unsigned char*)
{
  return 0;
}

/** Each step only where the one before succeeded and it is not done yet. */
int createAndStart(PeMixer& mixer, PeTrack& track, PeAudioSupplierUPP supplier,
                   std::atomic<int>& calls)
{
  PeTransport transport = nullptr;
  int status = mixer ? 0 : PeMixerCreate(1, &mixer);
  if (status == 0 && !track)
    status = PeMixerCreateTrack(mixer, supplier, &calls, 2, 8000, 0, 0, 0, &track);
  if (status == 0)
    status = PeMixerGetTransport(mixer, &transport);
  return status == 0 ? PeTransportStart(transport) : status;
}

TEST(AllocationFailure, IsAFailureThatLeavesTheEngineUsable)
{
  const DeviceVariable variable("null");
  PeAudioSupplierUPP supplier = nullptr;
  ASSERT_EQ(NewPeAudioSupplierUPP(&silentSupplier, &supplier), 0);
  bool hasFailed = true;
  int failures = 0;
  for (long long successes = 0; hasFailed; ++successes) {
    PeMixer mixer = nullptr;
    PeTrack track = nullptr;
    std::atomic<int> calls = 0;
    int status = 0;
    {
      const FailingAllocation failing(successes);
      status = createAndStart(mixer, track, supplier, calls);
      hasFailed = failing.happened();
    }
    failures += status != 0;
    ASSERT_TRUE(hasFailed || status == 0);
    ASSERT_EQ(createAndStart(mixer, track, supplier, calls), 0) << successes;
    PeTransport transport = nullptr;
    ASSERT_EQ(PeMixerGetTransport(mixer, &transport), 0);
    unsigned char playing = 0;
    ASSERT_EQ(PeTransportIsPlaying(transport, &playing), 0);
    EXPECT_EQ(playing, 1);
    while (calls == 0) // it does play
      std::this_thread::yield();
    ASSERT_EQ(PeMixerDestroy(mixer), 0);
  }
  EXPECT_GE(failures, 5); // the mixer, the track, its buffers, the meters, the device
}

TEST(AllocationFailure, OfAWrapperIsAFailure)
{
  PeAudioSupplierUPP supplier = nullptr;
  {
    const FailingAllocation failing(0);
    EXPECT_NE(NewPeAudioSupplierUPP(&neverWrappedBefore, &supplier), 0);
  }
  EXPECT_EQ(supplier, nullptr);
  EXPECT_EQ(NewPeAudioSupplierUPP(&neverWrappedBefore, &supplier), 0);
  EXPECT_NE(supplier, nullptr);
}

} // namespace
