#include "fuzz/SettingsCheck.h"

#include <algorithm>

#include "core/TovFile.h"
#include "core/TovScript.h"
#include "fuzz/Target.h"
#include "graph/TovAudioMixer.h"
#include "tests/support/TempFolder.h"

namespace fuzz {

std::string savedCommand()
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

std::string savedCommandInFile()
{
  TovFile file;
  require(file.open(scratch().path("settings").c_str(), "w") == 0, "a file can be written");
  require(TovScript::saveAudio(&file) == 0 && file.close() == 0, "the command goes to a file");
  const std::vector<std::uint8_t> written = scratch().read("settings");
  return std::string(written.begin(), written.end());
}

support::Bytes seedFileBlob()
{
  return support::fileBlob({"a.wav", 48000, 0.5, 2.0});
}

support::Bytes seedMixerBlob(std::uint32_t version, float masterGain, std::size_t tracks)
{
  const support::TrackSettings track = {1, 0, 0.5f, -0.5f, 2.0f, 1.0, 2.0, 0.25, seedFileBlob()};
  return support::mixerBlob(version, masterGain,
                            std::vector<support::TrackSettings>(tracks, track));
}

} // namespace fuzz
