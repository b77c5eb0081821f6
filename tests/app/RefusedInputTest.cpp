// Inputs that cannot be read: one sentence with the file and the reason, exit
// status 1, nothing written.
#include <filesystem>

#include <sys/stat.h>

#include "tests/app/Tov.h"

namespace {

using support::Bytes;
using support::IntegerSound;

class RefusedInput : public support::TovTest {
protected:
  /** All three commands refuse the file with this sentence and no other. */
  void expectRefused(const std::string& name, const std::string& reason) const
  {
    write("good.wav", support::constantSound(1, 100, 48000, 16, 5));
    const std::vector<std::string> before = names();
    const std::string sentence = name + ": " + reason + "\n";
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"info", name},
          {"convert", name, "out.wav"},
          {"mix", "good.wav", name, "--gain", "-3", "-o", "out.aiff"}}) {
      const support::Outcome outcome = tov(command);
      EXPECT_EQ(outcome.exitCode, 1) << command[0];
      EXPECT_EQ(outcome.err, sentence) << command[0];
      EXPECT_EQ(outcome.out, "") << command[0];
    }
    EXPECT_EQ(names(), before);
  }

  void expectRefused(const std::string& name, const Bytes& bytes, const std::string& reason) const
  {
    SCOPED_TRACE(reason);
    folder.write(name, bytes);
    expectRefused(name, reason);
  }

  /** The library refuses the file for the reason, and libsndfile reads it. */
  void expectLeftToOthers(const std::string& name, const Bytes& bytes,
                          const std::string& reason) const
  {
    SCOPED_TRACE(reason);
    folder.write(name, bytes);
    const nlohmann::json info = nlohmann::json::parse(succeed({"info", "--json", name}).out).at(0);
    const std::string reader = name.ends_with(".wav") ? "the WAV reader" : "the AIFF reader";
    EXPECT_EQ(info.value("readerReason", ""), reader + " refuses it: " + reason);
  }

  /** A WAV file with this "fmt " chunk's first fields. */
  static Bytes wav(unsigned int tag, unsigned int channels, unsigned int bits,
                   const Bytes& extension = {})
  {
    return Bytes()
        .text("RIFF")
        .u32le(1000)
        .text("WAVE")
        .text("fmt ")
        .u32le(16 + extension.size())
        .u16le(tag)
        .u16le(channels)
        .u32le(48000)
        .u32le(48000 * channels * bits / 8)
        .u16le(channels * bits / 8)
        .u16le(bits)
        .append(extension)
        .text("data")
        .u32le(8)
        .zeros(8);
  }

  /** A chunk of AIFF. */
  static Bytes chunk(const char* id, const Bytes& body)
  {
    return Bytes().text(id).u32be(body.size()).append(body);
  }

  static Bytes comm(unsigned int channels, unsigned int bits)
  {
    return Bytes().u16be(channels).u32be(1).u16be(bits).append(support::extendedRate(48000));
  }

  static Bytes form(const char* type, const Bytes& chunks)
  {
    return Bytes().text("FORM").u32be(4 + chunks.size()).text(type).append(chunks);
  }
};

TEST_F(RefusedInput, ThatIsNoFile)
{
  expectRefused("gone.wav", "no such file");
  std::filesystem::create_directory(folder.path("folder.wav"));
  expectRefused("folder.wav", "is a folder, not a sound file");
  ASSERT_EQ(::mkfifo(folder.path("pipe.wav").c_str(), 0600), 0);
  expectRefused("pipe.wav", "is a pipe or a device; only regular files can be read");
  folder.write("file.wav", Bytes().text("x"));
  expectRefused("file.wav/x.wav", "not a directory");
}

TEST_F(RefusedInput, WithoutAKnownSuffix)
{
  const Bytes letter = Bytes().text("Hello, this is a letter.");
  const std::string known = "files end in .aifc, .rf64, .w64, .caf, .au, .snd, .flac, .ogg, .oga, "
                            ".opus, .mp3, .wav, .wave, .aif, .aiff";
  expectRefused("letter.xyz", letter, "the suffix .xyz is not supported; " + known);
  expectRefused("letter", letter, "has no suffix; " + known);
  expectRefused("letter.mp3", letter,
                "does not begin as a sound file of any kind that is known");
}

