// "-" as the file to write.
#include <array>
#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "tests/app/Help.h"
#include "tests/app/Pty.h"

namespace {

using support::holds;
using support::Launch;
using support::Outcome;

class StandardOutput : public support::TovTest {
protected:
  StandardOutput()
  {
    write("a.wav", support::randomSound(2, 48000, 48000, 16, 1, 0.3));
    write("b.aiff", support::randomSound(1, 30000, 44100, 32, 2, 0.3));
    std::filesystem::create_directory(folder.path("temporary"));
  }

  /** With a folder for temporary files of its own. */
  Launch launchHere(const std::vector<std::string>& arguments) const
  {
    Launch launched = launch(arguments);
    launched.settings.push_back("TMPDIR=" + folder.path("temporary"));
    return launched;
  }

  void expectNoTemporary() const
  {
    EXPECT_TRUE(std::filesystem::is_empty(folder.path("temporary")));
    for (const std::string& name : names())
      EXPECT_NE(name[0], '.') << name;
  }

  /** The same command, with "OUT" in it, into a file of this name and into
   *  standard output. */
  void expectSameBytes(std::vector<std::string> arguments, const std::string& name) const
  {
    const auto out = std::find(arguments.begin(), arguments.end(), "OUT");
    ASSERT_NE(out, arguments.end());
    *out = name;
    succeed(arguments);
    *out = "-";
    const bool isAiff = name.ends_with(".aiff");
    if (isAiff)
      arguments.insert(arguments.end(), {"--format", "aiff"});
    const Outcome outcome = support::run(launchHere(arguments));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    const std::vector<std::uint8_t> bytes = folder.read(name);
    EXPECT_GT(bytes.size(), 40000u);
    EXPECT_TRUE(outcome.out == std::string(bytes.begin(), bytes.end()));
    EXPECT_EQ(outcome.err, "");
    expectNoTemporary();
  }
};

TEST_F(StandardOutput, GetsTheBytesOfAFile)
{
  for (const std::string name : {"out.wav", "out.aiff"}) {
    SCOPED_TRACE(name);
    expectSameBytes({"mix", "a.wav", "b.aiff", "--start", "0.5", "-o", "OUT"}, name);
    expectSameBytes({"mix", "a.wav", "-o", "OUT", "--bits", "16", "--dither"}, name);
    expectSameBytes({"convert", "a.wav", "OUT"}, name);
    expectSameBytes({"convert", "b.aiff", "OUT", "--rate", "48000", "--bits", "24"}, name);
  }
  // 32-bit integers, whose bytes are taken over as they are.
  expectSameBytes({"convert", "b.aiff", "OUT"}, "exact.aiff");
}

TEST_F(StandardOutput, GetsTheMixOfASession)
{
  succeed({"save", "shot.script", "a.wav", "b.aiff", "--gain", "-3"});
  expectSameBytes({"mix", "shot.script", "-o", "OUT"}, "out.wav");
  expectSameBytes({"convert", "shot.script", "OUT"}, "out.wav");
}

TEST_F(StandardOutput, CanBeReadByAnotherProgram)
{
  const std::string command = std::string(TOV_PROGRAM) +
                              " mix a.wav b.aiff -o - | sox -t wav - -t wav read.wav && " +
                              TOV_PROGRAM + " mix a.wav b.aiff -o whole.wav --quiet && " +
                              "sox whole.wav -t wav same.wav";
  const Outcome outcome =
      support::run(Launch{.arguments = {"sh", "-c", command}, .folder = folder.folder()});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "");
  EXPECT_GT(folder.read("read.wav").size(), 100000u);
  EXPECT_TRUE(folder.read("read.wav") == folder.read("same.wav"));
}

TEST_F(StandardOutput, GetsNothingFromACommandThatFails)
{
  expectError({"mix", "a.wav", "gone.wav", "-o", "-"}, 1, "gone.wav: no such file");
  expectError({"convert", "gone.wav", "-"}, 1, "gone.wav: no such file");
  Launch launched = launch({"mix", "a.wav", "-o", "-"});
  launched.settings.push_back("TMPDIR=" + folder.path("gone"));
  launched.settings.push_back("TMP=");
  const Outcome outcome = support::run(launched);
  // Where the named folder is none, the system's is taken.
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_GT(outcome.out.size(), 200000u);
}

TEST_F(StandardOutput, ThatIsClosedIsToldAndLeavesNothing)
{
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"mix", "a.wav", "-o", "-"}, {"convert", "a.wav", "-"}}) {
    Launch launched = launchHere(command);
    launched.beforeExec = [] {
      std::array<int, 2> ends{};
      if (::pipe(ends.data()) == 0) {
        ::dup2(ends[1], 1);
        ::close(ends[0]);
        ::close(ends[1]);
      }
    };
    const Outcome outcome = support::run(launched);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "standard output: was closed before it had taken all of it\n");
    expectNoTemporary();
  }
}

// The first file that is opened would take its place, and get what is told of it.
TEST_F(StandardOutput, ThatIsNotOpenIsToldAndGoesIntoNoFile)
{
  succeed({"mix", "a.wav", "-o", "whole.wav"});
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"mix", "a.wav", "-o", "-"},
        {"convert", "a.wav", "-"},
        {"info", "a.wav"},
        {"mix", "a.wav", "-o", "told.wav"},
        {"mix", "a.wav", "-o", "json.wav", "--json"}}) {
    Launch launched = launchHere(command);
    launched.beforeExec = [] { ::close(1); };
    const Outcome outcome = support::run(launched);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(holds(outcome.err, "standard output: could not be written"));
    expectNoTemporary();
  }
  EXPECT_EQ(folder.read("told.wav"), folder.read("whole.wav"));
  EXPECT_EQ(folder.read("json.wav"), folder.read("whole.wav"));
}

