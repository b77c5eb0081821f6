// Keeps the settings of a mix in a script of the host, and takes them from
// there again.
#include <cstdio>
#include <string>

#include "core/TovFile.h"
#include "core/TovScript.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "pcm/TovPcm.h"

static std::string contentsOf(const char* path)
{
  TovFile file;
  std::string text;
  char bytes[4096];
  if (file.open(path, "r") == 0)
    while (const unsigned long count = file.read(bytes, sizeof bytes))
      text.append(bytes, count);
  return text;
}

int main(int argc, char** argv)
{
  if (argc != 3) {
    std::fprintf(stderr, "usage: settings SOUND SCRIPT\n");
    return 2;
  }
  // The first call installs the script's hooks.
  TovAudioMixer* const mixer = TovAudioMixer::getMasterMixer();
  TovAudioFile* const file = new TovAudioFile;
  file->initialize(argv[1]);
  mixer->addProvider(file);
  mixer->setGain(file, TovPcm::dBToFactor(-6.0f));
  mixer->setPan(file, -0.25f);
  mixer->setStartTime(file, 1.5);
  file->dereference();

  TovFile script;
  if (script.open(argv[2], "w") != 0)
    return 1;
  script.printf("# the host's own lines\n");
  TovScript::saveAudio(&script); // SetAudio("...");
  script.printf("Viewer(1);\n");
  if (script.close() != 0)
    return 1;

  mixer->clear();
  if (TovScript::runAudio(contentsOf(argv[2]).c_str()) != 0)
    return 1;
  for (int i = 0; i < mixer->getNumTracks(); ++i) {
    TovAudioTrack* const track = mixer->getTrack(i);
    // Saved settings hold files only, so that is what every track has.
    const TovAudioFile* const input = dynamic_cast<TovAudioFile*>(track->getProvider());
    std::printf("%s: gain %.3f, pan %.2f, from %.1f s%s\n", input->getFileName(),
                static_cast<double>(track->getGain()), static_cast<double>(track->getPan()),
                track->getStartTime(), input->hasError() ? ", missing" : "");
  }
  mixer->clear();
  mixer->dereference();
  return 0;
}