TEST_F(RefusedInput, ThatIsEmptyOrOfAnotherKind)
{
  expectRefused("x.wav", Bytes(), "is empty");
  expectRefused("x.wav", Bytes().text("Hello, this is a letter."), "is no WAV file");
  expectRefused("x.aiff", Bytes().text("Hello, this is a letter."), "is no AIFF file");
  expectRefused("x.wav", Bytes().text("RI"), "is no WAV file");
  expectRefused("x.wav", Bytes().text("fLaC").zeros(40), "is a FLAC file with the suffix of WAV");
  expectRefused("x.wav", Bytes().text("OggS").zeros(40), "is an Ogg file with the suffix of WAV");
  expectRefused("x.aif", Bytes().text("ID3").zeros(40), "is an MP3 file with the suffix of AIFF");
  expectLeftToOthers("x.aiff", support::wavOf(support::constantSound(1, 9, 48000, 16, 5)),
                     "is a WAV file with the suffix of AIFF");
  expectLeftToOthers("x.wav", support::aiffOf(support::constantSound(1, 9, 48000, 16, 5)),
                     "is an AIFF file with the suffix of WAV");
  expectRefused("x.wav", Bytes().text("RIFF").u32le(4).text("AVI ").zeros(20),
                "is a RIFF file of type \"AVI \", not a WAV file");
  expectRefused("x.aiff", form("ILBM", Bytes().zeros(20)),
                "is a FORM file of type \"ILBM\", not an AIFF file");
}

TEST_F(RefusedInput, WavOfOtherCodings)
{
  expectLeftToOthers("voice.wav", wav(3, 1, 32), "32-bit float WAV");
  expectLeftToOthers("voice.wav", wav(3, 2, 64), "64-bit float WAV");
  expectLeftToOthers("voice.wav", wav(6, 1, 8), "A-law WAV");
  expectLeftToOthers("voice.wav", wav(7, 1, 8), "mu-law WAV");
  expectRefused("voice.wav", wav(2, 1, 4), "Microsoft ADPCM WAV is not supported");
  expectRefused("voice.wav", wav(0x11, 1, 4), "IMA ADPCM WAV is not supported");
  expectRefused("voice.wav", wav(0x55, 1, 16), "MP3 WAV is not supported");
  expectRefused("voice.wav", wav(0x1234, 1, 16), "WAV with the format tag 0x1234 is not supported");
}

TEST_F(RefusedInput, ExtensibleWavAndThatIsSaid)
{
  const auto extension = [](unsigned int code) {
    return Bytes().u16le(22).u16le(24).u32le(3).u16le(code).zeros(14);
  };
  expectRefused("x.wav", wav(0xfffe, 2, 24, extension(1)),
                "24-bit extensible WAV is not supported");
  expectRefused("x.wav", wav(0xfffe, 6, 16, extension(1)),
                "16-bit extensible WAV is not supported");
  expectRefused("x.wav", wav(0xfffe, 2, 32, extension(3)),
                "32-bit float WAV (extensible) is not supported");
}

TEST_F(RefusedInput, ExtensibleWavOfOtherPrograms)
{
  const auto sox = [this](const char* bits, const char* channels) {
    support::runOrThrow({"sox", "-D", "-n", "-r", "48000", "-b", bits, "-c", channels,
                         folder.path("x.wav"), "synth", "0.1", "sine", "440"});
  };
  sox("24", "2");
  expectLeftToOthers("x.wav", Bytes().append(folder.read("x.wav")), "24-bit extensible WAV");
  sox("16", "6");
  expectLeftToOthers("x.wav", Bytes().append(folder.read("x.wav")), "16-bit extensible WAV");
  support::runOrThrow({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "sine=duration=0.1",
                       "-c:a", "pcm_s24le", folder.path("x.wav")});
  expectLeftToOthers("x.wav", Bytes().append(folder.read("x.wav")), "24-bit extensible WAV");
}

TEST_F(RefusedInput, WavOfOtherContainers)
{
  for (const char* const id : {"RF64", "BW64"}) {
    expectRefused("x.wav", Bytes().text(id).u32le(0xffffffff).text("WAVE").zeros(50),
                  std::string(id) + " (WAV above 4 GB) is not supported");
  }
  expectRefused("x.wav", Bytes().text("RIFX").u32be(50).text("WAVE").zeros(50),
                "big-endian WAV (RIFX) is not supported");
}

