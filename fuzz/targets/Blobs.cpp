#include "fuzz/Seeds.h"
#include "fuzz/SettingsCheck.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"

// Settings blobs of the three providers, in blocks that end where they end.

namespace fuzz {

namespace {

using Octets = std::vector<std::uint8_t>;

void check(const Octets& bytes, const BlobReader& reader)
{
  const BlobReading first = reader.read(bytes);
  if (first.isLockHeld) { // deliberate: the blob is of another version
    require(reader.refused < 0 && bytes.size() >= 8 &&
                (bytes[4] | bytes[5] | bytes[6] | bytes[7]) != 0,
            "the lock is left held for another version only");
    return;
  }
  checkFixedPoint(first.written, [&](const Octets& written) {
    const BlobReading again = reader.read(written);
    require(!again.isLockHeld && again.consumed == static_cast<int>(written.size()),
            "what was written is read");
    return again.written;
  });
  Octets cut = first.written;
  for (cut.pop_back(); !cut.empty(); cut.resize(cut.size() * 3 / 4)) {
    const BlobReading none = reader.read(cut);
    require(none.consumed == reader.refused && !none.isLockHeld, "what is cut short is refused");
  }
}

void run(Input& input)
{
  // What a resampler's blob holds of an input is built and never released, which
  // is deliberate: kept small, so that a long run fits into memory.
  constexpr std::size_t kMostResamplerBytes = 300;
  const int kind = input.below(3);
  const bool append = input.flag();
  const Octets bytes = input.rest();
  if (kind == 0)
    check(bytes, blobReader<TovAudioFile>(append, -1));
  else if (kind == 1)
    check(bytes, blobReader<TovAudioMixer>(append, 0));
  else if (bytes.size() <= kMostResamplerBytes)
    check(bytes, blobReader<TovAudioResampler>(append, -1, nullptr));
}

} // namespace

extern const Target blobsTarget;
const Target blobsTarget = {"blobs", run, blobsSeeds,
                            "graph/TovBlob.cpp graph/TovAudioMixerBlob.cpp"};

} // namespace fuzz
