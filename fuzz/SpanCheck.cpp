#include "fuzz/SpanCheck.h"

#include <algorithm>
#include <cmath>

#include "fuzz/Input.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/SettingsBlobs.h"

namespace fuzz {

namespace {

/** Further out the library answers by what can be told apart there. */
bool isNear(double seconds)
{
  return std::abs(seconds) <= 1.0e6;
}

} // namespace

void checkSpan(TovAudioFile& file, const reference::Source& source, const SpanRequest& request)
{
  const auto& [context, t0, t1, map] = request;
  const long long frames = std::max(file.getNumSampleFrames(context, t0, t1), 0LL);
  if (frames > kMostSpanFrames || !isNear(t0) || !isNear(t1) || !isNear(context.timeOffset))
    return;

  support::Buffers buffers(2, frames);
  const int status = file.getAudio(buffers.pointers(), support::channelMap(map), context, t0, t1);
  const reference::Delivered wanted = reference::render(
      source, map, context.sampleRate, context.quality, context.timeOffset, std::min(t0, t1), t1);
  require(t1 < t0 || status == wanted.status, "the status of a span");
  require(buffers.guardsIntact(), "nothing is written outside the buffers");
  require(status == 0 || buffers.untouched(), "without sound nothing is written");
  for (int i = 0; i < 2 && status == 0 && frames > 0; ++i)
    require(support::bits(buffers.samples(i)) ==
                support::bits(wanted.audio[static_cast<std::size_t>(i)]),
            "the sound of a span");
}

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

} // namespace fuzz
