#include "fuzz/Seeds.h"

namespace fuzz {

using support::Bytes;

void spansSeeds(const SeedTaker& take)
{
  for (unsigned int file = 0; file < 8; ++file) {
    Bytes requests;
    for (unsigned int shape = 0; shape < 64; shape += 9) {
      requests.u8(shape);
      if ((shape & 8) != 0)
        requests.u8(32).u32be(480 * shape);
      requests.u8(32).u32be(100 * shape).u16be(400 + shape).u8(shape % 4);
    }
    const std::string label = std::to_string(file);
    take("plain" + label, Bytes().u8(file).u8(0).u8(0).u8(0).append(requests));
    take("rate" + label, Bytes().u8(file).u8(1).u32be(9000 * file).u8(0).u8(0).append(requests));
    take("part" + label,
         Bytes().u8(file).u8(0).u8(1).u8(32).u32be(90).u8(1).u8(32).u32be(700).append(requests));
    take("before" + label,
         Bytes().u8(file).u8(0).u8(1).u8(32).u32be(0xffffff00).u8(0).append(requests));
  }
}

} // namespace fuzz
