#include "fuzz/Seeds.h"

namespace fuzz {

namespace {

using support::Bytes;

} // namespace

void resamplingSeeds(const SeedTaker& take)
{
  for (unsigned int quality = 0; quality < 4; ++quality)
    for (unsigned int in = 0; in < 12; ++in)
      take("q" + std::to_string(quality) + "_" + std::to_string(in),
           Bytes().u8(quality).u8(in % 3).u8(in).u8(in % 5).u8(in).u8(20 + in).u8(96).u8(2).u8(3));
  take("low_phase", Bytes().u8(1).u8(0).u8(1).u8(9).u16be(1).u8(1).u8(40));
  take("wide_rates", Bytes().u8(3).u8(159).u32be(0x7fffffff).u8(255).u32be(0x7fffffff).u8(1).u8(0)
      .u8(9));
  take("negative_rate", Bytes().u8(2).u8(128).u32be(0x80000000).u8(0).u8(0).u8(0).u8(9));
}

} // namespace fuzz
