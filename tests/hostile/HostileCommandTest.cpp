// The program on files that would cost a careless reader any amount of time.
#ifdef TOV_PROGRAM

#include <filesystem>

#include <sys/resource.h>

#include <gtest/gtest.h>

#include "tests/hostile/Cost.h"
#include "tests/support/Program.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;

class HostileCommand : public testing::Test {
protected:
  /** The program says why it does not take the file, and is killed where that
   *  takes it more than the processor time that anything may take. */
  void expectRefused(const std::string& name, const Bytes& start, std::uintmax_t size) const
  {
    SCOPED_TRACE(name + " of " + std::to_string(size) + " bytes");
    folder.write(name, start);
    std::filesystem::resize_file(folder.path(name), size);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"info", name}, {"convert", name, "out.wav"},
          {"mix", name, "-o", "out.wav"}}) {
      support::Launch launch{.arguments = {TOV_PROGRAM}, .folder = folder.folder()};
      launch.arguments.insert(launch.arguments.end(), arguments.begin(), arguments.end());
      launch.beforeExec = [] {
        constexpr ::rlim_t kSeconds = static_cast<::rlim_t>(support::Cost::kMostSeconds);
        const ::rlimit limit{kSeconds, kSeconds + 1};
        ::setrlimit(RLIMIT_CPU, &limit);
      };
      const support::Outcome outcome = support::run(launch);
      EXPECT_EQ(outcome.signal, 0) << arguments[0];
      EXPECT_EQ(outcome.exitCode, 1) << arguments[0];
      EXPECT_TRUE(outcome.err.starts_with(name + ": ")) << arguments[0] << ": " << outcome.err;
      if (HasFailure())
        return;
    }
    EXPECT_FALSE(std::filesystem::exists(folder.path("out.wav")));
  }

  support::TempFolder folder;
};

TEST_F(HostileCommand, RefusesAFileOfEmptyChunksInTime)
{
  for (const std::uintmax_t size : {std::uintmax_t(600'000), std::uintmax_t(5'000'000'000)}) {
    expectRefused("x.wav", Bytes().text("RIFF").u32le(0xffffffff).text("WAVE"), size);
    expectRefused("x.aiff", Bytes().text("FORM").u32be(0xffffffff).text("AIFF"), size);
    expectRefused("x.aif", Bytes().text("FORM").u32be(0xffffffff).text("AIFC"), size);
  }
}

TEST_F(HostileCommand, RefusesAFileThatIsCutShortInTime)
{
  // Sizes that agree: all bits set would be those of a writer that could not go
  // back, whose files are read to their end.
  const Bytes wav = Bytes()
                        .text("RIFF")
                        .u32le(0xf0000024)
                        .text("WAVEfmt ")
                        .u32le(16)
                        .u16le(1)
                        .u16le(2)
                        .u32le(44100)
                        .u32le(176400)
                        .u16le(4)
                        .u16le(16)
                        .text("data")
                        .u32le(0xf0000000);
  expectRefused("x.wav", wav, 100);
  expectRefused("x.wav", wav, 4'000'000'000);
}

} // namespace

#endif
