// 32-bit WAV, which is the library's own form.
#include <algorithm>
#include <bit>
#include <cmath>
#include <filesystem>
#include <limits>

#include "tests/app/Tov.h"

namespace {

using support::Bytes;
using support::holds;
using support::IntegerSound;
using support::Outcome;

class ScaledFloat : public support::TovTest {
protected:
  /** A mono file whose stored floats, apart from those given, are 1/4 of full
   *  scale. */
  void writeFloats(const std::string& name, const std::vector<float>& samples,
                   unsigned int bits = 32) const
  {
    Bytes bytes;
    for (std::size_t i = 0; i < 48000; ++i) {
      const float sample = i < samples.size() ? samples[i] : 0.25f;
      bytes.u32le(std::bit_cast<std::uint32_t>(sample * 32768.0f));
    }
    folder.write(name, support::wavFile(1, 48000, bits, bytes));
  }

  static constexpr const char* kReadingNote =
      "is read as floating point with full scale at 32768, not as integers";
};

TEST_F(ScaledFloat, IsWarnedOfWhenWrittenAndAiffIsSuggested)
{
  write("a.wav", support::constantSound(1, 48000, 48000, 16, 8192));
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"mix", "a.wav", "--bits", "32", "-o", "out.wav"},
        {"convert", "a.wav", "out.wav", "--bits", "32"}}) {
    const Outcome outcome = succeed(command);
    EXPECT_TRUE(holds(outcome.err, "out.wav: 32-bit WAV is written as floating point"));
    EXPECT_TRUE(holds(outcome.err, "which other programs hear as noise"));
    EXPECT_TRUE(holds(outcome.err, "AIFF"));
    const IntegerSound out = read("out.wav");
    EXPECT_EQ(out.bits, 32);
    EXPECT_EQ(std::bit_cast<float>(out.channels[0][24000]), 8192.0f);
    // 32-bit AIFF is nothing to be warned of.
    std::vector<std::string> aiff = command;
    for (std::string& argument : aiff) {
      if (argument == "out.wav")
        argument = "out.aiff";
    }
    EXPECT_EQ(succeed(aiff).err, "");
    EXPECT_EQ(read("out.aiff").channels[0][24000], 1 << 29);
  }
}

TEST_F(ScaledFloat, IsSaidToBeReadSo)
{
  writeFloats("in.wav", {1.0f, -1.0f, 0.0f});
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"mix", "in.wav", "-o", "out.wav"},
        {"convert", "in.wav", "out.wav", "--bits", "24"}}) {
    EXPECT_TRUE(holds(succeed(command).err, "in.wav: 32-bit WAV " + std::string(kReadingNote)));
    EXPECT_EQ(read("out.wav").channels[0][24000], 1 << 21);
  }
  const Outcome info = succeed({"info", "in.wav"});
  EXPECT_TRUE(holds(info.out, "32-bit scaled float"));
  EXPECT_TRUE(holds(info.out, "read as floating point with full scale at 32768"));
  EXPECT_TRUE(holds(info.out, "peak 0.00 dBFS"));
}

TEST_F(ScaledFloat, IsWhatFilesOf25To32BitsAreTakenFor)
{
  for (const unsigned int bits : {25u, 28u, 31u}) {
    writeFloats("in.wav", {}, bits);
    const Outcome outcome = succeed({"convert", "in.wav", "out.aiff", "--bits", "24"});
    EXPECT_TRUE(holds(outcome.err, "in.wav: " + std::to_string(bits) + "-bit WAV " + kReadingNote));
    EXPECT_EQ(read("out.aiff").channels[0][24000], 1 << 21);
  }
}

TEST_F(ScaledFloat, OfImplausibleValuesIsRefusedUnlessForced)
{
  const float beyond = std::nextafter(16.0f, 17.0f);
  const float infinite = std::numeric_limits<float>::infinity();
  const float notANumber = std::numeric_limits<float>::quiet_NaN();
  for (const float bad : {beyond, -beyond, 1e30f, infinite, -infinite, notANumber}) {
    SCOPED_TRACE(bad);
    std::vector<float> samples(30001, 0.25f);
    samples[30000] = bad; // not in the first block
    writeFloats("in.wav", samples);
    const std::string finding = std::isnan(bad)
                                    ? "1 samples are not numbers and 0 lie beyond 16 times"
                                    : "0 samples are not numbers and 1 lie beyond 16 times";
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"mix", "in.wav", "-o", "out.wav"},
          {"convert", "in.wav", "out.wav", "--bits", "16"}}) {
      const Outcome refused = tov(command);
      EXPECT_EQ(refused.exitCode, 1);
      EXPECT_TRUE(holds(refused.err, "in.wav: " + finding));
      EXPECT_TRUE(holds(refused.err, "--force goes on"));
      EXPECT_EQ(names(), std::vector<std::string>{"in.wav"});
      std::vector<std::string> forced = command;
      forced.push_back("--force");
      const Outcome done = succeed(forced);
      EXPECT_TRUE(holds(done.err, "in.wav: " + finding));
      EXPECT_EQ(read("out.wav").frames(), 48000);
      std::filesystem::remove(folder.path("out.wav"));
    }
    EXPECT_TRUE(holds(succeed({"info", "in.wav"}).out, finding));
  }
}

TEST_F(ScaledFloat, OfUpTo16TimesFullScaleIsPlausible)
{
  writeFloats("in.wav", {16.0f, -16.0f, 1e-40f, -0.0f});
  const Outcome outcome = succeed({"convert", "in.wav", "out.wav", "--bits", "16"});
  EXPECT_TRUE(holds(outcome.err, "peaks at 24.08 dBFS, 2 samples clipped"));
  const IntegerSound out = read("out.wav");
  EXPECT_EQ(out.channels[0][0], 32767);
  EXPECT_EQ(out.channels[0][1], -32768);
}

TEST_F(ScaledFloat, OfAnotherProgramsIntegersIsReadAsIntegers)
{
  support::runOrThrow({"sox", "-D", "-n", "-r", "48000", "-b", "32", "-c", "1", "-t", "wavpcm",
                       folder.path("in.wav"), "synth", "1", "sine", "440"});
  const Outcome outcome = succeed({"convert", "in.wav", "out.wav", "--bits", "16"});
  EXPECT_TRUE(holds(outcome.err, "in.wav: its 32-bit samples are integers by their values"));
  const IntegerSound out = read("out.wav");
  EXPECT_EQ(*std::max_element(out.channels[0].begin(), out.channels[0].end()), 32767);
}

TEST_F(ScaledFloat, ThatWasMixedIsReadBackEqual)
{
  write("a.wav", support::randomSound(2, 48000, 48000, 24, 3, 0.5));
  succeed({"mix", "a.wav", "--gain", "12", "--bits", "32", "-o", "loud.wav"});
  // Above full scale nothing is lost.
  succeed({"convert", "loud.wav", "out.wav", "--gain", "-12", "--bits", "24"});
  const IntegerSound source = read("a.wav");
  const IntegerSound back = read("out.wav");
  for (std::size_t i = 960; i < 47000; ++i)
    ASSERT_NEAR(back.channels[0][i], source.channels[0][i], 2) << i;
}

} // namespace
