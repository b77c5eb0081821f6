#include "fuzz/CompressedText.h"
#include "fuzz/Seeds.h"

// Bytes made into text and back.

namespace fuzz {

namespace {

void check(const std::string& text)
{
  const Decompressed once = decompressed(text);
  require(once.status == 0 || once.bytes.empty(), "bad text gives nothing");

  std::string spaced = " ";
  for (const char c : text)
    spaced += std::string(1, c) + "\r\n";
  const Decompressed inPlace = decompressedInPlace(spaced);
  require(inPlace.status == once.status, "blanks change nothing");
  require(inPlace.bytes == once.bytes, "nor does the place of the text");

  if (once.status == 0) {
    const Decompressed again = decompressed(compressed(once.bytes));
    require(again.status == 0 && again.bytes == once.bytes,
            "what was read can be written and read");
  }
}

void run(Input& input)
{
  const int kind = input.below(3);
  if (kind == 0)
    check(input.restOfText());
  else
    check(kind == 1 ? compressed(input.rest()) : digitsOf(input.rest()));
}

} // namespace

extern const Target textTarget;
const Target textTarget = {"text", run, textSeeds,
                           "hostcore/TovCompressor.cpp hostcore/TovBuffer.cpp"};

} // namespace fuzz
