#include "fuzz/Seeds.h"

namespace fuzz {

namespace {

using support::Bytes;

} // namespace

void writersSeeds(const SeedTaker& take)
{
  for (unsigned int format = 0; format < 2; ++format)
    for (unsigned int bytes = 0; bytes < 6; ++bytes)
      for (const unsigned int limit : {0xffffu, 20u, 54u, 1000u, 9000u})
        take((format ? "aiff" : "wav") + std::to_string(bytes) + "_" + std::to_string(limit),
             Bytes().u8(format).u8(bytes).u8(bytes).u8(1 + bytes % 3).u16be(limit)
                 .u8(3).u8(100).u8(7).u8(0).u8(245).u8(130).u8(3).u8(1).u8(9).u8(8).u8(0)
                 .u8(1).u8(2).u8(1).u16be(0xffff).u8(1).u8(33).u8(5).u8(0));
  for (const unsigned int rate : {3u, 5u, 6u, 7u})
    take("rate" + std::to_string(rate), Bytes().u8(rate % 2).u8(rate).u8(2).u8(1).u16be(0xffff)
        .u8(1).u8(8).u8(1).u8(0));
  for (const unsigned int channels : {250u, 251u, 252u, 253u})
    take("channels" + std::to_string(channels), Bytes().u8(channels % 2).u8(0).u8(2).u8(channels)
        .u16be(0xffff));
}

} // namespace fuzz
