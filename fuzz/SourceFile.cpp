#include "fuzz/SourceFile.h"

#include <string>

#include "fuzz/Target.h"
#include "tests/support/FileFormats.h"
#include "tests/support/TempFolder.h"

namespace fuzz {

namespace {

template <typename Format>
reference::Source writtenFile(const std::string& name, int channels, int bytes, int rate)
{
  constexpr long long kFrames = 700;
  const support::Bytes samples =
      support::encoded<Format>(support::noise(channels, kFrames, 1), bytes);
  scratch().write(name, Format::file(static_cast<unsigned int>(channels), kFrames,
                                     static_cast<unsigned int>(rate),
                                     static_cast<unsigned int>(bytes) * 8, samples));
  return {
      support::decoded<Format>(samples, bytes, channels, support::allChannels(channels), kFrames),
      rate, rate, 0.0, 1.0 * kFrames / rate};
}

} // namespace

reference::Source openSourceFile(TovAudioFile& file, int kind)
{
  constexpr int kRates[kSourceFiles] = {44100, 8000, 192000, 11, 48000, 22050, 2, 96000};
  const std::string name = "span" + std::to_string(kind) + (kind < 4 ? ".wav" : ".aiff");
  const int channels = 1 + kind % 3;
  const reference::Source source =
      kind < 4 ? writtenFile<support::Wav>(name, channels, 1 + kind, kRates[kind])
               : writtenFile<support::Aiff>(name, channels, kind - 3, kRates[kind]);
  require(file.initialize(scratch().path(name).c_str()) == 0, "a whole file is usable");
  require(file.activate(TovAudioContext(44100, 0, 24.0, 0.0)) == 0, "and can be activated");
  return source;
}

} // namespace fuzz
