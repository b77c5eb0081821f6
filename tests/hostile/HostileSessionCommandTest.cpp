// The program on sessions whose few bytes stand for more names, longer names
// or more tracks than any file system has.
#ifdef TOV_PROGRAM

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include "tests/hostile/Cost.h"
#include "tests/support/Memory.h"
#include "tests/support/Program.h"
#include "tests/support/SettingsBlobs.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;

constexpr std::size_t kMostTracks = 65535;

/** A multiple of the 64 MiB that settings may have: the program has to have
 *  them in one piece, and their names apart; to save them, anew and as text. */
constexpr long long kMostBytesToRead = 4 * support::Cost::kMostBytes;
constexpr long long kMostBytesToSave = 8 * support::Cost::kMostBytes;

/** How often a program that was built for looking into it may take the time. */
int slowness()
{
#ifdef NDEBUG
  return support::hasSanitizerOverhead() ? 10 : 1;
#else
  return 10;
#endif
}

std::string repeated(const std::string& text, std::size_t count)
{
  std::string all;
  all.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i)
    all += text;
  return all;
}

/** The program's words, what it took, and the most that it may take. */
struct Expense {
  support::Outcome outcome;
  ::rusage usage{};

  double seconds() const
  {
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
  }

  long long bytes() const { return usage.ru_maxrss * 1024LL; }
};

class HostileSessionCommand : public testing::Test {
protected:
  HostileSessionCommand()
  {
    folder.write("a.wav", support::wavFile(1, 44100, 16, Bytes().zeros(8000)));
  }

  /** Writes a session of these names, and nothing of it stays in memory: the
   *  program's peak would begin there. */
  void writeSession(const std::function<std::string(std::size_t)>& nameOf, std::size_t tracks)
  {
    Bytes blob = support::mixerHeader(2, 1.0f, static_cast<unsigned int>(tracks));
    for (std::size_t i = 0; i < tracks; ++i) {
      blob.u8(0).u8(0).f32be(1.0f).f32be(0.0f).f32be(1.0f).f64be(0.0).f64be(1.0).f64be(0.0);
      blob.append(support::fileBlob({.name = nameOf(i), .srcOut = 1.0}));
    }
    const std::string line = "SetAudio(\"" + support::scriptText(blob.data()) + "\");\n";
    folder.write("s.script", Bytes().text(line));
    EXPECT_LT(line.size(), 1000000u);
  }

  void writeSessionOf(const std::string& name)
  {
    writeSession([&name](std::size_t) { return name; }, 1);
  }

  /** Runs the program, which is killed where it takes too much time, and
   *  checks how it ended and what it took. */
  Expense run(const std::vector<std::string>& arguments, int exitCode)
  {
    SCOPED_TRACE(arguments[0]);
    support::Launch launch{
        .arguments = {TOV_PROGRAM}, .folder = folder.folder(), .settings = settings};
    launch.arguments.insert(launch.arguments.end(), arguments.begin(), arguments.end());
    const bool isSaving = arguments[0] == "save";
    const double most = support::Cost::kMostSeconds * (isSaving ? saveFactor : 1) * slowness();
    launch.beforeExec = [most] {
      const ::rlim_t seconds = static_cast<::rlim_t>(most);
      const ::rlimit time{seconds, seconds + 1};
      ::setrlimit(RLIMIT_CPU, &time);
      ::rlimit files{};
      ::getrlimit(RLIMIT_NOFILE, &files);
      files.rlim_cur = kOpenFiles;
      ::setrlimit(RLIMIT_NOFILE, &files);
    };
    support::Program program(launch);
    Expense done;
    int status = 0;
    EXPECT_EQ(::wait4(program.pid(), &status, 0, &done.usage), program.pid());
    done.outcome = program.ended(status);
    EXPECT_EQ(done.outcome.signal, 0);
    EXPECT_EQ(done.outcome.exitCode, exitCode) << done.outcome.err.substr(0, 500);
    EXPECT_LT(done.seconds(), most);
    if (!support::hasSanitizerOverhead()) {
      EXPECT_LT(done.bytes(), isSaving ? kMostBytesToSave : kMostBytesToRead);
    }
    return done;
  }

