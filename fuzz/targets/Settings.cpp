#include "core/TovScript.h"
#include "fuzz/Seeds.h"
#include "fuzz/SettingsCheck.h"
#include "graph/TovAudioMixer.h"
#include "tests/support/Setting.h"

// The master mixer's settings as a host's script carries them.

namespace fuzz {

namespace {

/** The bytes are a text, a blob that a text carries, a script, or no text. */
void load(Input& input)
{
  const int kind = input.below(4);
  const std::string text = kind == 1 ? support::scriptText(input.rest()) : input.restOfText();
  if (kind == 2)
    TovScript::runAudio(text.c_str());
  else
    TovAudioMixer::loadAudioStatic(kind == 3 ? nullptr : text.c_str());
}

void run(Input& input)
{
  static TovAudioMixer* const mixer = TovAudioMixer::getMasterMixer();
  support::Setting append("gui.addScriptFlag", kTovIdInteger, "0");
  mixer->lockAcquire();
  mixer->initialize();
  mixer->lockRelease();

  append.set(input.flag() ? "1" : "0");
  load(input);
  const int tracks = mixer->getNumTracks();

  append.set("0");
  const std::string saved = savedCommand();
  checkFixedPoint(saved, [&](const std::string& line) {
    require(TovScript::runAudio(line.c_str()) == 0, "what was saved is found in a script");
    require(mixer->getNumTracks() == tracks, "with as many tracks");
    return savedCommand();
  });

  append.set("1");
  require(TovScript::runAudio(saved.c_str()) == 0 && mixer->getNumTracks() == 2 * tracks,
          "appended, every track is there again");
  require(savedCommandInFile() == savedCommand(), "a file gets the same command");
  mixer->clear();
}

} // namespace

extern const Target settingsTarget;
const Target settingsTarget = {"settings", run, settingsSeeds,
                               "graph/TovMasterMixer.cpp graph/TovAudioMixerBlob.cpp "
                               "graph/TovBlob.cpp hostcore/TovScript.cpp"};

} // namespace fuzz
