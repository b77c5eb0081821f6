#include "tests/soundserver/Recording.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tests/soundserver/Waiting.h"

using support::Signal;

namespace {

constexpr long long kFrameBytes = SoundServer::kChannels * sizeof(float);

/** More than a stream, the sink and the recorder hold together. */
constexpr double kHeldSeconds = 0.5;

bool isSilent(const Signal& sound, long long frame)
{
  for (const std::vector<float>& channel : sound) {
    if (channel[static_cast<std::size_t>(frame)] != 0.0f)
      return false;
  }
  return true;
}

std::string describe(const Signal& sound, long long frame)
{
  std::ostringstream text;
  text.precision(9);
  for (long long i = frame; i < std::min(frame + 3, frameCount(sound)); ++i)
    text << " (" << sound[0][static_cast<std::size_t>(i)] << ", "
         << sound[1][static_cast<std::size_t>(i)] << ")";
  return text.str();
}

bool isSame(const Signal& a, long long frameA, const Signal& b, long long frameB)
{
  for (std::size_t channel = 0; channel < a.size(); ++channel) {
    if (std::bit_cast<std::uint32_t>(a[channel][static_cast<std::size_t>(frameA)]) !=
        std::bit_cast<std::uint32_t>(b[channel][static_cast<std::size_t>(frameB)]))
      return false;
  }
  return true;
}

} // namespace

Recording::Recording(const SoundEnvironment& environment)
    : path(environment.folder().path("recording"))
{
  program = launchAttended({"parec", "--raw", "--format=float32le",
                            "--rate=" + std::to_string(SoundServer::kRate),
                            "--channels=" + std::to_string(SoundServer::kChannels),
                            "--latency-msec=20", std::string("--device=") + SoundServer::kMonitor,
                            path});
  if (!holdsSoon([this] { return frames() > 0; }))
    throw std::runtime_error("nothing is recorded");
}

long long Recording::frames()
{
  expectRunning(*program, "parec");
  std::error_code isMissing;
  const auto bytes = std::filesystem::file_size(path, isMissing);
  return isMissing ? 0 : static_cast<long long>(bytes) / kFrameBytes;
}

Signal Recording::sound()
{
  const long long count = frames();
  std::vector<float> interleaved(static_cast<std::size_t>(count) * SoundServer::kChannels);
  std::ifstream file(path, std::ios::binary);
  if (!file.read(reinterpret_cast<char*>(interleaved.data()), count * kFrameBytes))
    throw std::runtime_error("cannot read the recording");
  Signal sound(SoundServer::kChannels);
  for (std::size_t i = 0; i < interleaved.size(); ++i)
    sound[i % SoundServer::kChannels].push_back(interleaved[i]);
  return sound;
}

Signal Recording::soundWhen(const std::function<bool()>& isOver)
{
  if (!holdsSoon(isOver))
    throw std::runtime_error("what is recorded does not come to an end");
  goOn(kHeldSeconds);
  return sound();
}

void Recording::goOn(double seconds)
{
  const long long enough =
      frames() + static_cast<long long>(seconds * SoundServer::kRate);
  if (!holdsSoon([this, enough] { return frames() >= enough; }))
    throw std::runtime_error("the recording stands still");
}

long long frameCount(const Signal& sound)
{
  return static_cast<long long>(sound.at(0).size());
}

long long framesInCommon(const Signal& a, const Signal& b)
{
  const long long shorter = std::min(frameCount(a), frameCount(b));
  long long frame = 0;
  while (frame < shorter && isSame(a, frame, b, frame))
    ++frame;
  return frame;
}

long long firstSounding(const Signal& sound, long long from)
{
  long long frame = from;
  while (frame < frameCount(sound) && isSilent(sound, frame))
    ++frame;
  return frame;
}

Signal sounding(const Signal& sound)
{
  const long long first = firstSounding(sound);
  long long end = frameCount(sound);
  while (end > first && isSilent(sound, end - 1))
    --end;
  return support::slice(sound, first, end - first);
}

::testing::AssertionResult isHeard(const Signal& recorded, const Signal& expected)
{
  const Signal heard = sounding(recorded);
  const Signal wanted = sounding(expected);
  if (frameCount(wanted) == 0)
    return ::testing::AssertionFailure() << "nothing was expected to be heard";
  const long long start = firstSounding(recorded);
  const long long i = framesInCommon(heard, wanted);
  if (i < std::min(frameCount(heard), frameCount(wanted))) {
    const long long silentFrames = firstSounding(heard, i) - i;
    return ::testing::AssertionFailure()
           << "frame " << i << " of " << frameCount(wanted) << " (frame " << start + i
           << " of the recording) is" << describe(heard, i) << " ..., not" << describe(wanted, i)
           << " ...; " << silentFrames << " silent frames there, then"
           << describe(heard, i + silentFrames) << " ...";
  }
  if (frameCount(heard) != frameCount(wanted))
    return ::testing::AssertionFailure()
           << frameCount(heard) << " frames were heard, not " << frameCount(wanted);
  return ::testing::AssertionSuccess() << frameCount(heard) << " frames were heard";
}

std::vector<Signal> partsOf(const Signal& recorded, long long gap)
{
  std::vector<Signal> parts;
  long long begin = firstSounding(recorded);
  while (begin < frameCount(recorded)) {
    long long end = begin;
    long long next = begin;
    while (next < frameCount(recorded) && next - end < gap) {
      end = next + 1;
      next = firstSounding(recorded, end);
    }
    parts.push_back(support::slice(recorded, begin, end - begin));
    begin = next;
  }
  return parts;
}
