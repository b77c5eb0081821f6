#include <algorithm>

#include "core/TovFile.h"
#include "core/TovScript.h"
#include "fuzz/Seeds.h"
#include "graph/TovAudioMixer.h"
#include "tests/support/Setting.h"
#include "tests/support/SettingsBlobs.h"
#include "tests/support/TempFolder.h"

// The master mixer's settings as a host's script carries them.

namespace fuzz {

namespace {

/** The one command that the mixer writes now. */
std::string saved()
{
  const std::string line = TovAudioMixer::saveAudioStringStatic().c_str();
  const std::string begin = "SetAudio(\"";
  const std::string end = "\");\n";
  require(line.size() > begin.size() + end.size() && line.compare(0, begin.size(), begin) == 0 &&
              line.compare(line.size() - end.size(), end.size(), end) == 0,
          "the settings are one command");
  require(std::count(line.begin(), line.end(), '"') == 2, "its argument is one string");
  return line;
}

void load(int kind, const std::vector<std::uint8_t>& bytes)
{
  const std::string text(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
  if (kind == 0)
    TovAudioMixer::loadAudioStatic(text.c_str());
  else if (kind == 1)
    TovAudioMixer::loadAudioStatic(support::scriptText(bytes).c_str());
  else if (kind == 2)
    TovScript::runAudio(text.c_str());
  else
    TovAudioMixer::loadAudioStatic(nullptr);
}

void run(Input& input)
{
  static TovAudioMixer* const mixer = TovAudioMixer::getMasterMixer();
  support::Setting append("gui.addScriptFlag", kTovIdInteger, "0");
  mixer->lockAcquire();
  mixer->initialize();
  mixer->lockRelease();

  append.set(input.flag() ? "1" : "0");
  const int kind = input.below(4);
  load(kind, input.rest());
  const int tracks = mixer->getNumTracks();

  append.set("0");
  const std::string line = saved();
  require(TovScript::runAudio(line.c_str()) == 0, "what was saved is found in a script");
  require(mixer->getNumTracks() == tracks && saved() == line, "what was loaded is saved the same");

  append.set("1");
  require(TovScript::runAudio(line.c_str()) == 0 && mixer->getNumTracks() == 2 * tracks,
          "appended, every track is there again");

  TovFile file;
  require(file.open(scratch().path("settings").c_str(), "w") == 0, "a file can be written");
  require(TovScript::saveAudio(&file) == 0 && file.close() == 0, "the command goes to a file");
  const std::vector<std::uint8_t> written = scratch().read("settings");
  require(std::string(written.begin(), written.end()) == saved(), "and is the same there");
  mixer->clear();
}

} // namespace

extern const Target settingsTarget;
const Target settingsTarget = {"settings", run, settingsSeeds,
                               "graph/TovMasterMixer.cpp graph/TovAudioMixerBlob.cpp "
                               "graph/TovBlob.cpp hostcore/TovScript.cpp"};

} // namespace fuzz
