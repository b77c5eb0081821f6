#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "bench/Benches.h"
#include "bench/SoundFile.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "playback/TovAudioPlayerOSX.h"
#include "playout/PlayoutDevice.h"

// The player plays a file in a loop; instead of the computer's output the
// engine gets a device that pulls 512 frames at a steady pace, faster than a
// sound card so that there are calls enough for the rare slow ones, and slowly
// enough for the feeder to keep ahead.  After each call comes a loop of about
// the same length that only counts: what it takes in its rare slow cases is the
// machine's interrupts, which meet the callback as well.

namespace {

constexpr long kFrames = 512;
constexpr long kPaceNanoseconds = 400000;

double secondsOf(clockid_t clock)
{
  timespec time = {};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/** Counts for a few microseconds. */
void count()
{
  constexpr int kSteps = 6000;
  for (int i = 0; i < kSteps; ++i)
    asm volatile("" ::: "memory");
}

/** What the calls took, in seconds; written by the device's thread and read
 *  when it has ended. */
struct CallTimes {
  std::vector<double> processor;
  std::vector<double> clock;
  std::vector<double> counting;
  long silentCalls = 0;
  std::size_t wanted = 0;
  std::atomic<bool> isComplete{false};
};

CallTimes* timesInUse = nullptr; ///< of the run under way

class TimedDevice : public PlayoutDevice {
public:
  ~TimedDevice() override { close(); }

  int open(PlayoutSource& s, double, int) override
  {
    source = &s;
    current = State::stopped;
    return 0;
  }
  int start() override
  {
    isStopping = false;
    current = State::running;
    thread = std::thread([this] { run(); });
    return 0;
  }
  int stop() override
  {
    isStopping = true;
    if (thread.joinable())
      thread.join();
    current = State::stopped;
    return 0;
  }
  long long position() override { return pulled; }
  long latency() override { return 0; }
  State state() const override { return current; }
  void close() override
  {
    stop();
    current = State::closed;
  }

private:
  void run()
  {
    float samples[2 * kFrames];
    while (!isStopping) {
      const double clock = secondsOf(CLOCK_MONOTONIC);
      const double processor = secondsOf(CLOCK_THREAD_CPUTIME_ID);
      source->render(samples, kFrames);
      const double processorEnd = secondsOf(CLOCK_THREAD_CPUTIME_ID);
      const double clockEnd = secondsOf(CLOCK_MONOTONIC);
      const double counting = secondsOf(CLOCK_THREAD_CPUTIME_ID);
      count();
      const double countingEnd = secondsOf(CLOCK_THREAD_CPUTIME_ID);
      pulled += kFrames;
      keep(*timesInUse, {processorEnd - processor, clockEnd - clock, countingEnd - counting},
           std::all_of(samples, samples + 2 * kFrames, [](float s) { return s == 0.0f; }));
      const timespec pause = {0, kPaceNanoseconds};
      clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr);
    }
  }

  struct Call {
    double processor, clock, counting;
  };

  static void keep(CallTimes& times, const Call& call, bool isSilent)
  {
    if (times.isComplete)
      return;
    times.processor.push_back(call.processor);
    times.clock.push_back(call.clock);
    times.counting.push_back(call.counting);
    times.silentCalls += isSilent;
    times.isComplete = times.processor.size() == times.wanted;
  }

  PlayoutSource* source = nullptr;
  std::thread thread;
  std::atomic<bool> isStopping{false};
  std::atomic<long long> pulled{0};
  std::atomic<State> current{State::closed};
};

void addDistribution(Section& section, std::vector<double> seconds, const std::string& clock,
                     bool isGoal)
{
  std::sort(seconds.begin(), seconds.end());
  const auto add = [&](const std::string& name, double share, std::optional<double> below) {
    const double place = share * static_cast<double>(seconds.size() - 1);
    section.limits.push_back(
        {name + " of " + clock, 1e6 * seconds[static_cast<std::size_t>(place)], "us", below});
  };
  add("p50", 0.5, std::nullopt);
  add("p99", 0.99, std::nullopt);
  add("p99.99", 0.9999, isGoal ? std::optional<double>(20.0) : std::nullopt);
  add("maximum", 1.0, std::nullopt);
}

} // namespace

/** What the engine calls. */
std::unique_ptr<PlayoutDevice> makeCubebDevice()
{
  return std::make_unique<TimedDevice>();
}

Section benchCallback(Run& run)
{
  CallTimes times;
  times.wanted = run.isQuick ? 20000 : 100000;
  times.processor.reserve(times.wanted);
  times.clock.reserve(times.wanted);
  times.counting.reserve(times.wanted);
  timesInUse = &times;

  const std::string path = run.folder + "/callback.wav";
  constexpr double kSeconds = 20.0;
  writeSound(path, {44100, 2, 16, kSeconds}, 1);
  TovAudioMixer* const mixer = TovAudioMixer::getMasterMixer();
  TovAudioFile* const file = new TovAudioFile;
  file->initialize(path.c_str());
  mixer->addProvider(file);
  mixer->setStartTime(file, 0.0);
  mixer->setEndTime(file, 0.0);
  setenv("PLAYOUT_DEVICE", "cubeb", 1);
  {
    TovAudioPlayerOSX player;
    if (player.play(1.0, kSeconds - 1.0, true) != 0)
      throw std::runtime_error("the player does not play");
    while (!times.isComplete) {
      const timespec pause = {0, 20'000'000};
      nanosleep(&pause, nullptr);
    }
    player.stop();
  }
  mixer->clear();
  file->dereference();
  mixer->dereference();

  Section section;
  section.title = "Output callback of 512 frames";
  section.method =
      "The player in a loop over a stereo file, through the engine, pulled every " +
      std::to_string(kPaceNanoseconds / 1000) + " us: " + std::to_string(times.wanted) +
      " calls, of which " + std::to_string(times.silentCalls) +
      " delivered silence.  Processor time is the thread's own, with the reading of "
      "the clock, and the interrupts that fall into it: the rows below tell what these "
      "make of a loop of the same length that only counts.  By the clock on the wall "
      "everything else that runs counts too.  "
      "That the callback does not allocate, lock or call is a test (tests/callback).";
  addDistribution(section, times.processor, "the processor time", true);
  addDistribution(section, times.counting, "the processor time of the loop", false);
  addDistribution(section, times.clock, "the time on the wall", false);
  return section;
}
