// `tov play` while its files are cut short, replaced, deleted and put back
// every 50 ms.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "tests/app/PlayTest.h"

namespace {

using nlohmann::json;
using support::Bytes;
using support::Outcome;

/** Does something else to a file every 50 ms, on a thread of its own, and puts
 *  it back at the end. */
class Changing {
public:
  Changing(const support::TempFolder& files, const std::string& changed, unsigned int seed)
      : folder(files), name(changed), whole(files.read(changed)), random(seed),
        thread([this] { run(); })
  {
  }
  ~Changing() { stop(); }
  Changing(const Changing&) = delete;
  Changing& operator=(const Changing&) = delete;

  /** Returns how many changes there were. */
  int stop()
  {
    isDone = true;
    if (thread.joinable()) {
      thread.join();
      put(Bytes().append(whole));
    }
    return changes;
  }

private:
  void run()
  {
    const support::IntegerSound other =
        support::randomSound(1, 30000, 22050, 24, static_cast<unsigned int>(random()), 0.1);
    const Bytes valid = name.ends_with(".wav") ? support::wavOf(other) : support::aiffOf(other);
    Bytes garbage;
    for (int i = 0; i < 50000; ++i)
      garbage.u8(static_cast<unsigned int>(random()));
    for (; !isDone; ++changes) {
      const std::string path = folder.path(name);
      std::error_code error; // it may be deleted already
      switch (random() % 6) {
      case 0:
        std::filesystem::resize_file(path, random() % whole.size(), error);
        break;
      case 1:
        put(valid);
        break;
      case 2:
        put(garbage);
        break;
      case 3:
        std::filesystem::remove(path);
        break;
      case 4:
        std::filesystem::resize_file(path, 0, error);
        break;
      default:
        put(Bytes().append(whole));
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }

  /** As editors do: written aside, then put in place. */
  void put(const Bytes& bytes) const
  {
    std::filesystem::rename(folder.write("aside", bytes), folder.path(name));
  }

  const support::TempFolder& folder;
  const std::string name;
  const std::vector<std::uint8_t> whole;
  std::mt19937 random; ///< of the thread's
  std::atomic<bool> isDone = false;
  std::atomic<int> changes = 0;
  std::thread thread;
};

class ChangingInputs : public support::PlayTest {
protected:
  ChangingInputs()
  {
    folder.write("a.aiff", support::aiffOf(support::constantSound(2, 20 * 44100, 44100, 16, 8192)));
  }

  static constexpr double kEnd = 2.8;

  /** Whether the program comes to tell its first line. */
  bool hasBegun() const
  {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < limit) {
      if (std::filesystem::exists(folder.path("lines")) && !folder.read("lines").empty())
        return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }

  /** Plays the file, changed all the time, with b.wav, which is not. */
  void expectPlayedToItsEnd(const std::string& name, unsigned int seed) const
  {
    std::filesystem::remove(folder.path("lines"));
    support::Launch playing =
        launchPlay({name, "b.wav", "--to", std::to_string(kEnd), "--json"});
    const std::string said = folder.path("lines");
    playing.beforeExec = [said] {
      ::dup2(::open(said.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), 1);
    };
    support::Program program(playing);
    ASSERT_TRUE(hasBegun());
    Changing changing(folder, name, seed);
    Outcome outcome = program.wait();
    EXPECT_GT(changing.stop(), 10);
    const std::vector<std::uint8_t> out = folder.read("lines");
    outcome.out.assign(out.begin(), out.end());
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    const std::vector<json> lines = support::jsonLines(outcome.out);
    ASSERT_GE(lines.size(), 2u);
    double earlier = -0.1;
    for (const json& line : lines) {
      EXPECT_GE(line["position"].get<double>(), earlier);
      earlier = line["position"].get<double>();
    }
    EXPECT_EQ(lines.back()["event"], "done");
    EXPECT_EQ(lines.back()["position"], kEnd);
    // The other track was heard all the time.
    EXPECT_GE(lines.back()["peakDbfs"][0].get<double>(), support::decibels(0.499));
    // Nothing but that the file was lost.
    for (const std::string& line : support::linesOf(outcome.err)) {
      EXPECT_TRUE(line.starts_with(name + ": ")) << line;
      EXPECT_TRUE(line.ends_with("; the rest plays on")) << line;
    }
  }

  /** It plays as if nothing had been. */
  void expectPlayedWhole(const std::string& name) const
  {
    const Outcome outcome = play({name, "b.wav", "--to", "0.3", "--json"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_NEAR(support::jsonLines(outcome.out).back()["peakDbfs"][0].get<double>(),
                support::decibels(0.75), 0.01);
  }
};

TEST_F(ChangingInputs, WavDoesNotKeepPlayingFromItsEnd)
{
  expectPlayedToItsEnd("a.wav", 1);
  expectPlayedWhole("a.wav");
}

TEST_F(ChangingInputs, AiffDoesNotKeepPlayingFromItsEnd)
{
  expectPlayedToItsEnd("a.aiff", 2);
  expectPlayedWhole("a.aiff");
}

} // namespace