TEST_F(RefusedInput, WithNumbersThatAreNotHandled)
{
  expectRefused("x.wav", wav(1, 1, 0), "0-bit WAV is not supported");
  expectRefused("x.wav", wav(1, 1, 33), "33-bit WAV is not supported");
  expectRefused("x.wav", wav(1, 1, 64), "64-bit WAV is not supported");
  expectRefused("x.wav", wav(1, 0, 16), "WAV with 0 channels is not supported");
  const Bytes sound = chunk("SSND", Bytes().zeros(16));
  expectRefused("x.aiff", form("AIFF", chunk("COMM", comm(1, 0)).append(sound)),
                "0-bit AIFF is not supported");
  expectRefused("x.aiff", form("AIFF", chunk("COMM", comm(1, 64)).append(sound)),
                "64-bit AIFF is not supported");
  expectRefused("x.aiff", form("AIFF", chunk("COMM", comm(0, 16)).append(sound)),
                "AIFF with 0 channels is not supported");
}

TEST_F(RefusedInput, CompressedAiff)
{
  expectLeftToOthers("x.aiff",
                form("AIFC", chunk("COMM", comm(1, 16).text("sowt").u16be(0))
                                 .append(chunk("SSND", Bytes().zeros(10)))),
                "compressed AIFF (AIFC, type \"sowt\")");
  expectRefused("x.aiff", form("AIFC", Bytes()), "compressed AIFF (AIFC) is not supported");
}

TEST_F(RefusedInput, WithoutItsChunks)
{
  const Bytes data = Bytes().text("data").u32le(4).zeros(4);
  const Bytes start = Bytes().text("RIFF").u32le(100).text("WAVE");
  expectRefused("x.wav", start, "holds no \"fmt \" chunk");
  expectRefused("x.wav", Bytes(start).append(data), "holds no \"fmt \" chunk");
  const std::vector<std::uint8_t> whole = wav(1, 1, 16).data();
  expectRefused("x.wav", Bytes().append({whole.begin(), whole.begin() + 36}),
                "holds no \"data\" chunk");
  expectRefused("x.aiff", form("AIFF", chunk("COMM", comm(1, 16))), "holds no \"SSND\" chunk");
  expectRefused("x.aiff", form("AIFF", chunk("SSND", Bytes().zeros(10))),
                "holds no \"COMM\" chunk");
}

TEST_F(RefusedInput, ThatIsCutShort)
{
  for (const std::string name : {"x.wav", "x.aiff"}) {
    write(name, support::constantSound(2, 1000, 48000, 16, 5));
    std::filesystem::resize_file(folder.path(name),
                                 std::filesystem::file_size(folder.path(name)) - 4 * 250 - 1);
    expectRefused(name, "is cut short: its header promises 1000 frames, the file holds 749");
  }
}

TEST_F(RefusedInput, OfBadFmtChunks)
{
  expectRefused("x.wav",
                Bytes()
                    .text("RIFF")
                    .u32le(60)
                    .text("WAVE")
                    .text("fmt ")
                    .u32le(14)
                    .zeros(14)
                    .text("data")
                    .u32le(2)
                    .zeros(2),
                "holds a \"fmt \" chunk of 14 bytes, which is too short");
  const Bytes fmt =
      Bytes().text("fmt ").u32le(16).u16le(1).u16le(1).u32le(48000).u32le(96000).u16le(2).u16le(16);
  expectRefused("x.wav",
                Bytes()
                    .text("RIFF")
                    .u32le(90)
                    .text("WAVE")
                    .append(fmt)
                    .append(fmt)
                    .text("data")
                    .u32le(2)
                    .zeros(2),
                "holds its \"fmt \" or \"data\" chunk more than once");
  expectRefused(
      "x.aiff",
      form("AIFF", chunk("COMM", Bytes().zeros(10)).append(chunk("SSND", Bytes().zeros(10)))),
      "holds a \"COMM\" chunk of 10 bytes, which is too short");
}

TEST_F(RefusedInput, WithoutARate)
{
  Bytes fmt = Bytes()
                  .text("RIFF")
                  .u32le(38)
                  .text("WAVE")
                  .text("fmt ")
                  .u32le(16)
                  .u16le(1)
                  .u16le(1)
                  .u32le(0)
                  .u32le(0)
                  .u16le(2)
                  .u16le(16)
                  .text("data")
                  .u32le(2)
                  .zeros(2);
  expectRefused("x.wav", fmt, "a sample rate of 0 Hz is not supported");
}

} // namespace
