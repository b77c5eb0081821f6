// 32-bit WAV: the library's floats, or other programs' integers.
#include <bit>
#include <cmath>

#include "tests/app/ForeignFiles.h"
#include "tests/app/Tov.h"

namespace {

using nlohmann::json;
using support::Bytes;
using support::holds;
using support::IntegerSound;
using support::Outcome;

constexpr const char* kNotice = "a.wav: its 32-bit samples are integers by their values and are "
                                "read as such, not as the library's floating point (--force reads "
                                "them so)\n";

class ForeignIntegers : public support::TovTest {
protected:
  /** Noise and silence whose 24 bits a float holds. */
  IntegerSound writeIntegers(unsigned int bits = 32, double level = 0.9) const
  {
    IntegerSound sound = support::randomSound(2, 5000, 48000, 24, 9, level);
    for (auto& channel : sound.channels)
      std::fill(channel.begin(), channel.begin() + 1000, 0);
    Bytes samples;
    for (std::size_t i = 0; i < 5000; ++i) {
      for (const auto& channel : sound.channels)
        samples.u32le(static_cast<std::uint32_t>(channel[i]) << 8);
    }
    folder.write("a.wav", support::wavFile(2, 48000, bits, samples));
    return sound;
  }
};

TEST_F(ForeignIntegers, AreRecognisedAndReadAsSuch)
{
  for (const unsigned int bits : {25u, 28u, 32u}) {
    const IntegerSound sound = writeIntegers(bits);
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"convert", "a.wav", "out.aiff", "--bits", "24"},
          {"convert", "a.wav", "out.wav", "--bits", "24"}}) {
      EXPECT_EQ(succeed(command).err, kNotice) << bits;
      EXPECT_TRUE(read(command[2]).channels == sound.channels) << bits;
    }
  }
}

TEST_F(ForeignIntegers, AreRecognisedHoweverQuiet)
{
  for (const double level : {0.3, 0.01, 0.0001}) {
    const IntegerSound sound = writeIntegers(32, level);
    EXPECT_EQ(succeed({"convert", "a.wav", "out.aiff", "--bits", "24"}).err, kNotice) << level;
    EXPECT_TRUE(read("out.aiff").channels == sound.channels) << level;
  }
}

TEST_F(ForeignIntegers, AreToldOf)
{
  writeIntegers();
  const Outcome text = succeed({"info", "a.wav"});
  EXPECT_TRUE(holds(text.out, "  format    WAV, 32-bit signed integer\n"));
  EXPECT_TRUE(holds(text.out, "reader    libsndfile: the WAV reader takes 32 bits for floating "
                              "point, and these are integers by their values\n"));
  EXPECT_TRUE(holds(text.out, "note      its 32-bit samples are integers by their values"));
  EXPECT_EQ(json::parse(succeed({"info", "--json", "a.wav"}).out)[0]["reader"], "libsndfile");
  EXPECT_EQ(succeed({"mix", "a.wav", "-o", "out.wav"}).err, kNotice);
}

TEST_F(ForeignIntegers, AreReadAsFloatsWhereForced)
{
  const IntegerSound sound = writeIntegers();
  const Outcome outcome = succeed({"convert", "a.wav", "out.wav", "--force", "--bits", "24"});
  EXPECT_TRUE(holds(outcome.err, "32-bit WAV is read as floating point"));
  EXPECT_TRUE(holds(outcome.err, "going on as told"));
  EXPECT_FALSE(read("out.wav").channels == sound.channels);
  EXPECT_TRUE(holds(succeed({"mix", "a.wav", "--force", "-o", "out.wav"}).err,
                    "32-bit WAV is read as floating point"));
}

TEST_F(ForeignIntegers, OfTheLibrarysMakingStayItsFloats)
{
  write("in.wav", support::randomSound(2, 5000, 48000, 24, 4, 0.5));
  succeed({"convert", "in.wav", "a.wav", "--bits", "32"});
  const Outcome outcome = succeed({"convert", "a.wav", "out.wav", "--bits", "24"});
  EXPECT_TRUE(holds(outcome.err, "a.wav: 32-bit WAV is read as floating point"));
  EXPECT_TRUE(folder.read("out.wav") == folder.read("in.wav"));
  EXPECT_TRUE(holds(succeed({"info", "a.wav"}).out, "reader    the library's WAV reader"));
  // Under any other name libsndfile would read them, as integers.
  folder.write("a", folder.read("a.wav"));
  EXPECT_EQ(tov({"info", "a"}).exitCode, 1);
}

// A filter that blew up: half of it is no number, and none of it an integer.
TEST_F(ForeignIntegers, AreNotWhatBrokenFloatsAreTakenFor)
{
  Bytes samples;
  for (int i = 0; i < 10000; ++i) {
    const float sample = i < 3000 ? std::sin(static_cast<float>(i)) * 9000.0f
                                  : std::numeric_limits<float>::quiet_NaN();
    samples.u32le(std::bit_cast<std::uint32_t>(sample));
  }
  folder.write("a.wav", support::wavFile(1, 48000, 32, samples));
  const Outcome outcome = tov({"convert", "a.wav", "out.wav", "--bits", "24"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_TRUE(holds(outcome.err, "7000 samples are not numbers"));
  EXPECT_EQ(names(), std::vector<std::string>{"a.wav"});
}

TEST_F(ForeignIntegers, OfExtensibleWavNeedNoRecognition)
{
  const support::ForeignSamples sound = support::foreignSound(2, 1000);
  support::writeForeign(folder.path("a.wav"), SF_FORMAT_WAVEX | SF_FORMAT_PCM_32, sound);
  EXPECT_EQ(succeed({"convert", "a.wav", "out.wav", "--bits", "16"}).err, "");
  EXPECT_EQ(read("out.wav").channels[0][500],
            static_cast<std::int32_t>(sound.samples[1000] * 32768.0f));
}

} // namespace
