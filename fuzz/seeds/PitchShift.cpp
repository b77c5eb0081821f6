#include "fuzz/Seeds.h"

namespace fuzz {

namespace {

using support::Bytes;

} // namespace

void pitchSeeds(const SeedTaker& take)
{
  for (const unsigned int pitch : {9u, 32u, 63u, 64u, 65u, 96u, 128u, 200u, 2u, 3u})
    for (unsigned int rates = 0; rates < 4; ++rates)
      take("pitch" + std::to_string(pitch) + "_" + std::to_string(rates),
           Bytes().u8(rates / 2).u8(rates % 2).u8(64).u8(pitch).u8(rates).u16be(2000).u8(200));
  Bytes varied; // and quiet now and then, so that splices are heard
  for (unsigned int i = 0; i < 400; ++i)
    varied.u8(i % 31 == 0 ? 0 : 9 + i * 37 % 247);
  for (const unsigned int pitch : {9u, 96u, 140u, 200u})
    take("varied" + std::to_string(pitch),
         Bytes().u8(0).u8(0).u8(pitch).u8(0).u16be(900).u8(0).append(varied));
  take("samples", Bytes().u8(0).u8(0).u8(100).u8(0).u16be(900).u8(0).u8(64).u8(70).u8(0).u8(64)
      .u8(1));
  take("no_rate", Bytes().u8(5).u8(6).u8(64).u8(0).u16be(9).u8(129));
}

} // namespace fuzz
