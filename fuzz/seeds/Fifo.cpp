#include "fuzz/Seeds.h"

namespace fuzz {

namespace {

using support::Bytes;

Bytes span(unsigned int shape, std::uint32_t start, std::uint32_t end)
{
  return Bytes().u8(0).u8(shape | 8).u8(32).u32be(start).u8(32).u32be(end);
}

/** Feeds and fills, so that about 4096 frames are heard. */
Bytes played(int times)
{
  Bytes program;
  for (int i = 0; i < times; ++i)
    program.u8(2).u8(4).u8(162);
  return program;
}

} // namespace

void fifoSeeds(const SeedTaker& take)
{
  for (unsigned int shape = 0; shape < 8; ++shape) {
    const std::string label = std::to_string(shape);
    take("forward" + label, span(shape, 0, 20000).append(played(8)));
    take("backward" + label, span(shape, 20000, 100).append(played(8)));
    take("loop" + label, span(shape | 192, 0, 5000).append(played(8)).u8(1).append(played(3)));
    take("empty" + label, span(shape, 700, 700).append(span(shape | 192, 9, 9)).append(played(3)));
  }
  take("flushed", span(0, 0, 9000).append(played(1)).u8(1).append(span(0, 50000, 60000))
      .append(played(6)));
  take("two", span(0, 0, 5000).append(span(1, 5000, 0)).append(played(9)));
  for (unsigned int wish = 0; wish < 4; ++wish)
    take("stopped" + std::to_string(wish),
         Bytes().u8(6).u8(wish).append(wish == 1 ? Bytes().u8(8).u8(32).u32be(0).u8(32)
             .u32be(800) : Bytes())
             .u8(0).append(span(0, 0, 3000)).append(played(5)).u8(1).append(span(0, 0, 3000))
                 .append(played(4)));
  for (unsigned int answer = 1; answer < 3; ++answer)
    take("answer" + std::to_string(answer),
         Bytes().u8(5).u8(answer).append(span(0, 0, 9000)).append(played(3)).u8(5).u8(0)
             .append(played(4)));
  take("lives", span(0, 0, 9000).append(played(1)).u8(7).u8(0).append(span(0, 0, 900))
      .append(played(2)));
  take("claimed", span(0, 0, 9000).u8(1).append(span(0, 0, 9000)).u8(7).u8(1).append(played(2)));
  take("edges", Bytes().u8(0).u8(8).u8(2).u8(3).u8(2).u8(0).u8(0).u8(12).u8(1).append(played(2)));
}

} // namespace fuzz
