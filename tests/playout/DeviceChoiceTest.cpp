#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/playout/SteppedEngine.h"
#include "tests/support/Messages.h"

namespace {

using support::DeviceVariable;
using support::Messages;
using support::SteppedEngine;
using Names = std::vector<std::string>;
using State = PlayoutDevice::State;

const Names kNoMessage;
const Names kWarning{"W PlayoutEngine: No audio output could be opened, playing in silence\n"};

void endDevice(SteppedEngine& engine)
{
  engine.stop();
  engine.device().pull(44100);
}

TEST(DeviceChoice, IsTheOutputWhereThereIsOne)
{
  for (const char* const value : {static_cast<const char*>(nullptr), "", "auto", "cubeb"}) {
    const DeviceVariable variable(value);
    Messages messages;
    SteppedEngine engine;
    EXPECT_EQ(engine.createTrack(), 0);
    engine.start(0);
    EXPECT_EQ(engine.made, (Names{"output"}));
    EXPECT_EQ(messages.take(), kNoMessage);
  }
}

TEST(DeviceChoice, IsSilenceWhereThatIsAskedFor)
{
  const DeviceVariable variable("null");
  Messages messages;
  SteppedEngine engine;
  EXPECT_EQ(engine.createTrack(), 0);
  engine.start(0);
  endDevice(engine);
  engine.start(0);
  EXPECT_EQ(engine.made, (Names{"silence", "silence"}));
  EXPECT_EQ(messages.take(), kNoMessage);
}

TEST(DeviceChoice, AnyOtherTextIsRefusedWithAMessage)
{
  for (const char* const value : {"Null", "alsa", "auto ", "%s%n"}) {
    const DeviceVariable variable(value);
    Messages messages;
    SteppedEngine engine;
    EXPECT_NE(engine.createTrack(), 0);
    EXPECT_EQ(engine.track, nullptr);
    EXPECT_TRUE(engine.made.empty());
    EXPECT_EQ(messages.take(), (Names{"E PlayoutEngine: PLAYOUT_DEVICE is '" + std::string(value) +
                                      "', not auto, cubeb or null\n"}));
  }
}

TEST(DeviceChoice, AnOutputThatIsAskedForAndCannotBeHadIsAFailure)
{
  const DeviceVariable variable("cubeb");
  for (const bool built : {false, true}) {
    Messages messages;
    SteppedEngine engine;
    engine.outputIsBuilt = built;
    engine.outputOpens = false;
    EXPECT_NE(engine.createTrack(), 0);
    EXPECT_EQ(engine.track, nullptr);
    EXPECT_NE(PeTransportStart(engine.transport), 0);
    EXPECT_EQ(engine.made, (Names{"output"}));
    EXPECT_EQ(messages.take(), kNoMessage);
    engine.outputIsBuilt = engine.outputOpens = true;
    EXPECT_EQ(engine.createTrack(), 0); // the refused one has left nothing
  }
}

TEST(DeviceChoice, FallsBackToSilenceWithAWarning)
{
  for (const bool built : {false, true}) {
    Messages messages;
    SteppedEngine engine;
    engine.outputIsBuilt = built;
    engine.outputOpens = false;
    EXPECT_EQ(engine.createTrack(), 0);
    EXPECT_EQ(engine.made, (Names{"output", "silence"}));
    EXPECT_EQ(messages.take(), kWarning);
    engine.start(0);
    EXPECT_TRUE(engine.isPlaying());
    EXPECT_EQ(engine.device().pull(10), engine.supplier.heard(0, 10));
    EXPECT_EQ(messages.take(), kNoMessage);
  }
}

TEST(DeviceChoice, WithNeitherItIsAFailure)
{
  Messages messages;
  SteppedEngine engine;
  engine.outputOpens = engine.silenceOpens = false;
  EXPECT_NE(engine.createTrack(), 0);
  EXPECT_EQ(messages.take(), kNoMessage);
}

TEST(DeviceChoice, TheOutputIsTriedAgainBeforeSilenceIsStarted)
{
  Messages messages;
  SteppedEngine engine;
  engine.outputOpens = false;
  ASSERT_EQ(engine.createTrack(), 0);
  for (int run = 0; run < 3; ++run) {
    engine.made.clear();
    engine.start(0);
    EXPECT_EQ(engine.made, (Names{"output", "silence"}));
    EXPECT_TRUE(engine.isPlaying());
    endDevice(engine);
  }
  EXPECT_EQ(messages.take(), kWarning); // once for all of them
  engine.made.clear();
  engine.outputOpens = true;
  engine.start(0);
  EXPECT_EQ(engine.made, (Names{"output"}));
}

TEST(DeviceChoice, TheOutputIsTriedAgainWhileSilenceStillRuns)
{
  SteppedEngine engine;
  Messages messages;
  engine.outputOpens = false;
  ASSERT_EQ(engine.createTrack(), 0);
  engine.start(0);
  engine.made.clear();
  engine.stop();
  engine.outputOpens = true;
  engine.start(0);
  EXPECT_EQ(engine.made, (Names{"output"}));
  EXPECT_TRUE(engine.isPlaying());
}

TEST(DeviceChoice, WarnsAgainAfterTheOutputHasWorked)
{
  Messages messages;
  SteppedEngine engine;
  engine.outputOpens = false;
  ASSERT_EQ(engine.createTrack(), 0);
  EXPECT_EQ(messages.take(), kWarning);
  engine.outputOpens = true;
  engine.start(0);
  engine.outputOpens = false;
  engine.device().state = State::lost;
  engine.start(0);
  EXPECT_TRUE(engine.isPlaying());
  EXPECT_EQ(messages.take(), kWarning);
  engine.device().state = State::lost;
  engine.start(0);
  EXPECT_EQ(messages.take(), kNoMessage);
}

TEST(DeviceChoice, AnOutputThatOpensButDoesNotStartHasNotWorked)
{
  Messages messages;
  SteppedEngine engine;
  engine.outputStarts = false;
  ASSERT_EQ(engine.createTrack(), 0);
  EXPECT_EQ(messages.take(), kNoMessage);
  engine.start(0);
  EXPECT_TRUE(engine.isPlaying());
  EXPECT_EQ(engine.made.back(), "silence");
  EXPECT_EQ(messages.take(), kWarning);
  endDevice(engine);
  engine.start(0);
  EXPECT_EQ(messages.take(), kNoMessage);
  EXPECT_EQ(engine.device().pull(10), engine.supplier.heard(0, 10));
}

TEST(DeviceChoice, OnlyOneDeviceIsOpenAtATime)
{
  Messages messages;
  SteppedEngine engine;
  engine.outputStarts = false;
  ASSERT_EQ(engine.createTrack(), 0);
  engine.start(0);
  endDevice(engine);
  engine.start(0);
  int open = 0;
  for (const auto& device : engine.devices)
    open += device->state != State::closed;
  EXPECT_EQ(open, 1);
  engine.destroy();
  for (const auto& device : engine.devices)
    EXPECT_EQ(device->state, State::closed);
}

TEST(DeviceChoice, IsMadeWithTheTrack)
{
  SteppedEngine engine;
  {
    const DeviceVariable variable("null");
    ASSERT_EQ(engine.createTrack(), 0);
  }
  engine.start(0);
  endDevice(engine);
  engine.start(0);
  EXPECT_EQ(engine.made, (Names{"silence", "silence"}));
}

} // namespace
