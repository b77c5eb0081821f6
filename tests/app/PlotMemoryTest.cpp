// A picture needs the same memory however long the sound is.
#include <filesystem>

#include "tests/app/PlotTest.h"
#include "tests/app/TracedProgram.h"

namespace {

using support::TracedProgram;

class PlotMemory : public support::PlotTest {
protected:
  static constexpr int kRate = 11025;

  /** A silent file, whose samples are a hole. */
  void writeLong(const std::string& name, long long seconds) const
  {
    const unsigned int bytes = static_cast<unsigned int>(seconds * kRate * 4);
    std::vector<std::uint8_t> file = support::wavFile(2, kRate, 16, {}).data();
    for (unsigned int i = 0; i < 4; ++i)
      file[40 + i] = static_cast<std::uint8_t>(bytes >> (8 * i));
    folder.write(name, file);
    std::filesystem::resize_file(folder.path(name), 44 + bytes);
  }

  static bool isSanitized()
  {
#if defined(__SANITIZE_ADDRESS__)
    return true;
#elif defined(__has_feature)
#  if __has_feature(address_sanitizer)
    return true;
#  else
    return false;
#  endif
#else
    return false;
#endif
  }

  /** Kilobytes. */
  long peakOf(const std::vector<std::string>& command) const
  {
    TracedProgram program(launch(command));
    EXPECT_EQ(program.finish().exitCode, 0);
    return program.peakMemory();
  }
};

// The longer file has 26 MB, its samples as floats 53 MB.
TEST_F(PlotMemory, DoesNotGrowWithTheLength)
{
  writeLong("short.wav", 60);
  writeLong("long.wav", 600);
  for (std::vector<std::string> command :
       {std::vector<std::string>{"plot", "short.wav", "-o", "out.png"},
        {"plot", "short.wav", "short.wav", "--start", "5", "-o", "out.png"},
        {"plot", "short.wav", "--data", "--samples-per-pixel", "100000", "-o", "out.json"}}) {
    const long shortPeak = peakOf(command);
    for (std::string& argument : command) {
      if (argument == "short.wav")
        argument = "long.wav";
    }
    const long longPeak = peakOf(command);
    EXPECT_GT(shortPeak, 1000);
    EXPECT_LT(longPeak, shortPeak + 8192); // sanitizers take some
  }
}

// The picture itself has 2.7 MB.
TEST_F(PlotMemory, OfTheProgramStaysBelow32MiBBesideThePicture)
{
  writeLong("long.wav", 600);
  if (isSanitized()) {
    // Shadow memory counts too; what the program itself needs cannot be seen.
    EXPECT_LT(peakOf({"plot", "long.wav", "-o", "out.png"}), 32 * 1024 * 16);
    return;
  }
  EXPECT_LT(peakOf({"plot", "long.wav", "-o", "out.png"}), 32 * 1024);
  EXPECT_LT(peakOf({"plot", "long.wav", "long.wav", "-o", "out.png"}), 32 * 1024);
}
} // namespace
