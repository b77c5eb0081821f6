#include "fuzz/FileSizeLimit.h"
#include "fuzz/Seeds.h"
#include "fuzz/WriteCall.h"
#include "fuzz/WrittenFile.h"
#include "tests/support/TempFolder.h"

// Writers on a disk that fills at any byte; the file read again by the library
// and by libsndfile.

namespace fuzz {

namespace {

template <typename Format>
void writeFile(Input& input, typename Format::Writer& writer)
{
  constexpr std::uint32_t kMostChannels = 7; // of more, the header is enough
  const TovAudioIOFormat record = requestedFormat(input);
  const unsigned int limit = input.u16();
  const unsigned long room = limit == 0xffff ? 1ul << 30 : limit;
  const std::string path = scratch().path("written");
  WrittenFile<Format> file(record, room);
  {
    const FileSizeLimit disk(room);
    const bool isStarted = writer.initialize(path.c_str(), record) == 0;
    require(isStarted == file.isPossible(), "what can be started is started");
    const bool isWritten = isStarted && record.channels <= kMostChannels;
    for (int calls = input.below(6); isWritten && calls > 0; --calls)
      file.checkWriting(writer, WriteCall(input, record.channels));
    writer.close();
  }
  if (file.isPossible())
    file.checkFile(path);
}

template <typename Format>
void writeFiles(Input& input)
{
  typename Format::Writer writer;
  do
    writeFile<Format>(input, writer); // the second time with a used writer
  while (!input.isEmpty());
}

void run(Input& input)
{
  if (input.flag())
    writeFiles<support::Aiff>(input);
  else
    writeFiles<support::Wav>(input);
}

} // namespace

extern const Target writersTarget;
const Target writersTarget = {"writers", run, writersSeeds,
                              "io/TovWavWriter.cpp io/TovAiffWriter.cpp io/TovAudioWriter.cpp"};

} // namespace fuzz
