// SIGINT, SIGTERM and SIGKILL at known places of a render.
#include <csignal>

#include "tests/app/RenderTest.h"

namespace {

using support::Launch;
using support::Outcome;
using support::TracedProgram;

class Interrupted : public support::RenderTest {
protected:
  /** Interrupts the command once this much of the temporary file is there. */
  Outcome interruptedAt(const std::vector<std::string>& command, std::uintmax_t bytes,
                        int signal) const
  {
    TracedProgram program(launch(command));
    program.runUntil([&] { return temporarySize() >= bytes; });
    return program.release(signal);
  }

  /** System calls of a whole run, before and since the temporary file. */
  struct Calls {
    long before = 0;
    long since = 0;
  };

  Calls callsOf(const std::vector<std::string>& command) const
  {
    Calls calls;
    TracedProgram program(launch(command));
    while (program.toNextCall()) {
      const bool hasBegun = calls.since > 0 || !temporary().empty();
      ++(hasBegun ? calls.since : calls.before);
    }
    EXPECT_EQ(program.finish().exitCode, 0);
    return calls;
  }
};

TEST_F(Interrupted, ByCtrlCExitsWith130AndLeavesTheOldTarget)
{
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    for (const std::vector<std::string>& command : {mix, conversion}) {
      for (const std::uintmax_t bytes : {1u, 50000u, 150000u}) {
        SCOPED_TRACE(command[0] + ", signal " + std::to_string(signal) + ", " +
                     std::to_string(bytes) + " bytes");
        const Outcome outcome = interruptedAt(command, bytes, signal);
        EXPECT_EQ(outcome.exitCode, 130);
        EXPECT_EQ(outcome.out, "");
        expectOldTargetAndNoTemporary();
      }
    }
  }
}

TEST_F(Interrupted, ByCtrlCWithoutAnOldTargetLeavesNone)
{
  std::filesystem::remove(folder.path("out.wav"));
  const std::vector<std::string> before = names();
  EXPECT_EQ(interruptedAt(mix, 50000, SIGINT).exitCode, 130);
  EXPECT_EQ(names(), before);
}

// An interruption that comes too late may let the render finish.
TEST_F(Interrupted, AtAnyMomentIsEitherCleanOrComplete)
{
  const Calls calls = callsOf(mix);
  const std::vector<std::uint8_t> complete = folder.read("out.wav");
  ASSERT_GT(calls.since, 20);
  std::mt19937 random(20);
  int interruptions = 0;
  for (int i = 0; i < 20; ++i) {
    restore();
    const long call = calls.before + static_cast<long>(random()) % calls.since;
    SCOPED_TRACE("call " + std::to_string(call));
    TracedProgram program(launch(mix));
    for (long passed = 0; passed < call && program.toNextCall(); ++passed) {
    }
    const Outcome outcome = program.release(SIGINT);
    if (outcome.exitCode == 0) {
      EXPECT_TRUE(folder.read("out.wav") == complete);
      EXPECT_EQ(temporary(), "");
    } else {
      EXPECT_EQ(outcome.exitCode, 130);
      expectOldTargetAndNoTemporary();
      ++interruptions;
    }
  }
  EXPECT_GT(interruptions, 10);
}

TEST_F(Interrupted, BySigkillLeavesTheOldFileOrTheCompleteNewOne)
{
  const Calls calls = callsOf(mix);
  const std::vector<std::uint8_t> complete = folder.read("out.wav");
  ASSERT_NE(complete, old);
  std::mt19937 random(40);
  std::vector<long> places;
  for (int i = 0; i < 40; ++i)
    places.push_back(calls.before + static_cast<long>(random()) % calls.since);
  // The end, where the target is replaced, call by call.
  for (long call = calls.before + calls.since - 14; call <= calls.before + calls.since; ++call)
    places.push_back(call);
  int oldOnes = 0;
  int newOnes = 0;
  for (const long place : places) {
    SCOPED_TRACE("call " + std::to_string(place));
    restore();
    TracedProgram program(launch(mix));
    for (long passed = 0; passed < place && program.toNextCall(); ++passed) {
    }
    program.kill();
    const std::vector<std::uint8_t> target = folder.read("out.wav");
    EXPECT_TRUE(target == old || target == complete);
    ++(target == old ? oldOnes : newOnes);
    // A killed program cannot tidy up, but what it leaves is hidden and does
    // not keep the next run from its work.
    for (const std::string& name : names())
      EXPECT_TRUE(name[0] == '.' || name == "a.wav" || name == "b.aiff" || name == "old.wav" ||
                  name == "out.wav")
          << name;
  }
  EXPECT_GT(oldOnes, 20);
  EXPECT_GT(newOnes, 0);
  succeed(mix);
  EXPECT_TRUE(folder.read("out.wav") == complete);
}

TEST_F(Interrupted, BySigkillWithoutAnOldTargetLeavesNoneOrTheCompleteOne)
{
  const Calls calls = callsOf(conversion);
  const std::vector<std::uint8_t> complete = folder.read("out.wav");
  std::mt19937 random(41);
  for (int i = 0; i < 10; ++i) {
    restore();
    std::filesystem::remove(folder.path("out.wav"));
    TracedProgram program(launch(conversion));
    const long place = calls.before + static_cast<long>(random()) % calls.since;
    for (long passed = 0; passed < place && program.toNextCall(); ++passed) {
    }
    program.kill();
    EXPECT_TRUE(!std::filesystem::exists(folder.path("out.wav")) ||
                folder.read("out.wav") == complete);
  }
}

} // namespace
