#pragma once

#include <memory>
#include <string>
#include <vector>

#include "fuzz/WriteCall.h"
#include "tests/support/FileFormats.h"

namespace fuzz {

/** A file as a writer must make it on a disk with little room, and what
 *  readers must find in it. */
template <typename Format>
class WrittenFile {
public:
  /** @p room is where the disk ends, in bytes. */
  WrittenFile(const TovAudioIOFormat& record, unsigned long room);

  /** The format is one that a file can have, and there is room for its header. */
  bool isPossible() const;

  /** Makes the call, and calls that write nothing, and compares the answers. */
  void checkWriting(typename Format::Writer& writer, WriteCall call);

  /** Reads the file after the writer has closed it: plainly, by the library's
   *  reader and by libsndfile. */
  void checkFile(const std::string& path) const;

private:
  int write(const support::Signal& signal); ///< the status of writing that
  void checkContents(const std::string& path) const;
  void checkOwnReader(const std::string& path) const;
  void checkSndfile(const std::string& path) const;
  long long wholeFrames() const { return static_cast<long long>(samples.size()) / frameBytes; }

  TovAudioIOFormat record;
  unsigned long room;
  long long frameBytes;
  bool isComplete = true;              ///< every write fitted
  long long acceptedFrames = 0;        ///< of writes that fitted
  std::vector<std::uint8_t> samples{}; ///< as far as they fitted
};

/** Frames, channels, rate and samples, moved up to 32 bits, as libsndfile
 *  finds them. */
struct ForeignReading {
  long long frames = 0;
  int channels = 0;
  int rate = 0;
  std::vector<std::int32_t> samples{};
};

/** Null where libsndfile does not take the file. */
std::unique_ptr<ForeignReading> readForeign(const std::string& path);

} // namespace fuzz
