// Renders that the disk or an input lets down.
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/app/RenderTest.h"

namespace {

using support::holds;
using support::Launch;
using support::Outcome;
using support::TracedProgram;

class FailedRender : public support::RenderTest {
protected:
  static void expectOneSentence(const Outcome& outcome, const std::string& file,
                                const std::string& reason)
  {
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(support::linesOf(outcome.err).size(), 1u) << outcome.err;
    EXPECT_TRUE(outcome.err.starts_with(file + ": ")) << outcome.err;
    EXPECT_TRUE(holds(outcome.err, reason));
  }

  /** Runs with a kind of call that fails from the n-th on. */
  Outcome withFault(const std::vector<std::string>& command, const std::string& call, int number,
                    int error) const
  {
    Launch faulty = launch(command);
    faulty.settings = {"LD_PRELOAD=" TOV_FAULTS, "TOV_FAULT_FOLDER=" + folder.folder() + "/.",
                       "TOV_FAULT=" + call + " " + std::to_string(number) + " " +
                           std::to_string(error),
                       "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0"};
    return support::run(faulty);
  }

  /** An input lets the render down at a known place of it. */
  void expectInputLoss(const std::string& name, const std::function<void()>& lose) const
  {
    for (const bool isResampled : {false, true}) {
      SCOPED_TRACE(name + (isResampled ? ", resampled" : ""));
      write(name, support::randomSound(2, 200000, 44100, 16, 5, 0.4));
      TracedProgram program(
          launch({"mix", name, "--rate", isResampled ? "48000" : "44100", "-o", "out.wav"}));
      program.runUntil([&] { return temporarySize() > 100000; });
      lose();
      expectOneSentence(program.release(), name, "");
      expectOldTargetAndNoTemporary();
    }
  }
};

// The 20th write finds the disk full, the first, and so on.
TEST_F(FailedRender, OnAFullDiskLeavesTheOldTarget)
{
  for (const std::vector<std::string>& command : {mix, conversion}) {
    int failures = 0;
    for (const int number : {1, 2, 3, 5, 8, 20, 30}) {
      SCOPED_TRACE(command[0] + ", write " + std::to_string(number));
      const Outcome outcome = withFault(command, "write", number, ENOSPC);
      expectOneSentence(outcome, "out.wav", "no space left on device");
      expectOldTargetAndNoTemporary();
      failures += outcome.exitCode == 1;
    }
    EXPECT_EQ(failures, 7);
  }
}

TEST_F(FailedRender, WhereTheDiskIsFullOnlyAtTheEndLeavesTheOldTarget)
{
  for (const std::vector<std::string>& command : {mix, conversion}) {
    for (const auto& [call, error] :
         {std::pair("fsync", ENOSPC), {"fsync", EIO}, {"rename", EACCES}}) {
      SCOPED_TRACE(command[0] + ", " + call);
      std::string reason = std::strerror(error);
      reason[0] = static_cast<char>(std::tolower(reason[0]));
      expectOneSentence(withFault(command, call, 1, error), "out.wav", reason);
      expectOldTargetAndNoTemporary();
    }
  }
}

TEST_F(FailedRender, BeyondTheFileSizeLimitLeavesTheOldTarget)
{
  for (const ::rlim_t bytes : {10u, 44u, 100u, 5000u, 300000u}) {
    for (const bool isIgnored : {true, false}) {
      SCOPED_TRACE(bytes);
      Launch limited = launch(mix);
      limited.beforeExec = [bytes, isIgnored] {
        if (isIgnored)
          std::signal(SIGXFSZ, SIG_IGN);
        const ::rlimit limit{bytes, bytes};
        ::setrlimit(RLIMIT_FSIZE, &limit);
      };
      Outcome outcome = support::run(limited);
      EXPECT_EQ(outcome.exitCode, 1);
      EXPECT_EQ(outcome.out, "");
      // With 10 bytes what is said does not fit either.
      if (bytes > 80)
        expectOneSentence(outcome, "out.wav", "file too large");
      expectOldTargetAndNoTemporary();
    }
  }
}

TEST_F(FailedRender, WhereAnInputShrinksLeavesTheOldTarget)
{
  for (const std::string name : {"c.wav", "c.aiff"}) {
    expectInputLoss(name, [&] { std::filesystem::resize_file(folder.path(name), 300000); });
    expectInputLoss(name, [&] { std::filesystem::resize_file(folder.path(name), 0); });
  }
}

// Even a file that is whole again in the end was not while it was read.
TEST_F(FailedRender, WhereAnInputShrinksBehindWhatIsNeededIsNoFailure)
{
  write("c.wav", support::randomSound(2, 200000, 44100, 16, 5, 0.4));
  succeed({"mix", "c.wav", "--out", "1", "-o", "whole.wav"});
  TracedProgram program(launch({"mix", "c.wav", "--out", "1", "-o", "out.wav"}));
  program.runUntil([&] { return temporarySize() > 200000; });
  std::filesystem::resize_file(folder.path("c.wav"), 44 + 4 * 60000);
  const Outcome outcome = program.release();
  if (outcome.exitCode == 0) {
    EXPECT_TRUE(folder.read("out.wav") == folder.read("whole.wav"));
  } else {
    expectOldTargetAndNoTemporary();
  }
}

TEST_F(FailedRender, OfAConversionWhoseInputShrinksLeavesTheOldTarget)
{
  for (const std::string name : {"c.wav", "c.aiff"}) {
    for (const std::string rate : {"44100", "48000"}) {
      SCOPED_TRACE(name + " to " + rate);
      write(name, support::randomSound(2, 200000, 44100, 16, 5, 0.4));
      TracedProgram program(launch({"convert", name, "out.wav", "--rate", rate}));
      program.runUntil([&] { return temporarySize() > 100000; });
      std::filesystem::resize_file(folder.path(name), 300000);
      expectOneSentence(program.release(), name, "was cut short while it was read");
      expectOldTargetAndNoTemporary();
    }
  }
}

TEST_F(FailedRender, OntoItsOwnInputLeavesTheInput)
{
  const std::vector<std::uint8_t> source = folder.read("a.wav");
  const Outcome failed = withFault({"mix", "a.wav", "-o", "a.wav"}, "write", 5, ENOSPC);
  EXPECT_EQ(failed.exitCode, 1);
  EXPECT_TRUE(folder.read("a.wav") == source);
  TracedProgram program(launch({"mix", "a.wav", "-o", "a.wav"}));
  program.runUntil([&] { return temporarySize() > 50000; });
  EXPECT_EQ(program.release(SIGINT).exitCode, 130);
  EXPECT_TRUE(folder.read("a.wav") == source);
}

TEST_F(FailedRender, OntoItsOwnInputReadsTheOldOneToTheEnd)
{
  succeed({"mix", "a.wav", "b.aiff", "-o", "other.wav"});
  succeed({"mix", "a.wav", "b.aiff", "-o", "a.wav"});
  EXPECT_TRUE(folder.read("a.wav") == folder.read("other.wav"));
}

TEST_F(FailedRender, WhereTheTargetCannotBeWrittenSaysWhy)
{
  const auto expectRefused = [this](const std::string& target, const std::string& reason) {
    expectError({"mix", "a.wav", "-o", target}, 1, target + ": " + reason);
    expectError({"convert", "a.wav", target}, 1, target + ": " + reason);
  };
  std::filesystem::create_directory(folder.path("folder.wav"));
  expectRefused("folder.wav", "is a folder");
  expectRefused("gone/out.wav", "the folder \"gone\" cannot be used: no such file or directory");
  expectRefused("a.wav/out.wav", "\"a.wav\" is not a folder");
  ASSERT_EQ(::mkfifo(folder.path("pipe.wav").c_str(), 0600), 0);
  expectRefused("pipe.wav", "is a pipe or a device");
  // Nobody, not even root, makes files there.
  expectError({"mix", "a.wav", "-o", "/proc/out.wav"}, 1, "/proc/out.wav: cannot be written: ");
}

TEST_F(FailedRender, InAFolderWithoutPermissionSaysWhy)
{
  std::filesystem::create_directory(folder.path("closed"));
  folder.write("closed/out.wav", old);
  std::filesystem::permissions(folder.path("closed"), std::filesystem::perms(0555));
  Launch powerless = launch({"mix", "a.wav", "-o", "closed/out.wav"});
  powerless.beforeExec = [] {
    // Root may write everywhere; without that power it is as anybody else.
    if (::getuid() == 0 && ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0) != 0)
      ::_exit(126);
  };
  const Outcome outcome = support::run(powerless);
  EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
  EXPECT_TRUE(holds(outcome.err, "closed/out.wav: "));
  EXPECT_TRUE(holds(outcome.err, "permission denied"));
  std::filesystem::permissions(folder.path("closed"), std::filesystem::perms(0755));
  EXPECT_TRUE(folder.read("closed/out.wav") == old);
}

