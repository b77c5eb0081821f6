#include <algorithm>
#include <array>
#include <optional>

#include "fuzz/FileSizeLimit.h"
#include "fuzz/Seeds.h"
#include "fuzz/WrittenFile.h"
#include "tests/support/TempFolder.h"

// Writers on a disk that fills at any byte; the file read again by the library
// and by libsndfile.

namespace fuzz {

namespace {

using support::Signal;

/** Samples of all kinds, those beyond full scale among them. */
Signal signalOf(Input& input, std::size_t channels, std::size_t frames)
{
  const int seed = static_cast<int>(input.u8());
  Signal signal = support::noise(static_cast<int>(channels), static_cast<long long>(frames),
                                 static_cast<unsigned int>(seed), 1.25f);
  if (seed >= 128 && frames > 0)
    signal[0][0] = input.factor();
  return signal;
}

template <typename Format>
void writeFile(Input& input, typename Format::Writer& writer)
{
  constexpr std::array<std::uint32_t, 8> kRates = {44100,  48000,      8000, 1,
                                                   192000, 0x7fffffff, 0,    0x80000000};
  const std::uint32_t rate = kRates[input.u8() % 8];
  const std::uint32_t bytes = input.u8() % 6;
  const unsigned int shape = input.u8();
  const std::uint32_t channels = shape < 250 ? shape % 4 : 0xfffe + shape % 4;
  const TovAudioIOFormat record = support::request(rate, bytes, channels);
  const unsigned int limit = input.u16();
  WrittenFile<Format> file(record, limit == 0xffff ? 1ul << 30 : limit);
  const std::string path = scratch().path("written");

  std::optional<FileSizeLimit> room(std::in_place, limit == 0xffff ? 1ul << 30 : limit);
  const bool isStarted = writer.initialize(path.c_str(), record) == 0;
  require(isStarted == (file.isPossible() && file.hasHeader()), "what can be started is started");
  for (int calls = input.below(6); isStarted && channels < 8 && calls > 0; --calls) {
    const unsigned int size = input.u8();
    Signal signal = signalOf(input, channels, size < 240 ? size : (size - 239) * 400);
    const int frames = static_cast<int>(signal[0].size());
    require(writer.writeChannels(support::pointers(signal), input.s8(), frames) ==
                file.write(signal),
            "the status of writing");
    require(writer.writeChannels(support::pointers(signal), 0, -frames) == 0, "nothing is written");
    signal.emplace_back();
    require(writer.writeChannels(support::pointers(signal), 0, frames) == 2, "one input too many");
  }
  writer.close();
  room.reset();
  if (!isStarted)
    return;
  file.checkContents(path);
  file.checkOwnReader(path);
  file.checkSndfile(path);
}

template <typename Format>
void run(Input& input)
{
  typename Format::Writer writer;
  do
    writeFile<Format>(input, writer); // the second time with a used writer
  while (!input.isEmpty());
}

void runEither(Input& input)
{
  if (input.flag())
    run<support::Aiff>(input);
  else
    run<support::Wav>(input);
}

} // namespace

extern const Target writersTarget;
const Target writersTarget = {"writers", runEither, writersSeeds,
                              "io/TovWavWriter.cpp io/TovAiffWriter.cpp io/TovAudioWriter.cpp"};

} // namespace fuzz
