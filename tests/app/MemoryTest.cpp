// A render needs the same memory however long it is.
#include <filesystem>

#include "tests/app/Tov.h"
#include "tests/app/TracedProgram.h"

namespace {

using support::TracedProgram;

class Memory : public support::TovTest {
protected:
  static constexpr int kRate = 11025;

  /** A silent file, whose samples are a hole. */
  void writeLong(const std::string& name, long long seconds) const
  {
    const unsigned int bytes = static_cast<unsigned int>(seconds * kRate * 4);
    support::Bytes header = support::wavFile(2, kRate, 16, {});
    std::vector<std::uint8_t> file = header.data();
    for (unsigned int i = 0; i < 4; ++i)
      file[40 + i] = static_cast<std::uint8_t>(bytes >> (8 * i));
    folder.write(name, file);
    std::filesystem::resize_file(folder.path(name), 44 + bytes);
  }

  /** Kilobytes. */
  long peakOf(const std::vector<std::string>& command) const
  {
    TracedProgram program(launch(command));
    EXPECT_EQ(program.finish().exitCode, 0);
    return program.peakMemory();
  }
};

// The longer file has 26 MB, its samples as floats 53 MB, the shortest output 13.
TEST_F(Memory, OfARenderDoesNotGrowWithItsLength)
{
  writeLong("short.wav", 60);
  writeLong("long.wav", 600);
  const auto expectLittleGrowth = [this](std::vector<std::string> command) {
    const long shortPeak = peakOf(command);
    for (std::string& argument : command) {
      if (argument == "short.wav")
        argument = "long.wav";
    }
    const long longPeak = peakOf(command);
    EXPECT_GT(shortPeak, 1000);
    EXPECT_LT(longPeak, shortPeak + 8192) << command[0]; // sanitizers take some
  };
  expectLittleGrowth({"mix", "short.wav", "--bits", "8", "-o", "out.wav"});
  expectLittleGrowth({"mix", "short.wav", "short.wav", "--rate", "12000", "--quality", "medium",
                      "--bits", "8", "--dither", "-o", "out.aiff"});
  expectLittleGrowth({"convert", "short.wav", "out.wav", "--bits", "8"});
  expectLittleGrowth({"convert", "short.wav", "out.wav", "--rate", "12000", "--quality", "medium"});
  expectLittleGrowth({"info", "short.wav"});
}

// What pictures and other people's formats take is loaded with them: it would
// double the memory of every mix.  The system's loader tells what it loads.
TEST_F(Memory, HoldsNoLibraryThatTheCommandDoesNotTake)
{
  writeLong("short.wav", 1);
  support::Launch mix = launch({"mix", "short.wav", "-o", "out.wav"});
  mix.settings.emplace_back("LD_DEBUG=files");
  const support::Outcome outcome = support::run(mix);
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_TRUE(support::holds(outcome.err, "libc.so"));
  for (const char* const library : {"libcairo", "libsndfile", "libFLAC"})
    EXPECT_FALSE(support::holds(outcome.err, library)) << library;
}

} // namespace
