#include <algorithm>
#include <cmath>

#include "fuzz/Seeds.h"
#include "graph/TovAudioFile.h"
#include "tests/reference/FileSpan.h"
#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/Owned.h"
#include "tests/support/SettingsBlobs.h"
#include "tests/support/TempFolder.h"

// Spans of a file at any rate, against the plain arithmetic.

namespace fuzz {

namespace {

constexpr long long kMostFrames = 2048;
constexpr int kMostRequests = 16; // keeps an input short in time

/** Further out the library answers by what can be told apart there. */
bool isNear(double seconds)
{
  return std::abs(seconds) <= 1.0e6;
}

template <typename Format>
reference::Source writtenFile(const std::string& path, int channels, int bytes, int rate)
{
  constexpr long long kFrames = 700;
  const support::Bytes samples =
      support::encoded<Format>(support::noise(channels, kFrames, 1), bytes);
  scratch().write(path, Format::file(static_cast<unsigned int>(channels), kFrames,
                                     static_cast<unsigned int>(rate),
                                     static_cast<unsigned int>(bytes) * 8, samples));
  return {
      support::decoded<Format>(samples, bytes, channels, support::allChannels(channels), kFrames),
      rate, rate, 0.0, 1.0 * kFrames / rate};
}

reference::Source openedFile(TovAudioFile& file, int kind)
{
  const std::string name = "span" + std::to_string(kind) + (kind < 4 ? ".wav" : ".aiff");
  constexpr int kRates[] = {44100, 8000, 192000, 11, 48000, 22050, 2, 96000};
  const int channels = 1 + kind % 3;
  const reference::Source source =
      kind < 4 ? writtenFile<support::Wav>(name, channels, 1 + kind, kRates[kind])
               : writtenFile<support::Aiff>(name, channels, kind - 3, kRates[kind]);
  require(file.initialize(scratch().path(name).c_str()) == 0, "a whole file is usable");
  require(file.activate(TovAudioContext(44100, 0, 24.0, 0.0)) == 0, "and can be activated");
  return source;
}

/** A clone, and what the settings' blob makes, have the settings. */
void checkCopies(TovAudioFile& file, const reference::Source& source)
{
  const std::vector<std::uint8_t> blob = support::serialized(file);
  const auto clone = support::Owned<TovAudioProvider>(file.clone());
  require(support::serialized(*clone) == blob, "a clone has the same settings");
  const auto loaded = support::make<TovAudioFile>();
  require(loaded->deserialize(blob.data(), false) == static_cast<int>(blob.size()),
          "settings are read");
  require(support::serialized(*loaded) == blob && loaded->refresh() == 0, "and are the same");
  TovAudioIOFormat format{};
  require(loaded->getSourceFormat(&format) == 0 &&
              format.sampleRate == static_cast<std::uint32_t>(source.rate) &&
              loaded->getPlaybackRate() == source.playbackRate,
          "and so is the file");
  loaded->setFileName(nullptr);
  require(loaded->hasError() == 1 && loaded->getSourceFormat(&format) == 1 &&
              *loaded->getFileName() == '\0' && loaded->deactivate() == 0,
          "until it is taken away");
}

void run(Input& input)
{
  const auto file = support::make<TovAudioFile>();
  reference::Source source = openedFile(*file, input.below(8));
  if (input.flag()) {
    source.playbackRate = 200 + static_cast<int>(input.u32() % 191800);
    file->setPlaybackRate(source.playbackRate);
  }
  if (input.flag())
    file->setSrcIn(source.srcIn = input.seconds());
  if (input.flag())
    file->setSrcOut(source.srcOut = input.seconds());

  checkCopies(*file, source);
  for (int left = kMostRequests; left > 0 && !input.isEmpty(); --left) {
    constexpr int kRates[] = {44100, 8000, 48000, 192000, 11025, 96000, 0, 1000};
    const unsigned int shape = input.u8();
    const double offset = (shape & 8) != 0 ? input.seconds() : 0.0;
    const TovAudioContext context(kRates[shape % 8], static_cast<int>(shape >> 4 & 3), 24.0,
                                  offset);
    const double t0 = input.seconds();
    const double t1 =
        (shape & 64) != 0 ? input.seconds() : t0 + input.u16() % kMostFrames / 96000.0;
    const std::vector<int> map = {input.s8(), static_cast<int>(shape >> 6)};
    const long long frames = std::max(file->getNumSampleFrames(context, t0, t1), 0LL);
    if (frames > kMostFrames || !isNear(t0) || !isNear(t1) || !isNear(offset))
      continue;

    support::Buffers buffers(2, frames);
    const int status =
        file->getAudio(buffers.pointers(), support::channelMap(map), context, t0, t1);
    const reference::Delivered wanted = reference::render(
        source, map, context.sampleRate, context.quality, offset, std::min(t0, t1), t1);
    require(t1 < t0 || status == wanted.status, "the status of a span");
    require(buffers.guardsIntact(), "nothing is written outside the buffers");
    require(status == 0 || buffers.untouched(), "without sound nothing is written");
    for (int i = 0; i < 2 && status == 0 && frames > 0; ++i)
      require(support::bits(buffers.samples(i)) ==
                  support::bits(wanted.audio[static_cast<std::size_t>(i)]),
              "the sound of a span");
  }
}

} // namespace

extern const Target spansTarget;
const Target spansTarget = {"spans", run, spansSeeds, "graph/TovAudioFile.cpp"};

} // namespace fuzz
