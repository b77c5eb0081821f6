#include "fuzz/Seeds.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/SettingsBlobs.h"

// Settings blobs of the three providers, in blocks that end where they end.

namespace fuzz {

namespace {

using support::Bytes;
using Octets = std::vector<std::uint8_t>;

/** What a resampler's blob holds of an input is built and never released, which
 *  is deliberate: kept small, so that a long run fits into memory. */
constexpr std::size_t kMostResamplerBytes = 300;

/** Reads the bytes into a new provider.  @p refused is the answer where the
 *  blob is not whole. */
template <typename Provider, typename... Arguments>
void check(const Octets& bytes, bool append, int refused, Arguments... arguments)
{
  const auto load = [&](const Octets& blob, std::size_t size, bool& isLockHeld, Octets& written) {
    const auto provider = support::make<Provider>(arguments...);
    const support::ExactBlock block(blob, size);
    const int consumed = provider->deserializeBounded(block.data(), size, append);
    require(consumed >= refused && consumed <= static_cast<int>(size),
            "what was consumed was there");
    isLockHeld = support::isLockHeld(*provider);
    if (!isLockHeld)
      written = support::serialized(*provider);
    return consumed;
  };

  bool isLockHeld = false;
  Octets written;
  load(bytes, bytes.size(), isLockHeld, written);
  if (isLockHeld) { // deliberate: the blob is of another version
    require(refused < 0 && bytes.size() >= 8 && (bytes[4] | bytes[5] | bytes[6] | bytes[7]) != 0,
            "the lock is left held for another version only");
    return;
  }
  Octets again;
  const int consumed = load(written, written.size(), isLockHeld, again);
  require(!isLockHeld && consumed == static_cast<int>(written.size()), "what was written is read");
  require(again == written, "what was read and written stays the same");
  for (std::size_t size = written.size() - 1; size > 0; size = size * 3 / 4)
    require(load(written, size, isLockHeld, again) == refused && !isLockHeld,
            "what is cut short is refused");
}

void run(Input& input)
{
  const int kind = input.below(3);
  const bool append = input.flag();
  Octets bytes = input.rest();
  if (kind == 0)
    check<TovAudioFile>(bytes, append, -1);
  else if (kind == 1)
    check<TovAudioMixer>(bytes, append, 0);
  else if (bytes.size() <= kMostResamplerBytes)
    check<TovAudioResampler>(bytes, append, -1, nullptr);
}

} // namespace

extern const Target blobsTarget;
const Target blobsTarget = {"blobs", run, blobsSeeds,
                            "graph/TovBlob.cpp graph/TovAudioMixerBlob.cpp"};

} // namespace fuzz
