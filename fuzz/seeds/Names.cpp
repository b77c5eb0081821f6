#include "fuzz/Seeds.h"

namespace fuzz {

namespace {

using support::Bytes;
using Texts = std::vector<std::string>;

} // namespace

void namesSeeds(const SeedTaker& take)
{
  const auto seed = [&](const std::string& label, const Texts& texts) {
    Bytes bytes;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      bytes.u8(static_cast<unsigned int>(texts[i].size())).text(texts[i]);
      if (i % 2 == 1)
        bytes.u8(static_cast<unsigned int>(i / 2));
    }
    take(label, bytes);
  };
  const std::string aiff = "Audio IFF{aif;aiff}";
  const std::string wav = "Wav{wav;wave}";
  for (const char* const name : {"a.wav", "b.AIFF", "wav", "Audio iff", "present", "|", "c.d.e",
      ""})
    seed(std::string("name_") + (*name == '|' ? "bar" : name), {aiff, aiff, wav, wav, name});
  seed("lists", {aiff + "|" + wav, "x{a|b;c}|y{", "{a}{b}c{d}", "}{a};b|c", "y"});
  for (const char* const name : {"n.read", "n.written", "Written"})
    seed(std::string("one_way_") + name, {aiff, aiff, "Read{read}", "Written{written}", name});
  seed("empty_groups", {"x{;;a;|b;}", "{}", "|{", "a||b", "b"});
}

} // namespace fuzz
