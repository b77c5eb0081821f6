#include <cstring>
#include <memory>
#include <mutex>

#include "core/TovBuffer.h"
#include "core/TovCompressor.h"
#include "core/TovFile.h"
#include "core/TovName.h"
#include "core/TovPlug.h"
#include "core/TovScript.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovMixerSettings.h"

// The process-wide mixer and the host script's hooks: its settings travel as
// one command of the script, SetAudio("..."), whose argument is the mixer's
// blob made into text.

namespace {

constexpr char kCommandFormat[] = "%s(\"%s\");\n";

std::mutex masterMixerMutex;

/** The mixer's settings as text; false where it gives none. */
bool settingsText(TovAudioMixer& mixer, TovBuffer& text)
{
  void* blob = nullptr;
  const int length = mixer.serialize(&blob);
  const std::unique_ptr<unsigned char[]> owned(static_cast<unsigned char*>(blob));
  if (!blob)
    return false; // GCOVR_EXCL_LINE: 2 GiB of settings
  text.allocate(static_cast<unsigned long>(length));
  std::memcpy(text.getData(), blob, static_cast<std::size_t>(length));
  return TovCompressor::compressBuffer(text, length) == 0;
}

/** A reference to the master mixer for a scope, on every way out of it. */
class HeldMasterMixer {
public:
  HeldMasterMixer() : mixer(TovAudioMixer::getMasterMixer()) {}
  ~HeldMasterMixer() { mixer->dereference(); }
  HeldMasterMixer(const HeldMasterMixer&) = delete;
  HeldMasterMixer& operator=(const HeldMasterMixer&) = delete;

  TovAudioMixer& operator*() const { return *mixer; }

private:
  TovAudioMixer* mixer;
};

const char* charactersOf(const TovBuffer& text)
{
  return reinterpret_cast<const char*>(text.getData());
}

} // namespace

constinit TovAudioMixer* TovAudioMixer::_masterMixer = nullptr;

TovAudioMixer* TovAudioMixer::getMasterMixer()
{
  const std::lock_guard<std::mutex> guard(masterMixerMutex);
  if (!_masterMixer) {
    _masterMixer = new TovAudioMixer; // its first reference is never released
    TovScript::setAudioCallbacks(saveAudioStatic, loadAudioStatic, saveAudioStringStatic);
  }
  _masterMixer->reference();
  return _masterMixer;
}

void TovAudioMixer::saveAudioStatic(TovFile* file)
{
  const HeldMasterMixer mixer;
  TovBuffer text;
  if (file && settingsText(*mixer, text))
    file->printf(kCommandFormat, TovScript::_audioLoadCmd, charactersOf(text));
}

TovString TovAudioMixer::saveAudioStringStatic()
{
  const HeldMasterMixer mixer;
  TovBuffer text;
  TovName line;
  if (settingsText(*mixer, text))
    line = TovName::sprintf(kCommandFormat, TovScript::_audioLoadCmd, charactersOf(text));
  return TovString(line.c_str());
}

void TovAudioMixer::loadAudioStatic(const char* text)
{
  // The reference is kept: the master mixer lives as long as the process.
  TovAudioMixer* const mixer = getMasterMixer();
  const bool append = TovMixerSettings::instance().addScriptFlag->asInt() != 0;
  if (!text) {
    mixer->deserialize(nullptr, append);
    return;
  }
  TovBuffer blob;
  TovCompressor::decompressString(text, blob); // empty where the text is bad
  const unsigned char nothing = 0;
  mixer->deserializeBounded(blob.getSize() > 0 ? blob.getData() : &nothing, blob.getSize(), append);
}
