#include "fuzz/Seeds.h"
#include "fuzz/SettingsCheck.h"

namespace fuzz {

namespace {

using support::Bytes;

} // namespace

void blobsSeeds(const SeedTaker& take)
{
  const Bytes file = seedFileBlob();
  take("file", Bytes().u16be(0x0000).append(file));
  take("file_none", Bytes().u16be(0x0000).append(support::fileBlob({})));
  take("file_version", Bytes().u16be(0x0000).append(support::fileBlob({}, 1)));
  take("file_long_name", Bytes().u16be(0x0000)
      .append(support::fileBlob({std::string(20000, 'n')})));
  for (std::uint32_t version = 0; version <= 3; ++version)
    for (const std::size_t tracks : {0u, 1u, 3u})
      take("mixer" + std::to_string(version) + "_" + std::to_string(tracks),
           Bytes().u16be(0x0100 + version % 2).append(seedMixerBlob(version, 1.5f, tracks)));
  const Bytes rejected = support::fileBlob({}, 7);
  take("mixer_rejected", Bytes().u16be(0x0100)
      .append(support::mixerBlob(2, 1.0f, {{.provider = rejected}})));
  take("mixer_cut", Bytes().u16be(0x0100).append(support::mixerHeader(2, 1.0f, 9)));
  take("resampler", Bytes().u16be(0x0200).append(support::resamplerHeader(8000, 0)));
  take("resampler_version", Bytes().u16be(0x0200).append(support::resamplerHeader(8000, 0, 1)));
  take("resampler_file", Bytes().u16be(0x0201).append(support::resamplerHeader(8000, 1))
      .append(file));
  take("resampler_mixer", Bytes().u16be(0x0200).append(support::resamplerHeader(8000, 1))
           .append(support::mixerBlob(2, 1.0f, {{.provider = file}})));
  take("resampler_other", Bytes().u16be(0x0200).append(support::resamplerHeader(8000, 1))
      .text("OTHER"));
}

} // namespace fuzz
