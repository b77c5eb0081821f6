#include "tests/interop/ForeignFacts.h"

#include <ostream>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/interop/LibraryFiles.h"
#include "tests/interop/Sndfile.h"
#include "tests/support/Program.h"

namespace support {

namespace {

int bitsOf(int sndfileFormat)
{
  switch (sndfileFormat & SF_FORMAT_SUBMASK) {
  case SF_FORMAT_PCM_S8:
  case SF_FORMAT_PCM_U8:
    return 8;
  case SF_FORMAT_PCM_16:
    return 16;
  case SF_FORMAT_PCM_24:
    return 24;
  case SF_FORMAT_PCM_32:
    return 32;
  default:
    throw std::runtime_error("no integers");
  }
}

/** One for each file. */
std::vector<long long> numbersBySox(const std::vector<std::string>& paths, const char* option)
{
  std::vector<std::string> arguments = {"sox", "--i", option};
  arguments.insert(arguments.end(), paths.begin(), paths.end());
  std::istringstream lines(runOrThrow(arguments).out);
  std::vector<long long> numbers;
  for (std::string line; std::getline(lines, line);)
    numbers.push_back(std::stoll(line));
  if (numbers.size() != paths.size())
    throw std::runtime_error(std::string("sox told no ") + option + " of a file");
  return numbers;
}

} // namespace

void PrintTo(const Facts& facts, std::ostream* stream)
{
  *stream << facts.frames << " frames of " << facts.channels << " channels at " << facts.rate
          << ", " << facts.bits << " bits";
}

Facts factsBySox(const std::string& path)
{
  return factsBySox(std::vector{path}).at(0);
}

std::vector<Facts> factsBySox(const std::vector<std::string>& paths)
{
  const std::vector<long long> rates = numbersBySox(paths, "-r");
  const std::vector<long long> channels = numbersBySox(paths, "-c");
  const std::vector<long long> bits = numbersBySox(paths, "-b");
  const std::vector<long long> frames = numbersBySox(paths, "-s");
  std::vector<Facts> facts;
  for (std::size_t i = 0; i < paths.size(); ++i)
    facts.push_back({static_cast<int>(rates[i]), static_cast<int>(channels[i]),
                     static_cast<int>(bits[i]), frames[i]});
  return facts;
}

Facts factsByFfprobe(const std::string& path)
{
  const std::string out =
      runOrThrow({"ffprobe", "-v", "error", "-show_entries",
                  "stream=sample_rate,channels,bits_per_sample,duration_ts", "-of",
                  "default=noprint_wrappers=1", path})
          .out;
  const auto number = [&](const std::string& name) {
    const std::size_t place = out.find(name + "=");
    if (place == std::string::npos)
      throw std::runtime_error(path + ": ffprobe tells no " + name);
    return std::stoll(out.substr(place + name.size() + 1));
  };
  return {static_cast<int>(number("sample_rate")), static_cast<int>(number("channels")),
          static_cast<int>(number("bits_per_sample")), number("duration_ts")};
}

std::optional<Facts> factsBySoxIfRead(const std::string& path)
{
  if (run({"sox", "--i", path}).exitCode != 0)
    return std::nullopt;
  return factsBySox(path);
}

std::optional<Facts> factsByFfprobeIfRead(const std::string& path)
{
  if (run({"ffprobe", "-v", "error", path}).exitCode != 0)
    return std::nullopt;
  return factsByFfprobe(path);
}

Facts factsBySndfile(const std::string& path)
{
  const SndfileReading reading = readBySndfile(path);
  return {reading.info.samplerate, reading.info.channels, bitsOf(reading.info.format),
          reading.info.frames};
}

Facts factsByLibrary(const std::string& path)
{
  const TovAudioIOFormat format = readByLibrary(path).format;
  if (format.state != FormatValid)
    return {};
  return {static_cast<int>(format.sampleRate), static_cast<int>(format.channels),
          static_cast<int>(format.bytesPerSample) * 8, format.frameCount};
}

void expectReadAsBySndfile(const std::string& path)
{
  SCOPED_TRACE(path);
  const SndfileReading expected = readBySndfile(path);
  const LibraryReading found = readByLibrary(path);
  ASSERT_EQ(found.openStatus, 0);
  ASSERT_EQ(found.specStatus, 0);
  EXPECT_EQ(found.readStatus, 0);
  EXPECT_EQ(found.format.sampleRate, static_cast<std::uint32_t>(expected.info.samplerate));
  EXPECT_EQ(found.format.channels, static_cast<std::uint32_t>(expected.info.channels));
  EXPECT_EQ(found.format.bytesPerSample * 8,
            static_cast<std::uint32_t>(bitsOf(expected.info.format)));
  ASSERT_EQ(found.format.frameCount, expected.info.frames);
  const std::size_t channels = found.samples.size();
  for (std::size_t i = 0; i < expected.samples.size(); ++i) {
    // Both round to nearest, which only 32 bits need.
    const float sample = static_cast<float>(expected.samples[i]) * 0x1p-31f;
    ASSERT_EQ(found.samples[i % channels][i / channels], sample)
        << "frame " << i / channels << " of channel " << i % channels;
  }
}

} // namespace support
