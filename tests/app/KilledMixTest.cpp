// `tov mix` killed at random moments of real time: no place of the program is
// left out, the ones between its system calls included.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <regex>
#include <thread>

#include "tests/app/RenderTest.h"

namespace {

using support::Outcome;
using support::Program;
using support::TracedProgram;

class KilledMix : public support::RenderTest {
protected:
  using Seconds = std::chrono::duration<double>;

  KilledMix()
  {
    write("long.wav", support::randomSound(2, 8 * 44100, 44100, 16, 4, 0.4));
    write("long.aiff", support::randomSound(1, 8 * 48000, 48000, 24, 5, 0.4));
  }

  /** What the command takes when nobody disturbs it. */
  Seconds durationOf(const std::vector<std::string>& command) const
  {
    Seconds shortest = Seconds::max();
    for (int i = 0; i < 3; ++i) {
      const auto begin = std::chrono::steady_clock::now();
      succeed(command);
      shortest = std::min<Seconds>(shortest, std::chrono::steady_clock::now() - begin);
    }
    return shortest;
  }

  /** Where the i-th of some points lies, in the length of a run: one in each
   *  part of it, and a little beyond its end. */
  static double placeIn(int i, int points, std::mt19937& random)
  {
    return 1.1 * (i + static_cast<double>(random()) / 4294967296.0) / points;
  }

  /** The names of what killed runs have left, hidden and beside the target. */
  std::vector<std::string> leftovers() const
  {
    static const std::regex kForm(R"(\.out\.wav\.tov-[A-Za-z0-9]{6})");
    static const std::vector<std::string> kOwn = {"a.wav",    "b.aiff",  "long.aiff",
                                                  "long.wav", "old.wav", "out.wav"};
    std::vector<std::string> found;
    for (const std::string& name : names()) {
      if (std::regex_match(name, kForm))
        found.push_back(name);
      else
        EXPECT_TRUE(std::find(kOwn.begin(), kOwn.end(), name) != kOwn.end()) << name;
    }
    return found;
  }

  const std::vector<std::string> longMix = {"mix", "long.wav", "long.aiff", "--start",
                                            "0.5", "-o",       "out.wav",   "--quiet"};
};

TEST_F(KilledMix, AtAnyMomentLeavesTheOldFileOrTheCompleteNewOne)
{
  const int points = std::getenv("TOV_TEST_LONG") ? 200 : 20;
  const double duration = durationOf(longMix).count();
  const std::vector<std::uint8_t> complete = folder.read("out.wav");
  ASSERT_NE(complete, old);
  std::mt19937 random(200);
  int hitWhileWriting = 0;
  for (int i = 0; i < points; ++i) {
    restore();
    const bool hasOldTarget = i % 4 != 3;
    if (!hasOldTarget)
      std::filesystem::remove(folder.path("out.wav"));
    const double delay = duration * placeIn(i, points, random);
    SCOPED_TRACE("killed after " + std::to_string(delay) + " of " + std::to_string(duration) +
                 " s");
    Program program(launch(longMix));
    std::this_thread::sleep_for(Seconds(delay));
    program.send(SIGKILL);
    const Outcome outcome = program.wait();
    const bool wasKilled = outcome.signal == SIGKILL;
    EXPECT_TRUE(wasKilled || outcome.exitCode == 0) << outcome.err;

    const bool isThere = std::filesystem::exists(folder.path("out.wav"));
    const bool isComplete = isThere && folder.read("out.wav") == complete;
    const bool isOld = hasOldTarget ? isThere && folder.read("out.wav") == old : !isThere;
    EXPECT_TRUE(isComplete || (wasKilled && isOld));
    const std::size_t left = leftovers().size();
    EXPECT_LE(left, isComplete ? 0u : 1u);
    hitWhileWriting += left == 1;
  }
  RecordProperty("hitWhileWriting", hitWhileWriting);
  EXPECT_GT(hitWhileWriting, 0);
  // The last one has killed nothing for good.
  restore();
  succeed(longMix);
  EXPECT_TRUE(folder.read("out.wav") == complete);
}

// A temporary file that a killed run has left stays for its owner to delete:
// the next run cannot know that nobody writes to it.  It is neither used nor in
// the way, however many there are.
TEST_F(KilledMix, LeavesAHiddenFileThatTheNextMixDoesNotTouch)
{
  succeed(mix);
  const std::vector<std::uint8_t> complete = folder.read("out.wav");
  restore();
  for (std::size_t i = 1; i <= 3; ++i) {
    TracedProgram program(launch(mix));
    program.runUntil([&] {
      std::uintmax_t bytes = 0;
      for (const std::string& name : leftovers())
        bytes += std::filesystem::file_size(folder.path(name));
      return leftovers().size() == i && bytes >= 50000 * i;
    });
    program.kill();
    EXPECT_TRUE(folder.read("out.wav") == old);
  }
  const std::vector<std::string> left = leftovers();
  ASSERT_EQ(left.size(), 3u);
  std::vector<std::vector<std::uint8_t>> bytes;
  for (const std::string& name : left)
    bytes.push_back(folder.read(name));

  succeed(mix);
  EXPECT_TRUE(folder.read("out.wav") == complete);
  ASSERT_EQ(leftovers(), left);
  for (std::size_t i = 0; i < left.size(); ++i)
    EXPECT_TRUE(folder.read(left[i]) == bytes[i]) << left[i];
}

TEST_F(KilledMix, OntoItsOwnInputLeavesTheInputOrTheCompleteNewOne)
{
  const std::vector<std::string> ownMix = {"mix", "long.wav", "long.aiff", "-o", "long.wav",
                                           "--quiet"};
  const std::vector<std::uint8_t> input = folder.read("long.wav");
  succeed({"mix", "long.wav", "long.aiff", "-o", "out.wav", "--quiet"});
  const std::vector<std::uint8_t> complete = folder.read("out.wav");
  const double duration =
      durationOf({"mix", "long.wav", "long.aiff", "-o", "out.wav", "--quiet"}).count();
  const int points = std::getenv("TOV_TEST_LONG") ? 50 : 5;
  std::mt19937 random(201);
  for (int i = 0; i < points; ++i) {
    folder.write("long.wav", input);
    const double delay = duration * placeIn(i, points, random);
    SCOPED_TRACE("killed after " + std::to_string(delay) + " s");
    Program program(launch(ownMix));
    std::this_thread::sleep_for(Seconds(delay));
    program.send(SIGKILL);
    program.wait();
    const std::vector<std::uint8_t> target = folder.read("long.wav");
    EXPECT_TRUE(target == input || target == complete);
  }
}

} // namespace