  /** A name that no file can have is told as such and in a few words. */
  void expectTooLongName()
  {
    constexpr std::size_t kFewWords = 4000;
    for (const auto& [arguments, exitCode] :
         {std::pair(std::vector<std::string>{"info", "s.script"}, 0),
          {{"info", "--json", "s.script"}, 0},
          {{"mix", "s.script", "-o", "out.wav"}, 1},
          {{"plot", "s.script", "-o", "out.svg"}, 1},
          {{"save", "s.script", "--append"}, 0}}) {
      const support::Outcome outcome = run(arguments, exitCode).outcome;
      const std::string words = outcome.out + outcome.err;
      EXPECT_NE(words.find("file name too long"), std::string::npos) << words.substr(0, 500);
      EXPECT_LT(words.size(), kFewWords) << arguments[0];
    }
  }

  static constexpr ::rlim_t kOpenFiles = 1024;
  std::vector<std::string> settings; ///< of the environment
  int saveFactor = 1;                ///< of the time that saving may take
  support::TempFolder folder;
};

TEST_F(HostileSessionCommand, NamesAFileOfManyVariablesInTime)
{
  settings = {"TOV_TEST=" + std::string(1500, 'v')};
  writeSessionOf(repeated("$TOV_TEST", 6'000'000));
  expectTooLongName();
}

TEST_F(HostileSessionCommand, NamesAFileOfManyLongVariablesInTime)
{
  settings = {"TOV_TEST=" + std::string(100'000, 'v')};
  writeSessionOf(repeated("$TOV_TEST", 100'000));
  expectTooLongName();
}

// Short enough to be a path, unlike what it stands for.
TEST_F(HostileSessionCommand, NamesAFileOfSomeLongVariablesInTime)
{
  settings = {"TOV_TEST=" + std::string(100'000, 'v')};
  writeSessionOf(repeated("$TOV_TEST", 1'500));
  expectTooLongName();
}

TEST_F(HostileSessionCommand, NamesAFileInVeryManyFoldersInTime)
{
  for (const std::size_t folders : {std::size_t(10'000'000), std::size_t(31'000'000)}) {
    writeSessionOf("/" + repeated("a/", folders));
    expectTooLongName();
  }
}

TEST_F(HostileSessionCommand, KeepsAVeryLongNameLetterByLetter)
{
  const std::string name = "/" + repeated("a/", 1'000'000);
  writeSessionOf(name);
  const std::vector<std::uint8_t> before = folder.read("s.script");
  run({"save", "s.script", "--append"}, 0);
  EXPECT_EQ(folder.read("s.script"), before);
}

TEST_F(HostileSessionCommand, LooksForVeryManyLongNamesInTime)
{
  writeSession(
      [](std::size_t i) {
        const std::string number = std::to_string(i);
        return std::string(905 - number.size(), 'x') + number;
      },
      kMostTracks);
  EXPECT_GT(run({"info", "s.script"}, 0).outcome.out.size(), kMostTracks);
  const std::string refusal = run({"mix", "s.script", "-o", "out.wav"}, 1).outcome.err;
  EXPECT_TRUE(refusal.starts_with("mix: 65535 files are missing")) << refusal.substr(0, 100);
  EXPECT_TRUE(refusal.ends_with("and 64535 more\n"));
  EXPECT_EQ(run({"plot", "s.script", "-o", "out.svg"}, 1).outcome.err, refusal);
  saveFactor = 2; // to compress 60 MB takes its time
  run({"save", "s.script", "--append", "--quiet"}, 0);
}

TEST_F(HostileSessionCommand, LooksAtTheFileOfVeryManyTracksOnce)
{
  writeSession([](std::size_t) { return "a.wav"; }, kMostTracks);
  run({"info", "s.script"}, 0);
  run({"save", "s.script", "--append"}, 0);
  for (const auto& arguments :
       {std::vector<std::string>{"mix", "s.script", "-o", "out.wav"},
        {"plot", "s.script", "-o", "out.svg"}}) {
    EXPECT_EQ(run(arguments, 1).outcome.err,
              "mix: 65535 files are too many to be open at once: the system lets this program "
              "have 1024 (\"ulimit -n\" sets how many)\n");
  }
}

// Fewer tracks than files that may be open, but not than may be still.
TEST_F(HostileSessionCommand, SaysHowManyFilesMayBeOpen)
{
  writeSession([](std::size_t) { return "a.wav"; }, kOpenFiles - 1);
  EXPECT_EQ(run({"mix", "s.script", "-o", "out.wav"}, 1).outcome.err,
            "a.wav: too many open files at once: the system lets this program have 1024 "
            "(\"ulimit -n\" sets how many)\n");
}

} // namespace

#endif
