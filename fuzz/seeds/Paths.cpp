#include <cstring>

#include "fuzz/Seeds.h"

namespace fuzz {

namespace {

using support::Bytes;

} // namespace

void pathsSeeds(const SeedTaker& take)
{
  const char* const texts[] = {"$TOVA/a.wav", "${TOVA}a.wav", "x${B2}${EMPTY}y$SELF", "$", "${",
                               "${}",         "${TOVA",       "$UNKNOWN/${UNKNOWN}",  "a/../b",
                               "/",           "./..//x/",     "/dev/null/x",          "$LONG"};
  int index = 0;
  for (const char* const text : texts) {
    const Bytes part = Bytes().u8(static_cast<unsigned int>(std::strlen(text))).text(text);
    take("once_" + std::to_string(index), Bytes().u8(0).u8(0).append(part));
    take("many_" + std::to_string(index++), Bytes().u8(0).u8(200).append(part));
  }
  take("nothing", Bytes());
  take("beyond_any_path", Bytes().u8(0).u8(255).u8(100).text(std::string(100, 'n')));
  for (unsigned int mode = 0; mode < 9; ++mode)
    take("file" + std::to_string(mode),
         Bytes().u8(1).u8(0).u8(1).u8(2).u8(6).text("abcdef").u8(0).u8(mode).u8(1).u8(3).u8(3)
             .u32be(77)
             .u8(4).u8(0).u16be(9).u8(2).u8(1).text("x").u8(4).u8(2).u16be(0xfffe).u8(1).u8(200)
             .u8(4).u8(1).u16be(0xff00).u8(4).u8(3).u16be(0).u8(5).u8(1).u8(1).u8(3).u32be(1));
  take("exactly_a_path", Bytes().u8(0).u8(127).u8(128).text("/" + std::string(127, 'n')));
}

} // namespace fuzz
