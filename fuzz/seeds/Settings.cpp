#include "fuzz/Seeds.h"
#include "fuzz/SettingsCheck.h"

namespace fuzz {

namespace {

using support::Bytes;

} // namespace

void settingsSeeds(const SeedTaker& take)
{
  for (std::uint32_t version = 0; version <= 3; ++version) {
    const Bytes blob = seedMixerBlob(version, 9.0f, 2);
    const std::string text = support::scriptText(blob.data());
    const std::string label = std::to_string(version);
    take("text" + label, Bytes().u8(version).u8(0).text(text));
    take("blob" + label, Bytes().u8(version).u8(1).append(blob));
    take("script" + label,
         Bytes().u8(version).u8(2)
             .text("// a script\nOther(\"\\\"x\", 1);\n/* SetAudio( */ SetAudio(\"")
             .text(text).text("\");\n"));
  }
  take("rejected", Bytes().u8(0).u8(1).append(support::mixerBlob(2, 1.0f, {{.provider = Bytes()
      .text("AFILxxxx")}})));
  take("empty_command", Bytes().u8(0).u8(2).text("# x\nSetAudio();"));
  take("unfinished", Bytes().u8(0).u8(2).text("SetAudio(\"z1"));
  take("escapes", Bytes().u8(0).u8(2).text("SetAudio(\"z\\1\\n\\t\\\\\") \"\\"));
  take("none", Bytes().u8(0).u8(3));
}

} // namespace fuzz
