#include "fuzz/Seeds.h"

namespace fuzz {

namespace {

using support::Bytes;

} // namespace

void conversionSeeds(const SeedTaker& take)
{
  Bytes samples;
  for (const float sample : {0.0f, 1.0f, -1.0f, 0.99999f, 1.5f, -1.5f, 1e-5f, -1e-5f, 1e30f,
      -1e30f})
    samples.f32be(sample);
  samples.u32be(0x7f800000).u32be(0xff800000).u32be(0x7fc00000).u32be(0x7fa00001).u32be(1);
  for (unsigned int encoding = 0; encoding <= 10; ++encoding)
    for (unsigned int order = 0; order < 4; ++order)
      take("code" + std::to_string(encoding) + "_" + std::to_string(order),
           Bytes().u8(0).u8(encoding).u8(order).u8(order % 3).u8(encoding % 8).u8(1 + order % 2)
               .u8(0).u8(
               0xff).u8(0).append(samples).append(samples));
  take("unsupported", Bytes().u8(255).zeros(4).u8(1).u8(0).u8(0).append(samples));
  take("no_outputs", Bytes().zeros(7).append(samples));
  take("backward", Bytes().zeros(5).u8(1).u8(0).u8(255).append(samples));
}

} // namespace fuzz
