// WAV and AIFF files whose headers are not as the library's readers need them.
#include <filesystem>

#include "tests/app/Tov.h"

namespace {

using nlohmann::json;
using support::Bytes;
using support::holds;
using support::IntegerSound;

class ForeignHeaders : public support::TovTest {
protected:
  ForeignHeaders() : sound(support::randomSound(2, 1000, 48000, 16, 5)) {}

  /** The sound with sizes as given. */
  Bytes wav(std::uint32_t riffSize, std::uint32_t dataSize) const
  {
    return edited(support::wavOf(sound), {{4, riffSize}, {40, dataSize}}, false);
  }

  Bytes aiff(std::uint32_t formSize, std::uint32_t frames, std::uint32_t soundSize) const
  {
    return edited(support::aiffOf(sound), {{4, formSize}, {22, frames}, {42, soundSize}}, true);
  }

  static Bytes edited(const Bytes& file,
                      const std::vector<std::pair<std::size_t, std::uint32_t>>& numbers,
                      bool isBigEndian)
  {
    std::vector<std::uint8_t> bytes = file.data();
    for (const auto& [at, number] : numbers) {
      for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<std::uint8_t>(number >> 8 * (isBigEndian ? 3 - i : i));
    }
    return Bytes().append(bytes);
  }

  /** It is read by libsndfile for the reason, and holds the whole sound. */
  void expectWhole(const std::string& name, const Bytes& bytes, const std::string& reason) const
  {
    folder.write(name, bytes);
    const json info = json::parse(succeed({"info", "--json", name}).out).at(0);
    EXPECT_EQ(info["reader"], "libsndfile");
    EXPECT_EQ(info["frames"], 1000);
    EXPECT_TRUE(holds(info.value("readerReason", ""), reason));
    expectSamples(name);
  }

  /** It is read by the library, as ever. */
  void expectOwn(const std::string& name, const Bytes& bytes) const
  {
    folder.write(name, bytes);
    EXPECT_TRUE(holds(succeed({"info", name}).out, "reader    the library's"));
    expectSamples(name);
  }

  void expectSamples(const std::string& name) const
  {
    for (const char* const out : {"out.wav", "out.aiff"}) {
      succeed({"convert", name, out});
      EXPECT_TRUE(read(out).channels == sound.channels) << out;
    }
  }

  static constexpr std::uint32_t kSoundBytes = 4000;
  static constexpr const char* kNotice =
      ": the sizes in its header are wrong; it is read to its end\n";
  IntegerSound sound;
};

TEST_F(ForeignHeaders, WithPaddedOddChunksAreRead)
{
  const std::vector<std::uint8_t> wavBytes = support::wavOf(sound).data();
  expectWhole("a.wav",
              Bytes()
                  .append({wavBytes.begin(), wavBytes.begin() + 12})
                  .text("note")
                  .u32le(3)
                  .text("abc")
                  .u8(0)
                  .append({wavBytes.begin() + 12, wavBytes.end()}),
              "the WAV reader refuses it: holds a pad byte behind a chunk of odd size");
  const std::vector<std::uint8_t> aiffBytes = support::aiffOf(sound).data();
  expectWhole("a.aiff",
              Bytes()
                  .append({aiffBytes.begin(), aiffBytes.begin() + 12})
                  .text("NAME")
                  .u32be(3)
                  .text("odd")
                  .u8(0)
                  .append({aiffBytes.begin() + 12, aiffBytes.end()}),
              "the AIFF reader refuses it: holds a pad byte behind a chunk of odd size");
}

TEST_F(ForeignHeaders, OfWavWithSizesOf0AreReadToTheEnd)
{
  for (const std::uint32_t riff : {0u, 8u, 36u, 36u + kSoundBytes})
    expectWhole("a.wav", wav(riff, 0), "its header promises 0 bytes of sound");
}

TEST_F(ForeignHeaders, OfWavWithSizesBeyondTheEndAreReadToTheEnd)
{
  expectWhole("a.wav", wav(0xffffffff, 0xffffffff), "its header promises 4294967295 bytes");
  expectWhole("a.wav", wav(0x7ffff024, 0x7ffff000), "its header promises 2147479552 bytes");
  expectWhole("a.wav", wav(36 + kSoundBytes, 2 * kSoundBytes), "its header promises 8000 bytes");
  EXPECT_EQ(succeed({"mix", "a.wav", "-o", "out.wav"}).err, std::string("a.wav") + kNotice);
}

TEST_F(ForeignHeaders, OfAiffWithSizesOf0AreReadToTheEnd)
{
  expectWhole("a.aiff", aiff(0, 0, 0), "its header promises 0 bytes of sound");
  expectWhole("a.aiff", aiff(46, 0, 8), "its header promises 0 bytes of sound");
  expectWhole("a.aiff", aiff(46 + kSoundBytes, 0, 8 + kSoundBytes), "promises 0 bytes of sound");
}

TEST_F(ForeignHeaders, OfAiffWithSizesBeyondTheEndAreReadToTheEnd)
{
  expectWhole("a.aiff", aiff(46 + kSoundBytes, 2000, 8 + kSoundBytes), "promises 8000 bytes");
  expectWhole("a.aiff", aiff(46 + kSoundBytes, 2000, 8 + 2 * kSoundBytes), "promises 8000 bytes");
  expectWhole("a.aiff", aiff(0xffffffff, 0xffffffff, 0xffffffff), "promises 17179869180 bytes");
  EXPECT_EQ(succeed({"convert", "a.aiff", "out.wav"}).err, std::string("a.aiff") + kNotice);
}

TEST_F(ForeignHeaders, WithWrongSizesOfTheContainerOnlyAreTheLibrarys)
{
  expectOwn("a.wav", wav(5, kSoundBytes));
  expectOwn("a.wav", wav(0xffffffff, kSoundBytes));
  expectOwn("a.aiff", aiff(5, 1000, 8 + kSoundBytes));
  expectOwn("a.aiff", aiff(0xffffffff, 1000, 8 + kSoundBytes));
  // The size of the sound chunk is nothing that the AIFF reader goes by.
  expectOwn("a.aiff", aiff(46 + kSoundBytes, 1000, 0));
}

TEST_F(ForeignHeaders, OfFilesWithoutSoundAreTheLibrarys)
{
  folder.write("a.wav", support::wavOf(support::constantSound(2, 0, 48000, 16, 0)));
  EXPECT_TRUE(holds(succeed({"info", "a.wav"}).out, "reader    the library's WAV reader"));
  folder.write("a.wav", support::wavOf(support::constantSound(2, 0, 48000, 16, 0))
                            .text("LIST")
                            .u32le(4)
                            .text("INFO"));
  EXPECT_TRUE(holds(succeed({"info", "a.wav"}).out, "frames    0\n"));
}

// Nobody knows here that something is missing, but the header is consistent.
TEST_F(ForeignHeaders, ThatPromiseMoreThanACutFileHoldsAreRefused)
{
  for (const std::string name : {"a.wav", "a.aiff"}) {
    write(name, sound);
    std::filesystem::resize_file(folder.path(name),
                                 std::filesystem::file_size(folder.path(name)) - 401);
    expectError({"info", name}, 1, "is cut short: its header promises 1000 frames, the file holds");
  }
}

} // namespace
