#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "tests/playout/SteppedEngine.h"

namespace {

using support::PlayingEngine;
using support::RecordingSupplier;
using support::SteppedEngine;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

int otherSupplier(void*, double, unsigned long, unsigned long, float**, unsigned char*)
{
  return 0;
}

TEST(Mixer, HasOneOutput)
{
  PeMixer mixer = nullptr;
  for (const int outputs : {-1, 0, 2})
    EXPECT_NE(PeMixerCreate(outputs, &mixer), 0);
  EXPECT_EQ(mixer, nullptr);
  ASSERT_EQ(PeMixerCreate(1, &mixer), 0);
  ASSERT_NE(mixer, nullptr);
  EXPECT_EQ(PeMixerDestroy(mixer), 0);
}

TEST(Mixer, NullHandlesAndOutputsAreRefused)
{
  EXPECT_NE(PeMixerCreate(1, nullptr), 0);
  EXPECT_NE(PeMixerDestroy(nullptr), 0);
  EXPECT_NE(PeMixerReset(nullptr), 0);

  SteppedEngine engine;
  PeTransport transport = nullptr;
  PeModule module = nullptr;
  PeTrack track = nullptr;
  EXPECT_NE(PeMixerGetTransport(nullptr, &transport), 0);
  EXPECT_NE(PeMixerGetTransport(engine.mixer, nullptr), 0);
  EXPECT_NE(PeMixerGetOverallLevelModule(nullptr, &module), 0);
  EXPECT_NE(PeMixerGetOverallLevelModule(engine.mixer, nullptr), 0);
  const PeAudioSupplierUPP upp = RecordingSupplier::upp();
  EXPECT_NE(PeMixerCreateTrack(nullptr, upp, nullptr, 2, 44100, 0, 0, 0, &track), 0);
  EXPECT_NE(PeMixerCreateTrack(engine.mixer, nullptr, nullptr, 2, 44100, 0, 0, 0, &track), 0);
  EXPECT_NE(PeMixerCreateTrack(engine.mixer, upp, nullptr, 2, 44100, 0, 0, 0, nullptr), 0);
  EXPECT_EQ(transport, nullptr);
  EXPECT_EQ(module, nullptr);
  EXPECT_EQ(track, nullptr);
  EXPECT_TRUE(engine.devices.empty());
}

TEST(Transport, NullHandlesAndOutputsAreRefused)
{
  PlayingEngine engine;
  double time = 3.0;
  unsigned char playing = 3;
  EXPECT_NE(PeTransportStart(nullptr), 0);
  EXPECT_NE(PeTransportStop(nullptr), 0);
  EXPECT_NE(PeTransportSetStartTime(nullptr, 0.0), 0);
  EXPECT_NE(PeTransportGetCurrentTime(nullptr, &time), 0);
  EXPECT_NE(PeTransportGetCurrentTime(engine.transport, nullptr), 0);
  EXPECT_NE(PeTransportIsPlaying(nullptr, &playing), 0);
  EXPECT_NE(PeTransportIsPlaying(engine.transport, nullptr), 0);
  EXPECT_EQ(time, 3.0);
  EXPECT_EQ(playing, 3);
}

TEST(LevelModule, NullHandlesAndOutputsAreRefused)
{
  PlayingEngine engine;
  int count = 9;
  PeParameter parameter = nullptr;
  float a = 9.0f;
  float b = 9.0f;
  EXPECT_NE(PeModuleCountParameters(nullptr, &count), 0);
  EXPECT_NE(PeModuleCountParameters(engine.level, nullptr), 0);
  EXPECT_NE(PeModuleGetIndexedParameter(nullptr, 0, &parameter), 0);
  EXPECT_NE(PeModuleGetIndexedParameter(engine.level, 0, nullptr), 0);
  EXPECT_NE(PeModuleEnableMetering(nullptr), 0);
  EXPECT_NE(PeModuleGetPastMeterValues(nullptr, 0, 0, &count, &a), 0);
  EXPECT_NE(PeModuleGetPastMeterValues(engine.level, 0, 0, nullptr, &a), 0);
  EXPECT_NE(PeModuleGetPastMeterValues(engine.level, 0, 0, &count, nullptr), 0);
  EXPECT_NE(PeParameterGetRangeInfo(nullptr, &a, &b, nullptr, nullptr), 0);
  EXPECT_NE(PeParameterGetRangeInfo(engine.volume, nullptr, &b, nullptr, nullptr), 0);
  EXPECT_NE(PeParameterGetRangeInfo(engine.volume, &a, nullptr, nullptr, nullptr), 0);
  EXPECT_NE(PeParameterGetCurrentValue(nullptr, &a), 0);
  EXPECT_NE(PeParameterGetCurrentValue(engine.volume, nullptr), 0);
  EXPECT_NE(PeParameterSetCurrentValue(nullptr, 1.0f), 0);
  EXPECT_EQ(count, 9);
  EXPECT_EQ(parameter, nullptr);
  EXPECT_EQ(a, 9.0f);
  EXPECT_EQ(b, 9.0f);
}

TEST(LevelModule, HasTheVolumeAsItsOnlyParameter)
{
  SteppedEngine engine;
  int count = 0;
  ASSERT_EQ(PeModuleCountParameters(engine.level, &count), 0);
  EXPECT_EQ(count, 1);
  PeParameter parameter = nullptr;
  EXPECT_NE(PeModuleGetIndexedParameter(engine.level, 1, &parameter), 0);
  EXPECT_NE(PeModuleGetIndexedParameter(engine.level, -1, &parameter), 0);
  EXPECT_EQ(parameter, nullptr);

  float minimum = 9.0f;
  float maximum = 9.0f;
  float usual = 9.0f;
  float step = 9.0f;
  ASSERT_EQ(PeParameterGetRangeInfo(engine.volume, &minimum, &maximum, &usual, &step), 0);
  EXPECT_EQ(minimum, 0.0f);
  EXPECT_EQ(maximum, 1.0f);
  EXPECT_EQ(usual, 1.0f);
  EXPECT_EQ(step, 0.0f);
  EXPECT_EQ(PeParameterGetRangeInfo(engine.volume, &minimum, &maximum, nullptr, nullptr), 0);
}

TEST(LevelModule, ValuesOutOfRangeAreRefused)
{
  SteppedEngine engine;
  float value = 9.0f;
  ASSERT_EQ(PeParameterGetCurrentValue(engine.volume, &value), 0);
  EXPECT_EQ(value, 1.0f);
  ASSERT_EQ(PeParameterSetCurrentValue(engine.volume, 0.25f), 0);
  for (const float refused : {-0.001f, 1.001f, std::nanf(""), HUGE_VALF, -HUGE_VALF})
    EXPECT_NE(PeParameterSetCurrentValue(engine.volume, refused), 0);
  ASSERT_EQ(PeParameterGetCurrentValue(engine.volume, &value), 0);
  EXPECT_EQ(value, 0.25f);
  for (const float taken : {0.0f, 1.0f})
    EXPECT_EQ(PeParameterSetCurrentValue(engine.volume, taken), 0);
}

TEST(Supplier, TheSameFunctionGivesTheSameWrapper)
{
  PeAudioSupplierUPP first = nullptr;
  PeAudioSupplierUPP again = nullptr;
  PeAudioSupplierUPP other = nullptr;
  ASSERT_EQ(NewPeAudioSupplierUPP(&RecordingSupplier::supply, &first), 0);
  ASSERT_EQ(NewPeAudioSupplierUPP(&otherSupplier, &other), 0);
  ASSERT_EQ(NewPeAudioSupplierUPP(&RecordingSupplier::supply, &again), 0);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(first, again);
  EXPECT_NE(first, other);
}

TEST(Supplier, WithoutAFunctionOrAnOutputIsRefused)
{
  PeAudioSupplierUPP wrapper = nullptr;
  EXPECT_NE(NewPeAudioSupplierUPP(nullptr, &wrapper), 0);
  EXPECT_NE(NewPeAudioSupplierUPP(&otherSupplier, nullptr), 0);
  EXPECT_EQ(wrapper, nullptr);
}

struct TrackArguments {
  int channels;
  double rate;
  int reserved1 = 0;
  int reserved2 = 0;
  int reserved3 = 0;
};

int createTrack(SteppedEngine& engine, const TrackArguments& arguments)
{
  return PeMixerCreateTrack(engine.mixer, RecordingSupplier::upp(), &engine.supplier,
                            arguments.channels, arguments.rate, arguments.reserved1,
                            arguments.reserved2, arguments.reserved3, &engine.track);
}

TEST(Track, ArgumentsOutOfRangeAreRefused)
{
  SteppedEngine engine;
  for (const TrackArguments& refused :
       {TrackArguments{0, 44100}, TrackArguments{-1, 44100}, TrackArguments{9, 44100},
        TrackArguments{2, 999.9}, TrackArguments{2, 192000.1}, TrackArguments{2, -44100},
        TrackArguments{2, std::nan("")}, TrackArguments{2, kInfinity},
        TrackArguments{2, 44100, 1}, TrackArguments{2, 44100, 0, 1},
        TrackArguments{2, 44100, 0, 0, -1}})
    EXPECT_NE(createTrack(engine, refused), 0);
  EXPECT_EQ(engine.track, nullptr);
  EXPECT_TRUE(engine.made.empty());
  EXPECT_EQ(createTrack(engine, {2, 44100}), 0); // nothing of the refused ones is left
}

TEST(Track, ArgumentsInRangeReachTheDevice)
{
  for (const TrackArguments& taken :
       {TrackArguments{1, 1000}, TrackArguments{8, 192000}, TrackArguments{2, 44056.5}}) {
    SteppedEngine engine(taken.channels);
    ASSERT_EQ(createTrack(engine, taken), 0);
    EXPECT_NE(engine.track, nullptr);
    EXPECT_EQ(engine.device().channels, taken.channels);
    EXPECT_EQ(engine.device().rate, taken.rate);
  }
}

TEST(Track, ThereIsOnlyOne)
{
  PlayingEngine engine;
  const PeTrack first = engine.track;
  engine.track = nullptr;
  EXPECT_NE(engine.createTrack(), 0);
  EXPECT_EQ(engine.track, nullptr);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(engine.devices.size(), 1u);
}

TEST(Track, WithoutOneTheTransportDoesNotStart)
{
  SteppedEngine engine;
  ASSERT_EQ(PeTransportSetStartTime(engine.transport, 12.0), 0);
  EXPECT_NE(PeTransportStart(engine.transport), 0);
  EXPECT_FALSE(engine.isPlaying());
  EXPECT_EQ(engine.time(), 12.0);
  EXPECT_EQ(PeTransportStop(engine.transport), 0);
  EXPECT_EQ(PeMixerReset(engine.mixer), 0);
  EXPECT_TRUE(engine.levels(0, 1).empty());
}

TEST(Transport, StartTimesThatAreNotFiniteAreRefused)
{
  PlayingEngine engine;
  ASSERT_EQ(PeTransportSetStartTime(engine.transport, -7.5), 0);
  for (const double refused : {std::nan(""), kInfinity, -kInfinity})
    EXPECT_NE(PeTransportSetStartTime(engine.transport, refused), 0);
  ASSERT_EQ(PeTransportStart(engine.transport), 0);
  EXPECT_EQ(engine.time(), -7.5);
}

} // namespace