/** What a system call does for a finished file: 'w'rites, 's'yncs, 'r'enames. */
char stepOf(long call)
{
  switch (call) {
  case SYS_write:
  case SYS_pwrite64:
    return 'w';
  case SYS_fsync:
  case SYS_fdatasync:
    return 's';
#ifdef SYS_rename
  case SYS_rename:
#endif
#ifdef SYS_renameat
  case SYS_renameat:
#endif
  case SYS_renameat2:
    return 'r';
  default:
    return 0;
  }
}

TEST_F(FailedRender, IsKeptFromPowerCutsBySyncingBeforeTheTargetIsReplaced)
{
  for (std::vector<std::string> command : {mix, conversion}) {
    command.push_back("--quiet");
    TracedProgram program(launch(command));
    std::string steps;
    while (program.toNextCall()) {
      if (const char step = stepOf(program.call()))
        steps += step;
    }
    EXPECT_EQ(program.finish().exitCode, 0);
    const std::size_t rename = steps.find('r');
    ASSERT_NE(rename, std::string::npos);
    EXPECT_EQ(steps.substr(rename - 2, 4), "wsrs") << steps; // the folder last
    EXPECT_EQ(steps.find('r', rename + 1), std::string::npos);
  }
}

TEST_F(FailedRender, KeepsALinkAsTargetALink)
{
  std::filesystem::create_directory(folder.path("real"));
  folder.write("real/target.wav", old);
  std::filesystem::create_symlink("real/target.wav", folder.path("link.wav"));
  succeed({"mix", "a.wav", "-o", "link.wav"});
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link.wav")));
  EXPECT_EQ(read("real/target.wav").rate, 44100);
  EXPECT_NE(folder.read("real/target.wav"), old);
}

