// The audio settings as one line of the host's script.

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/TovFile.h"
#include "core/TovScript.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/support/LoadWatcher.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/Setting.h"
#include "tests/support/SettingsBlobs.h"

namespace {

using support::Bytes;
using support::fileBlob;
using support::LoadWatcher;
using support::mixerBlob;
using support::Owned;
using support::scriptText;
using support::serialized;

using Lines = std::vector<std::string>;

class ScriptSettingsTest : public ::testing::Test {
protected:
  ~ScriptSettingsTest() override
  {
    master->clear();
    master->setMasterGain(1.0f);
  }

  void fillMaster()
  {
    master->clear();
    master->addProvider(old.get());
    master->setMasterGain(0.5f);
  }

  std::string saved() { return TovAudioMixer::saveAudioStringStatic().c_str(); }

  const Bytes blob = mixerBlob(2, 0.75f,
                               {{.gain = 2.0f, .provider = fileBlob({"/no/voice.wav"})},
                                {.pan = 0.5f, .provider = fileBlob({})}});
  support::Messages messages;
  support::Setting addScript = support::Setting("gui.addScriptFlag", kTovIdInteger, "0");
  Owned<support::RecordingProvider> old = support::make<support::RecordingProvider>();
  Owned<TovAudioMixer> master = Owned<TovAudioMixer>(TovAudioMixer::getMasterMixer());
};

TEST_F(ScriptSettingsTest, StringIsACallOfTheAudioCommandWithTheCompressedBlob)
{
  EXPECT_STREQ("SetAudio", TovScript::_audioLoadCmd);
  EXPECT_EQ("SetAudio(\"" + scriptText(mixerBlob(2, 1.0f, {}).data()) + "\");\n", saved());
  TovAudioMixer::loadAudioStatic(scriptText(blob.data()).c_str());
  EXPECT_EQ("SetAudio(\"" + scriptText(blob.data()) + "\");\n", saved());
}

TEST_F(ScriptSettingsTest, LineHasNoQuoteAndNoLineFeedInside)
{
  TovAudioMixer::loadAudioStatic(scriptText(blob.data()).c_str());
  const std::string line = saved();
  const std::string head = "SetAudio(\"";
  ASSERT_EQ(0u, line.rfind(head, 0));
  EXPECT_EQ(line.size() - 4, line.find_first_of("\"\n\\", head.size()));
}

TEST_F(ScriptSettingsTest, LineIsWrittenAtTheFilesPosition)
{
  const support::TempFolder folder;
  TovAudioMixer::loadAudioStatic(scriptText(blob.data()).c_str());
  const std::string line = saved();
  TovFile file;
  ASSERT_EQ(0, file.open(folder.path("a.script").c_str(), "w"));
  ASSERT_EQ(4u, file.write("old\n", 4));
  TovAudioMixer::saveAudioStatic(&file);
  EXPECT_EQ(static_cast<long long>(4 + line.size()), file.tell());
  ASSERT_EQ(0, TovScript::saveAudio(&file));
  file.close();
  const std::vector<std::uint8_t> bytes = folder.read("a.script");
  EXPECT_EQ("old\n" + line + line, std::string(bytes.begin(), bytes.end()));
}

TEST_F(ScriptSettingsTest, LongLinesAreWrittenWhole)
{
  std::vector<support::TrackSettings> tracks;
  for (std::uint32_t i = 0; i < 3000; ++i)
    tracks.push_back({.startTime = i * 0.123456789,
                      .endTime = i * 7.654321,
                      .provider = fileBlob({"", i * 2654435761u, 0.0, 0.0})});
  const std::vector<std::uint8_t> large = mixerBlob(2, 1.0f, tracks).data();
  master->deserialize(large.data(), false);
  const support::TempFolder folder;
  TovFile file;
  ASSERT_EQ(0, file.open(folder.path("a.script").c_str(), "w"));
  TovAudioMixer::saveAudioStatic(&file);
  file.close();
  const std::vector<std::uint8_t> bytes = folder.read("a.script");
  EXPECT_GT(bytes.size(), 40000u);
  EXPECT_EQ(saved(), std::string(bytes.begin(), bytes.end()));
  master->clear();
  ASSERT_EQ(0, TovScript::runAudio(std::string(bytes.begin(), bytes.end()).c_str()));
  EXPECT_EQ(large, serialized(*master));
}

TEST_F(ScriptSettingsTest, HostReachesTheHooksThroughItsScript)
{
  TovAudioMixer::loadAudioStatic(scriptText(blob.data()).c_str());
  const std::string script = "SetFrame(12); // SetAudio(\"no\")\n" +
                             std::string(TovScript::audioToString().c_str()) + "Done();\n";
  master->clear();
  ASSERT_EQ(0, TovScript::runAudio(script.c_str()));
  EXPECT_EQ(blob.data(), serialized(*master));
  ASSERT_EQ(0, TovScript::runAudio("SetAudio();"));
  EXPECT_EQ(0, master->getNumTracks());
}

TEST_F(ScriptSettingsTest, SavingChangesNothingAndKeepsNoReference)
{
  fillMaster();
  const int references = support::referenceCount(*master);
  LoadWatcher watcher(*master);
  const support::TempFolder folder;
  TovFile file;
  ASSERT_EQ(0, file.open(folder.path("a.script").c_str(), "w"));
  for (int i = 0; i < 5; ++i) {
    TovAudioMixer::saveAudioStatic(&file);
    saved();
  }
  EXPECT_EQ(references + 1, support::referenceCount(*master)); // the watcher's
  EXPECT_EQ(Lines{}, watcher.take());
  EXPECT_EQ(Lines{}, messages.take());
}

TEST_F(ScriptSettingsTest, LoadingReplacesTheMix)
{
  fillMaster();
  LoadWatcher watcher(*master);
  TovAudioMixer::loadAudioStatic(scriptText(blob.data()).c_str());
  EXPECT_EQ(LoadWatcher::oneLoad(2), watcher.take());
  EXPECT_EQ(blob.data(), serialized(*master));
  EXPECT_EQ(1, support::referenceCount(*old));
}

TEST_F(ScriptSettingsTest, LoadingIntoAnOpenScriptAppends)
{
  for (const char* flag : {"1", "2", "-1"}) {
    addScript.set(flag);
    fillMaster();
    LoadWatcher watcher(*master);
    TovAudioMixer::loadAudioStatic(scriptText(blob.data()).c_str());
    EXPECT_EQ(LoadWatcher::oneLoad(3), watcher.take());
    EXPECT_EQ(0.5f, master->getMasterGain());
    EXPECT_EQ(old.get(), master->getTrack(0)->getProvider());
    EXPECT_EQ(2.0f, master->getTrack(1)->getGain());
  }
}

TEST_F(ScriptSettingsTest, AddScriptFlagCountsAtOnceAndAsAnInteger)
{
  for (const char* flag : {"0", "0.9", ""}) {
    addScript.set(flag);
    fillMaster();
    TovAudioMixer::loadAudioStatic(scriptText(blob.data()).c_str());
    EXPECT_EQ(2, master->getNumTracks()) << flag;
  }
  addScript.set(nullptr);
  fillMaster();
  TovAudioMixer::loadAudioStatic(scriptText(blob.data()).c_str());
  EXPECT_EQ(2, master->getNumTracks());
}

TEST_F(ScriptSettingsTest, NoTextEmptiesTheMixSilently)
{
  fillMaster();
  LoadWatcher watcher(*master);
  TovAudioMixer::loadAudioStatic(nullptr);
  EXPECT_EQ(LoadWatcher::oneLoad(0), watcher.take());
  EXPECT_EQ(1.0f, master->getMasterGain());
  EXPECT_EQ(Lines{}, messages.take());
}

TEST_F(ScriptSettingsTest, NoTextAppendedChangesNothing)
{
  fillMaster();
  addScript.set("1");
  LoadWatcher watcher(*master);
  TovAudioMixer::loadAudioStatic(nullptr);
  EXPECT_EQ(LoadWatcher::oneLoad(1), watcher.take());
  EXPECT_EQ(0.5f, master->getMasterGain());
  EXPECT_EQ(Lines{}, messages.take());
}

TEST_F(ScriptSettingsTest, TextThatDoesNotDecompressIsRejected)
{
  const std::string good = scriptText(blob.data());
  std::string changed = good;
  changed[changed.size() / 2] = changed[changed.size() / 2] == 'x' ? 'y' : 'x';
  const std::vector<std::string> texts = {"",         "x",         "not a mix",
                                          "AMXR",     changed,     good.substr(0, good.size() - 1),
                                          good + "A", "\"" + good, good.substr(1)};
  for (const std::string& text : texts) {
    for (const bool append : {false, true}) {
      addScript.set(append ? "1" : "0");
      fillMaster();
      const std::vector<std::uint8_t> before = serialized(*master);
      LoadWatcher watcher(*master);
      TovAudioMixer::loadAudioStatic(text.c_str());
      EXPECT_EQ(LoadWatcher::oneLoad(append ? 1 : 0), watcher.take()) << text;
      EXPECT_EQ(Lines{support::kBadAudioData}, messages.take()) << text;
      EXPECT_EQ(append ? before : mixerBlob(2, 1.0f, {}).data(), serialized(*master)) << text;
    }
  }
}

TEST_F(ScriptSettingsTest, EveryPrefixOfTheTextIsRejected)
{
  const std::string good = scriptText(blob.data());
  for (std::size_t length = 0; length < good.size(); ++length) {
    TovAudioMixer::loadAudioStatic(good.substr(0, length).c_str());
    EXPECT_EQ(Lines{support::kBadAudioData}, messages.take()) << length;
    EXPECT_EQ(0, master->getNumTracks());
  }
}

TEST_F(ScriptSettingsTest, TextOfNoBytesIsRejected)
{
  fillMaster();
  LoadWatcher watcher(*master);
  TovAudioMixer::loadAudioStatic(scriptText({}).c_str());
  EXPECT_EQ(LoadWatcher::oneLoad(0), watcher.take());
  EXPECT_EQ(Lines{support::kBadAudioData}, messages.take());
}

TEST_F(ScriptSettingsTest, BlanksAndLineBreaksInTheTextAreReadOver)
{
  std::string wrapped;
  for (const char character : scriptText(blob.data()))
    wrapped += std::string(1, character) + (wrapped.size() % 3 ? "\n" : " ");
  TovAudioMixer::loadAudioStatic(wrapped.c_str());
  EXPECT_EQ(blob.data(), serialized(*master));
  EXPECT_EQ(0, support::badDataMessages(messages.take()));
}

TEST_F(ScriptSettingsTest, AnotherTagOrVersionStaysSilent)
{
  for (const Bytes& other :
       {Bytes().text("AFIL").zeros(25), Bytes().text("AMXR").u32be(3), Bytes().text("XXXX")}) {
    for (const bool append : {false, true}) {
      addScript.set(append ? "1" : "0");
      fillMaster();
      LoadWatcher watcher(*master);
      TovAudioMixer::loadAudioStatic(scriptText(other.data()).c_str());
      EXPECT_EQ(LoadWatcher::oneLoad(append ? 1 : 0), watcher.take());
      EXPECT_EQ(Lines{}, messages.take());
      EXPECT_EQ(append ? 0.5f : 1.0f, master->getMasterGain());
    }
  }
}

TEST_F(ScriptSettingsTest, InputThatIsNoFileDoesNotSurviveTheScript)
{
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(nullptr);
  master->addProvider(resampler.get());
  const std::string line = saved();
  ASSERT_EQ(0, TovScript::runAudio(line.c_str()));
  EXPECT_EQ(Lines{support::kBadAudioData}, messages.take());
  EXPECT_EQ(0, master->getNumTracks());
}

TEST_F(ScriptSettingsTest, MissingFilesLoseNothingOverManyRounds)
{
  TovAudioMixer::loadAudioStatic(scriptText(blob.data()).c_str());
  const std::string line = saved();
  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(0, TovScript::runAudio(saved().c_str()));
    EXPECT_EQ(line, saved());
  }
  EXPECT_EQ(0, support::badDataMessages(messages.take()));
}

} // namespace
