// What the library declares while it is loaded, before anything of it is used.

#include <string>

#include <gtest/gtest.h>

#include "core/TovGlobals.h"
#include "io/TovAudioTranslator.h"

namespace {

TovPlug* setting(const char* name, TovId type = kTovIdInteger)
{
  return TovGlobals::ref(TovName::getString(name), type, 1);
}

TEST(LoadTimeDeclarations, SettingsHaveTheirDefaults)
{
  EXPECT_EQ(setting("sys.quicktimeAudioDefault")->asInt(), 0);
  EXPECT_EQ(setting("sys.quicktimeAudioRate")->asInt(), 44100);
  EXPECT_EQ(setting("sys.quicktimeAudioBitDepth")->asInt(), 16);
  EXPECT_EQ(setting("sys.audioSoloOverridesMute")->asInt(), 0);
}

// A declaration that came first would keep its default, so that the one made
// here shows whether the library has made its own.
TEST(LoadTimeDeclarations, SettingsAreDeclaredBeforeAnyoneElseCan)
{
  const struct {
    const char* name;
    int value;
  } rows[] = {{"sys.quicktimeAudioDefault", 0},
              {"sys.quicktimeAudioRate", 44100},
              {"sys.quicktimeAudioBitDepth", 16},
              {"sys.audioSoloOverridesMute", 0}};
  for (const auto& row : rows) {
    TovPlug* const plug = TovGlobals::def(TovName::getString(row.name), "77", kTovIdInteger);
    EXPECT_EQ(plug, setting(row.name)) << row.name;
    EXPECT_EQ(plug->asInt(), row.value) << row.name;
  }
}

TEST(LoadTimeDeclarations, HostsOwnSettingsHaveTheHostsDefaults)
{
  EXPECT_EQ(setting("script.framesPerSecond", kTovIdFloat)->asFloat(), 24.0f);
  EXPECT_EQ(setting("script.framesPerSecond", kTovIdFloat)->asInt(), 24);
  EXPECT_EQ(setting("gui.addScriptFlag")->asInt(), 0);
}

TEST(LoadTimeDeclarations, HostsValueReplacesADefaultAtOnce)
{
  TovPlug* const plug = setting("sys.quicktimeAudioRate");
  plug->set("48000");
  EXPECT_EQ(setting("sys.quicktimeAudioRate")->asInt(), 48000);
  TovGlobals::def(TovName::getString("sys.quicktimeAudioRate"), "96000", kTovIdInteger);
  EXPECT_EQ(plug->asInt(), 48000);
  plug->set("44100");
}

TEST(LoadTimeDeclarations, TranslatorsAreRegisteredAiffThenWav)
{
  ASSERT_NE(TovAudioTranslator::_translators, nullptr);
  const TovPArray<TovAudioTranslator>& translators = *TovAudioTranslator::_translators;
  ASSERT_GE(translators.getCount(), 2u);
  EXPECT_STREQ(translators[0]->getReadableFormats().c_str(), "Audio IFF{aif;aiff}");
  EXPECT_STREQ(translators[1]->getReadableFormats().c_str(), "Wav{wav;wave}");
}

} // namespace