TEST_F(FailedRender, KeepsTheTargetsPermissions)
{
  std::filesystem::permissions(folder.path("out.wav"), std::filesystem::perms(0640));
  succeed(mix);
  EXPECT_EQ(std::filesystem::status(folder.path("out.wav")).permissions(),
            std::filesystem::perms(0640));
}

// 4 GB are 2^32 bytes; a little below, the render starts and meets the limit.
TEST_F(FailedRender, OfMoreThan4GBIsRefusedBeforeItStarts)
{
  constexpr long long kBytes = 4294967296;
  const auto outcomeFor = [this](long long frames, const std::string& target) {
    char to[32];
    std::snprintf(to, sizeof to, "%.7f", static_cast<double>(frames) / 44100.0);
    Launch limited = launch({"mix", "a.wav", "--to", to, "--bits", "16", "-o", target});
    limited.beforeExec = [] {
      const ::rlimit limit{100000, 100000};
      ::setrlimit(RLIMIT_FSIZE, &limit);
    };
    return support::run(limited);
  };
  for (const std::string target : {"out.wav", "new.aiff"}) {
    const Outcome refused = outcomeFor(kBytes / 4, target);
    expectOneSentence(refused, target, "4 GB");
    const Outcome started = outcomeFor(kBytes / 4 - 100, target);
    expectOneSentence(started, target, "file too large");
    EXPECT_FALSE(holds(started.err, "4 GB"));
    expectOldTargetAndNoTemporary();
  }
  EXPECT_FALSE(std::filesystem::exists(folder.path("new.aiff")));
  // Not even a temporary file is begun.
  TracedProgram program(launch({"mix", "a.wav", "--to", "100000", "-o", "out.wav"}));
  while (program.toNextCall())
    ASSERT_EQ(temporary(), "");
  EXPECT_EQ(program.finish().exitCode, 1);
}

} // namespace
