#include "fuzz/ReaderCheck.h"
#include "fuzz/Seeds.h"

namespace fuzz {

namespace {

using support::Bytes;

Bytes form()
{
  return Bytes().text("FORM").u32be(46).text("AIFF");
}

Bytes comm(unsigned int channels, std::uint32_t frames, unsigned int bits,
    std::uint32_t rate = 44100)
{
  return Bytes().text("COMM").u32be(18).u16be(channels).u32be(frames).u16be(bits).append(
      support::extendedRate(rate));
}

Bytes ssnd(std::uint32_t size, std::uint32_t offset, std::size_t bytes)
{
  Bytes chunk = Bytes().text("SSND").u32be(size + 8).u32be(offset).u32be(0);
  for (std::size_t i = 0; i < bytes; ++i)
    chunk.u8(static_cast<unsigned int>(i * 37 & 0xff));
  return chunk;
}

} // namespace

void aiffSeeds(const SeedTaker& take)
{
  for (const unsigned int bits : {8u, 12u, 16u, 24u, 32u})
    for (const unsigned int channels : {1u, 2u, 3u})
      seedCalls(take, "pcm" + std::to_string(bits) + "_" + std::to_string(channels),
                form().append(comm(channels, 96 / channels, bits)).append(ssnd(384, 0, 384)));
  seedCalls(take, "long", form().append(comm(2, 3000, 16)).append(ssnd(12000, 0, 12000)));
  seedCalls(take, "samples_first", form().append(ssnd(64, 0, 64)).append(comm(1, 32, 16)));
  seedCalls(take, "offset", form().append(comm(1, 8, 8)).append(ssnd(16, 4, 16)));
  seedCalls(take, "far_offset", form().append(comm(1, 8, 8)).append(ssnd(16, 0xfffffff0, 16)));
  seedCalls(take, "other_chunks",
            form().text("NAME").u32be(3).text("abc").append(comm(1, 4, 16)).append(ssnd(8, 0, 8)));
  seedCalls(take, "rates", form().append(comm(1, 8, 8, 0xffffffff)).append(ssnd(8, 0, 8)));
  seedCalls(take, "rate_of_2", form().append(comm(1, 8, 8, 2)).append(ssnd(8, 0, 8)));
  seedCalls(take, "rate_of_0",
            form().text("COMM").u32be(18).u16be(1).u32be(8).u16be(8).zeros(10)
                .append(ssnd(8, 0, 8)));
  seedCalls(take, "no_channels", form().append(comm(0, 4, 16)).append(ssnd(8, 0, 8)));
  seedCalls(take, "many_bits", form().append(comm(1, 4, 33)).append(ssnd(8, 0, 8)));
  seedCalls(take, "short_comm", form().text("COMM").u32be(14).zeros(14).append(ssnd(8, 0, 8)));
  seedCalls(take, "cut_ssnd", form().append(comm(1, 4, 16)).text("SSND").u32be(2).u16be(0));
  seedCalls(take, "two_comm", form().append(comm(1, 4, 8)).append(comm(1, 4, 8)));
  seedCalls(take, "two_ssnd", form().append(ssnd(2, 0, 2)).append(ssnd(2, 0, 2)));
  seedCalls(take, "other_form", Bytes().text("FORM").u32be(46).text("AIFC").append(comm(1, 4, 8)));
}

} // namespace fuzz
