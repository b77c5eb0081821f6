#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/TovFile.h"
#include "fuzz/Target.h"
#include "io/TovAudioReader.h"
#include "io/TovAudioTranslator.h"
#include "tests/reference/Conversion.h"
#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/TempFolder.h"

namespace fuzz {

/** One call of readChannels(): which channels into which outputs, and where. */
struct ReadCall {
  explicit ReadCall(Input& input);

  std::vector<int> map;
  int outputs;         ///< usually as many as the map's entries
  unsigned int absent; ///< a bit for each output that is null
  long long start;
  long long count;
};

/** Where a reader found the samples of a file, and what they are. */
struct FoundSamples {
  bool isOpen = false;
  long long offset = 0;
  TovAudioIOFormat format = {};
};

/** What a reader of the format must do with the file. */
class ReaderCheck {
public:
  ReaderCheck(const std::vector<std::uint8_t>& fileBytes, const FoundSamples& samples,
              int statusWhenCutShort)
      : file(fileBytes), found(samples), cutShort(statusWhenCutShort)
  {
  }

  /** Makes the call and compares everything with what the bytes say. */
  void read(TovAudioReader& reader, const ReadCall& call) const;

private:
  int expectedStatus(const ReadCall& call) const;
  bool canHaveAddresses(const ReadCall& call) const;
  long long framesThere(const ReadCall& call) const;

  const std::vector<std::uint8_t>& file;
  const FoundSamples& found;
  int cutShort;
};

/** Everything that a file of one format can be put through: @p Format is
 *  support::Wav or support::Aiff, @p Details walks the chunks.  The input is a
 *  number of calls, the calls, and the file. */
template <typename Format, typename Details>
void checkReading(Input& input, Details details)
{
  const TovAudioTranslator& translator =
      *TovAudioTranslator::findReader(TovName::getString(Format::kName), 0);
  std::vector<ReadCall> calls;
  for (int left = input.below(6); left > 0; --left)
    calls.emplace_back(input);
  const std::vector<std::uint8_t> bytes = input.rest();
  const std::string path = scratch().write("file", bytes);

  FoundSamples found;
  TovFile file;
  require(file.open(path.c_str(), "r") == 0, "a file that was written opens");
  const bool isWhole = details(file, found);
  file.seek(0, 0);
  const bool isRecognised = translator.checkHeader(file) == 0;

  const std::unique_ptr<TovAudioReader> reader(translator.createReader());
  for (int round = 0; round < 2; ++round) { // the second time with a used reader
    found.isOpen = reader->initialize(path.c_str()) == 0;
    require(found.isOpen == isWhole, "a reader opens what the walk accepts");
    found.format = {};
    const bool isSpecified = reader->getFileSpec(&found.format) == 0;
    require(isSpecified == (found.format.state == FormatValid), "the status says the state");
    require(isRecognised ? isWhole : true, "a header that is recognised can be opened");
    const ReaderCheck check(bytes, found, Format::kShortRead);
    for (const ReadCall& call : calls)
      check.read(*reader, call);
  }
  reader->setFileName(path.c_str());
  require(reader->initialize(scratch().path("absent").c_str()) == 1, "no file does not open");
  found = {};
  for (const ReadCall& call : calls)
    ReaderCheck(bytes, found, Format::kShortRead).read(*reader, call);
}

/** Seeds of either format: the file, read in several ways. */
void seedCalls(const SeedTaker& take, const std::string& name, const support::Bytes& file);

} // namespace fuzz
