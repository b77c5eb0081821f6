#include "fuzz/Seeds.h"

namespace fuzz {

namespace {

using support::Bytes;

/** A request of @p frames 48000ths from @p start on. */
Bytes request(unsigned int slot, unsigned int context, std::uint32_t start, unsigned int frames)
{
  return Bytes().u8(13).u8(slot).u8(context).u8(1 + context % 4).u8(32).u32be(start).u8(0)
      .u16be(frames)
      .u8(0).u8(1);
}

Bytes activation(unsigned int slot)
{
  return Bytes().u8(9).u8(slot).u8(0).u8(1);
}

} // namespace

void graphSeeds(const SeedTaker& take)
{
  for (unsigned int file = 0; file < 15; ++file) {
    const Bytes playing = Bytes().u8(0).u8(0).u8(file).append(activation(0));
    Bytes program = playing;
    for (unsigned int context = 0; context < 10; ++context)
      program.append(request(0, context, 480 * context, 400))
          .append(request(0, context, 0xffffff00, 900));
    take("file" + std::to_string(file), program);
    take("mix" + std::to_string(file),
         Bytes().append(playing).u8(2).u8(1).u8(3).u8(1).u8(0).u8(0).u8(5).u8(1).u8(0).u8(file)
             .u8(20).u32be(480).append(request(1, 0, 0, 2000)).append(request(1, 2, 1000, 3000))
             .u8(10).u8(1).u8(0).u8(8).u8(1).u8(2).append(request(2, 0, 0, 900)));
    take("resampled" + std::to_string(file),
         Bytes().append(playing).u8(1).u8(1).u8(40 + file).u8(7).u8(1).u8(0).u8(0)
             .append(request(1, file % 10, 0, 1000)).append(request(1, 1, 960, 100)).u8(9).u8(1)
                 .u8(0).u8(0));
    take("changed" + std::to_string(file),
         Bytes().append(playing).u8(6).u8(0).u8(file % 8).u8(file).u32be(file << 20).u8(file)
             .u8(17).u32be(0).u8(17).u32be(48000).append(activation(0))
                 .append(request(0, 1, 0, 800)));
  }
  for (unsigned int kind = 0; kind < 8; ++kind) {
    Bytes program = Bytes().u8(0).u8(0).u8(4).u8(0).u8(1).u8(0).u8(2).u8(2).u8(3).u8(2).u8(0).u8(0)
                        .u8(3).u8(2).u8(1).u8(1).u8(11).u8(0).u8(kind % 2);
    for (unsigned int value = 0; value < 4; ++value)
      program.u8(5).u8(2).u8(value % 2).u8(1).u8(kind).u8(value * 20).u32be(value * 4800)
          .append(activation(2)).append(request(2, kind, 960, 900));
    take("track" + std::to_string(kind), program);
    take("mixer" + std::to_string(kind),
         program.u8(3).u8(2).u8(kind).u8(1).u8(17).u32be(4800).append(request(2, 0, 4800, 900))
             .u8(10).u8(2).u8(0));
  }
  Bytes nested = Bytes().u8(0).u8(0).u8(0).append(activation(0));
  for (unsigned int i = 1; i < 5; ++i)
    nested.u8(2).u8(i).u8(3).u8(i).u8(0).u8(i - 1).u8(3).u8(i).u8(1).u8(0);
  nested.u8(3).u8(1).u8(0).u8(4).append(request(4, 0, 0, 1000)).u8(3).u8(2).u8(4).u8(1)
      .u8(3).u8(2).u8(5).u8(0).u8(3).u8(4).u8(6).u8(96).u8(3).u8(4).u8(7).u8(33).u32be(9600)
      .u8(12).u8(0).append(request(4, 0, 9600, 1000)).u8(11).u8(0).u8(1);
  take("nested", nested);
}

} // namespace fuzz
