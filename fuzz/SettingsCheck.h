#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "fuzz/Input.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/SettingsBlobs.h"

namespace fuzz {

/** What a provider made of a blob. */
struct BlobReading {
  int consumed = 0;
  bool isLockHeld = false;
  std::vector<std::uint8_t> written = {}; ///< afterwards; nothing while the lock is held
};

/** Reads blobs, each from a block of its length into a new provider. */
struct BlobReader {
  std::function<BlobReading(const std::vector<std::uint8_t>& blob)> read;
  int refused; ///< its answer to a blob that is not whole
};

template <typename Provider, typename... Arguments>
BlobReader blobReader(bool append, int refused, Arguments... arguments)
{
  const auto read = [=](const std::vector<std::uint8_t>& blob) {
    const auto provider = support::make<Provider>(arguments...);
    const support::ExactBlock block(blob);
    BlobReading reading;
    reading.consumed = provider->deserializeBounded(block.data(), block.size(), append);
    require(reading.consumed >= refused && reading.consumed <= static_cast<int>(blob.size()),
            "what was consumed was there");
    reading.isLockHeld = support::isLockHeld(*provider);
    if (!reading.isLockHeld)
      reading.written = support::serialized(*provider);
    return reading;
  };
  return {read, refused};
}

/** The one command that the master mixer writes now. */
std::string savedCommand();

/** The same as a script writes it to a file. */
std::string savedCommandInFile();

/** Settings, a blob or a command, are read once more: @p reread, which reads
 *  what it is given and writes what it then has, gives the same. */
template <typename Written, typename Reread>
void checkFixedPoint(const Written& written, Reread reread)
{
  require(reread(written) == written, "what was written is read and written the same again");
}

// The settings that seeds of either form hold.
support::Bytes seedFileBlob();
support::Bytes seedMixerBlob(std::uint32_t version, float masterGain, std::size_t tracks);

} // namespace fuzz