TEST_F(StandardOutput, ThatIsFullIsTold)
{
  Launch launched = launchHere({"mix", "a.wav", "-o", "-"});
  launched.beforeExec = support::standardOutputIs("/dev/full");
  const Outcome outcome = support::run(launched);
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_TRUE(holds(outcome.err, "standard output: could not be written completely: no space"));
  expectNoTemporary();
}

TEST_F(StandardOutput, WhoseReaderRestsCanBeInterrupted)
{
  for (const int signal : {SIGINT, SIGTERM}) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    Launch launched = launchHere({"mix", "a.wav", "-o", "-"});
    launched.beforeExec = [ends] { ::dup2(ends[1], 1); };
    support::Program program(launched);
    // Until the pipe takes no more, which is less than the sound.
    int waiting = 0;
    ::pollfd room = {ends[1], POLLOUT, 0};
    do {
      ::poll(nullptr, 0, 5);
      ::ioctl(ends[0], FIONREAD, &waiting);
    } while (waiting == 0 || ::poll(&room, 1, 0) != 0);
    program.send(signal);
    const Outcome outcome = program.wait();
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.err, "tov: interrupted\n");
    expectNoTemporary();
    ::close(ends[0]);
    ::close(ends[1]);
  }
}

TEST_F(StandardOutput, ThatIsATerminalGetsNoSound)
{
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"mix", "a.wav", "-o", "-"}, {"convert", "a.wav", "-"}}) {
    support::Pty terminal(launch(command));
    EXPECT_EQ(terminal.waitForEnd().exitCode, 2);
    EXPECT_TRUE(holds(terminal.text(), "standard output is a terminal"));
    EXPECT_EQ(terminal.text().find("RIFF"), std::string::npos);
  }
}

TEST_F(StandardOutput, HasOneUseAtATime)
{
  for (const std::vector<std::string>& json :
       {std::vector<std::string>{"--json"}, {"--progress", "json"}}) {
    std::vector<std::string> command = {"mix", "a.wav", "-o", "-"};
    command.insert(command.end(), json.begin(), json.end());
    const Outcome outcome = tov(command);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(holds(outcome.err, "the sound and JSON cannot both go to standard output"));
    EXPECT_EQ(outcome.out.find("RIFF"), std::string::npos);
  }
  // What is saved is not told there either.
  const Outcome saved = succeed({"mix", "a.wav", "-o", "-", "--save", "shot.script"});
  succeed({"mix", "a.wav", "-o", "out.wav"});
  const std::vector<std::uint8_t> bytes = folder.read("out.wav");
  EXPECT_TRUE(saved.out == std::string(bytes.begin(), bytes.end()));
  EXPECT_FALSE(folder.read("shot.script").empty());
}

TEST_F(StandardOutput, IsWavUnlessTheFormatIsSaid)
{
  EXPECT_TRUE(succeed({"convert", "b.aiff", "-", "--bits", "16"}).out.starts_with("RIFF"));
  EXPECT_TRUE(
      succeed({"convert", "b.aiff", "-", "--format", "wav", "--bits", "16"}).out.starts_with("RIFF"));
  EXPECT_TRUE(succeed({"convert", "a.wav", "-", "--format", "aiff"}).out.starts_with("FORM"));
  expectError({"convert", "a.wav", "-", "--format", "aif"}, 2, "did you mean aiff?");
  expectError({"mix", "a.wav", "-o", "-", "--format", "flac"}, 2, "--format: \"flac\" is none of");
  expectError({"mix", "a.wav", "--save", "x.script", "--format", "wav"}, 2,
              "--format is for a file to write");
}

TEST_F(StandardOutput, FormatGoesForFilesToo)
{
  succeed({"convert", "a.wav", "raw", "--format", "aiff"});
  succeed({"convert", "a.wav", "same.aiff"});
  EXPECT_EQ(folder.read("raw"), folder.read("same.aiff"));
  succeed({"mix", "a.wav", "-o", "x.aif", "--format", "aiff"});
  expectError({"mix", "a.wav", "-o", "x.wav", "--format", "aiff"}, 2,
              "--format aiff contradicts the name \"x.wav\"");
  expectError({"convert", "a.wav", "x.aiff", "--format", "wav"}, 2,
              "--format wav contradicts the name \"x.aiff\"");
}

TEST_F(StandardOutput, IsNamedByTheSameOptionInConvertAndMix)
{
  succeed({"convert", "a.wav", "named.aiff"});
  succeed({"convert", "-o", "same.aiff", "a.wav"});
  EXPECT_EQ(folder.read("same.aiff"), folder.read("named.aiff"));
  EXPECT_TRUE(succeed({"convert", "a.wav", "-o", "-"}).out.starts_with("RIFF"));
  expectError({"convert", "a.wav", "x.wav", "-o", "y.wav"}, 2,
              "two files are needed, IN and OUT; given: 3");
  expectError({"convert", "-o", "y.wav"}, 2, "two files are needed, IN and OUT; given: 1");
}

TEST_F(StandardOutput, HasNoCounterpartForInput)
{
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"mix", "-", "-o", "out.wav"},
        {"convert", "-", "out.wav"},
        {"info", "-"},
        {"play", "-"},
        {"save", "x.script", "-"}})
    expectError(command, 2, "standard input cannot be read");
  expectError({"save", "-", "a.wav"}, 2, "a mix is kept in a script; standard output is none");
  expectError({"mix", "a.wav", "--save", "-"}, 2, "standard output is none");
  std::filesystem::copy_file(folder.path("a.wav"), folder.path("-.wav"));
  EXPECT_EQ(mixed({"./-.wav"}).frames(), 48000);
}

} // namespace
