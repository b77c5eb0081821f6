#include "fuzz/WrittenFile.h"

#include <algorithm>
#include <bit>
#include <fstream>
#include <iterator>
#include <type_traits>

#include <sndfile.h>

#include "fuzz/Input.h"
#include "tests/support/Buffers.h"

namespace fuzz {

namespace {

using Octets = std::vector<std::uint8_t>;

Octets contents(const std::string& path)
{
  std::ifstream stream(path, std::ios::binary);
  return Octets(std::istreambuf_iterator<char>(stream), {});
}

std::uint32_t number(const Octets& bytes, std::size_t position, bool isBigEndian)
{
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i)
    value |= static_cast<std::uint32_t>(bytes[position + i]) << 8 * (isBigEndian ? 3 - i : i);
  return value;
}

} // namespace

template <typename Format>
WrittenFile<Format>::WrittenFile(const TovAudioIOFormat& wanted, unsigned long bytes)
    : record(wanted), room(bytes),
      frameBytes(static_cast<long long>(wanted.bytesPerSample) * wanted.channels)
{
}

template <typename Format>
bool WrittenFile<Format>::isPossible() const
{
  return record.sampleRate >= 1 && record.sampleRate <= INT32_MAX && record.bytesPerSample >= 1 &&
         record.bytesPerSample <= 4 && record.channels >= 1 && record.channels <= 0xffff &&
         room >= Format::kHeaderBytes;
}

template <typename Format>
void WrittenFile<Format>::checkWriting(typename Format::Writer& writer, WriteCall call)
{
  const int frames = static_cast<int>(call.signal[0].size());
  require(writer.writeChannels(support::pointers(call.signal), call.startFrame, frames) ==
              write(call.signal),
          "the status of writing");
  require(writer.writeChannels(support::pointers(call.signal), 0, -frames) == 0,
          "nothing is written");
  call.signal.emplace_back();
  require(writer.writeChannels(support::pointers(call.signal), 0, frames) == 2,
          "one input too many");
}

template <typename Format>
void WrittenFile<Format>::checkFile(const std::string& path) const
{
  checkContents(path);
  checkOwnReader(path);
  checkSndfile(path);
}

template <typename Format>
int WrittenFile<Format>::write(const support::Signal& signal)
{
  const support::Bytes encoded =
      support::encoded<Format>(signal, static_cast<int>(record.bytesPerSample));
  const std::size_t fitting =
      std::min(encoded.size(), room - Format::kHeaderBytes - samples.size());
  samples.insert(samples.end(), encoded.data().begin(),
                 encoded.data().begin() + static_cast<long>(fitting));
  const bool fits = fitting == encoded.size();
  isComplete = isComplete && fits;
  acceptedFrames += fits ? static_cast<long long>(signal[0].size()) : 0;
  return fits ? 0 : Format::kShortWrite;
}

template <typename Format>
void WrittenFile<Format>::checkContents(const std::string& path) const
{
  const Octets file = contents(path);
  require(file.size() == Format::kHeaderBytes + samples.size(), "the file is as long as it should");
  require(std::equal(samples.begin(), samples.end(), file.begin() + Format::kHeaderBytes),
          "the samples stand in the file");
  const std::uint32_t size = static_cast<std::uint32_t>(samples.size());
  const bool isBig = Format::kBigEndian;
  require(number(file, 4, isBig) == file.size() - 8, "the size of the whole");
  require(number(file, isBig ? 42 : 40, isBig) == size + (isBig ? 8 : 0),
          "the size of the samples");
  if (isBig)
    require(number(file, 22, true) == acceptedFrames, "the number of frames");
}

template <typename Format>
void WrittenFile<Format>::checkOwnReader(const std::string& path) const
{
  const int channels = static_cast<int>(record.channels);
  typename Format::Reader reader;
  TovAudioIOFormat found{};
  require(reader.initialize(path.c_str()) == 0 && reader.getFileSpec(&found) == 0,
          "what was written can be opened");
  require(found.channels == record.channels && found.bytesPerSample == record.bytesPerSample,
          "with the format that it was given");
  require(found.sampleRate == record.sampleRate || (Format::kBigEndian && record.sampleRate == 1),
          "and its rate"); // deliberate: AIFF writes a rate of 1 as 2
  require(found.frameCount == (Format::kBigEndian ? acceptedFrames : wholeFrames()),
          "and its frames");

  const long long frames = wholeFrames();
  if (frames == 0) // of tens of thousands of channels the header is enough
    return;
  support::Buffers buffers(channels, frames);
  const std::vector<int> map = support::allChannels(channels);
  require(reader.readChannels(buffers.pointers(), support::channelMap(map), 0, frames) == 0,
          "all that fitted can be read");
  const support::Signal wanted =
      support::decoded<Format>(support::Bytes().append(samples),
                               static_cast<int>(record.bytesPerSample), channels, map, frames);
  for (int i = 0; i < channels; ++i)
    require(support::bits(buffers.samples(i)) == support::bits(wanted[static_cast<std::size_t>(i)]),
            "and is what was written");
}

template <typename Format>
void WrittenFile<Format>::checkSndfile(const std::string& path) const
{
  constexpr std::uint32_t kMostForeignRate = 655350; // it doubts AIFF rates above
  constexpr std::uint32_t kMostForeignChannels = 1024;
  if (!isComplete || record.sampleRate > kMostForeignRate || record.sampleRate < 2 ||
      record.channels > kMostForeignChannels)
    return;
  const std::unique_ptr<ForeignReading> reading = readForeign(path);
  require(reading != nullptr, "libsndfile takes the file");
  require(reading->channels == static_cast<int>(record.channels) &&
              reading->rate == static_cast<int>(record.sampleRate) &&
              reading->frames == acceptedFrames,
          "and finds its channels, rate and frames");
  const std::size_t bytes = record.bytesPerSample;
  for (std::size_t i = 0; i < reading->samples.size(); ++i) {
    std::uint32_t code = 0;
    for (std::size_t k = 0; k < bytes; ++k)
      code |= static_cast<std::uint32_t>(samples[i * bytes + k])
              << 8 * (Format::kBigEndian ? 3 - k : 4 - bytes + k);
    if (bytes == 1 && !Format::kBigEndian) // WAV's 8 bits are unsigned
      code ^= 0x80000000u;
    require(static_cast<std::uint32_t>(reading->samples[i]) == code, "and the same samples");
  }
}

std::unique_ptr<ForeignReading> readForeign(const std::string& path)
{
  SF_INFO info{};
  const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(::sf_open(path.c_str(), SFM_READ, &info),
                                                         ::sf_close);
  if (!file)
    return nullptr;
  auto reading = std::make_unique<ForeignReading>();
  reading->frames = info.frames;
  reading->channels = info.channels;
  reading->rate = info.samplerate;
  reading->samples.resize(static_cast<std::size_t>(info.frames * info.channels));
  require(::sf_readf_int(file.get(), reading->samples.data(), info.frames) == info.frames,
          "libsndfile reads all the frames that it finds");
  return reading;
}

template class WrittenFile<support::Wav>;
template class WrittenFile<support::Aiff>;

} // namespace fuzz
