#include "fuzz/ReaderCheck.h"
#include "fuzz/Seeds.h"

namespace fuzz {

namespace {

using support::Bytes;

Bytes riff()
{
  return Bytes().text("RIFF").u32le(36).text("WAVE");
}

Bytes fmt(unsigned int tag, unsigned int channels, unsigned int bits)
{
  const unsigned int frame = channels * ((bits + 7) / 8);
  return Bytes().text("fmt ").u32le(16).u16le(tag).u16le(channels).u32le(44100).u32le(
      44100 * frame).u16le(frame).u16le(bits);
}

Bytes data(std::uint32_t size, std::size_t bytes)
{
  Bytes chunk = Bytes().text("data").u32le(size);
  for (std::size_t i = 0; i < bytes; ++i)
    chunk.u8(static_cast<unsigned int>(i * 37 & 0xff));
  return chunk;
}

} // namespace

void wavSeeds(const SeedTaker& take)
{
  for (const unsigned int bits : {8u, 12u, 16u, 24u, 32u})
    for (const unsigned int channels : {1u, 2u, 3u})
      seedCalls(take, "pcm" + std::to_string(bits) + "_" + std::to_string(channels),
                riff().append(fmt(1, channels, bits)).append(data(96, 96)));
  seedCalls(take, "long", riff().append(fmt(1, 2, 16)).append(data(12000, 12000)));
  seedCalls(take, "samples_first", riff().append(data(64, 64)).append(fmt(1, 1, 16)));
  seedCalls(take, "other_chunks",
            riff().text("LIST").u32le(3).text("abc").append(fmt(1, 1, 16)).append(data(8, 8)));
  seedCalls(take, "float_tag", riff().append(fmt(3, 1, 32)).append(data(8, 8)));
  seedCalls(take, "no_channels", riff().append(fmt(1, 0, 16)).append(data(8, 8)));
  seedCalls(take, "short_fmt", riff().text("fmt ").u32le(14).zeros(14).append(data(8, 8)));
  seedCalls(take, "two_fmt", riff().append(fmt(1, 1, 8)).append(fmt(1, 1, 8)).append(data(8, 8)));
  seedCalls(take, "two_data", riff().append(data(2, 2)).append(data(2, 2)).append(fmt(1, 1, 8)));
  seedCalls(take, "cut_fmt", riff().text("fmt ").u32le(16).zeros(7));
  seedCalls(take, "huge_chunk", riff().text("LIST").u32le(0xffffffff).append(fmt(1, 1, 8)));
  seedCalls(take, "other_container", Bytes().text("RIFX").u32le(36).text("WAVE"));
}

} // namespace fuzz
