// The command `tov mix`, in a process of its own.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/faults/FaultLoop.h"
#include "tests/faults/SoundFiles.h"
#include "tests/support/Program.h"

namespace {

using namespace support;

/** Mixes onto an old target. */
class Mixing : public Scenario {
public:
  Mixing()
  {
    command = {"mix", "first.wav", "--in", "0.05", "second.aiff"};
    command.insert(command.end(), {"--start", "0.05", "-o", "out.wav"});
    complete();
  }

  void attempt(Attempt& attempt) override
  {
    restore();
    const Outcome outcome = run(attempt);
    SCOPED_TRACE(outcome.err);
    EXPECT_EQ(outcome.signal, 0);
    EXPECT_TRUE(outcome.exitCode == 0 || (outcome.exitCode == 1 && attempt.happened()))
        << outcome.exitCode;
    for (const Target& target : targets)
      expectOldOrComplete(target, outcome.exitCode == 0);
    EXPECT_EQ(temporary(), "");
    if (outcome.exitCode == 0) {
      EXPECT_EQ(outcome.err, "");
    } else {
      expectClearMessage(attempt, outcome.err);
    }
  }

  bool isLong() const override { return true; }

protected:
  struct Target {
    std::string name;
    std::vector<std::uint8_t> old;
    std::vector<std::uint8_t> complete;
  };

  struct ForAnotherCommand {};
  explicit Mixing(ForAnotherCommand) {}

  void runWithoutFault()
  {
    Attempt attempt(FaultKind::Open, 0, FaultReach::CallingThread, FaultLength::Once);
    const Outcome outcome = run(attempt);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  }

  /** Takes note of what a run without a fault makes. */
  void complete()
  {
    restore();
    runWithoutFault();
    for (Target& target : targets) {
      target.complete = files.folder().read(target.name);
      EXPECT_TRUE(target.complete != target.old);
    }
  }

  SoundFiles files;
  const std::string inputs[2] = {files.wav("first.wav", 44100, 1),
                                 files.aiff("second.aiff", 48000, 2)};
  std::vector<std::string> command;
  std::vector<Target> targets = {{"out.wav", files.folder().read("first.wav"), {}}};

private:
  void restore() const
  {
    for (const Target& target : targets)
      files.folder().write(target.name, target.old);
    for (std::string left = temporary(); !left.empty(); left = temporary())
      std::filesystem::remove(files.folder().path(left));
  }

  /** A file that nobody made a name for; empty where there is none. */
  std::string temporary() const
  {
    for (const auto& entry : std::filesystem::directory_iterator(files.folder().folder())) {
      const std::string name = entry.path().filename().string();
      if (name[0] == '.')
        return name;
    }
    return {};
  }

  Outcome run(Attempt& attempt) const
  {
    const TempFolder own;
    const char* const options = std::getenv("ASAN_OPTIONS");
    std::vector<std::string> arguments = {TOV_FAULTY_PROGRAM};
    arguments.insert(arguments.end(), command.begin(), command.end());
    const Launch launch = {
        .arguments = arguments,
        .folder = files.folder().folder(),
        .settings = {std::string("TOV_FAULT=") + nameOf(attempt.kind()) + " " +
                         std::to_string(attempt.number()) +
                         (attempt.length() == FaultLength::Lasting ? " lasting" : ""),
                     "TOV_FAULT_TOLD=" + own.path("told"),
                     // Its usual code is one of the program's own.
                     std::string("ASAN_OPTIONS=") + (options ? options : "") + ":exitcode=99"}};
    const Outcome outcome = support::run(launch);
    long calls = 0;
    int happened = 0;
    if (std::ifstream(own.path("told")) >> calls >> happened)
      attempt.underElsewhere(calls, happened != 0);
    else
      attempt.underElsewhere(attempt.number(), true); // it did not live to tell
    return outcome;
  }

  void expectOldOrComplete(const Target& target, bool isDone) const
  {
    const std::vector<std::uint8_t> bytes = files.folder().read(target.name);
    EXPECT_TRUE(bytes == target.complete || (!isDone && bytes == target.old)) << target.name;
  }

  /** A sentence that names a file, or says that memory ran out. */
  static void expectClearMessage(const Attempt& attempt, const std::string& message)
  {
    EXPECT_TRUE(message.ends_with('\n'));
    if (attempt.kind() == FaultKind::Allocation) {
      EXPECT_EQ(message, "tov: out of memory\n");
      return;
    }
    // The files that a session misses are listed, one a line.
    const bool isList = message.starts_with("mix: 1 file is missing");
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), isList ? 2 : 1);
    bool isFileNamed = false;
    for (const char* const name : {"first.wav: ", "second.aiff: ", "out.wav: ", ".script: "})
      isFileNamed = isFileNamed || message.find(name) != std::string::npos;
    EXPECT_TRUE(isFileNamed);
  }
};

/** Mixes what a script holds, and keeps it in another script. */
class MixingSession : public Mixing {
public:
  MixingSession() : Mixing(ForAnotherCommand())
  {
    command = {"save", "shot.script", "first.wav", "second.aiff", "--start", "0.05"};
    runWithoutFault();
    command = {"mix", "shot.script", "-o", "out.wav", "--save", "kept.script"};
    targets.push_back({"kept.script", Bytes().text("// nothing yet\n").data(), {}});
    complete();
  }
};

using enum FaultKind;
const std::vector<FaultKind> kKinds = {Read, Write, Seek, Open, Close, Allocation};

INSTANTIATE_TEST_SUITE_P(
    Program, FaultLoop,
    testing::ValuesIn(
        joined({faultCases<Mixing>("Mix", kKinds),
                casesOfLength<MixingSession>("MixSession", kKinds, FaultLength::Once)})),
    caseName);

} // namespace
