#include "fuzz/Seeds.h"
#include "tests/support/SettingsBlobs.h"

namespace fuzz {

namespace {

using support::Bytes;
using Octets = std::vector<std::uint8_t>;

} // namespace

void textSeeds(const SeedTaker& take)
{
  const Octets blob =
      support::mixerBlob(2, 1.0f, {{.provider = support::fileBlob({.name = "a.wav"})}}).data();
  take("text", Bytes().u8(0).text(support::scriptText(blob)));
  take("text_of_nothing", Bytes().u8(0).text(support::scriptText({})));
  take("text_wrapped", Bytes().u8(0).text("z1 AAAA\n").text(support::scriptText(blob)));
  take("text_without_mark", Bytes().u8(0).text("SetAudio"));
  take("bytes", Bytes().u8(1).append(blob));
  take("bytes_alike", Bytes().u8(1).zeros(3000));
  take("stream", Bytes().u8(2).u32be(0).u8(0x78).u8(0xda).u8(0x03).u8(0).u32be(1));
  take("stream_stored",
       Bytes().u8(2).u32be(2).u16be(0x7801).u8(1).u16le(2).u16le(0xfffd).text("ab")
           .u32be(0x012600c4));
  take("stream_huge", Bytes().u8(2).u32be(0xffffffff).u16be(0x78da).u32be(0));
}

} // namespace fuzz
