// Mixes sound files and prints the peak of the first second.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"

int main(int argc, char** argv)
{
  std::vector<float> left(48000), right(48000);
  TovNLPArray<float> buffers;
  buffers.append(left.data());
  buffers.append(right.data());
  TovNLArray<int> channels;
  channels.append(0);
  channels.append(1);

  TovAudioMixer* const mixer = new TovAudioMixer;
  for (int i = 1; i < argc; ++i) {
    TovAudioFile* const file = new TovAudioFile;
    file->initialize(argv[i]);
    mixer->addProvider(file);
    mixer->setStartTime(file, 0.0);             // else one timeline frame in
    mixer->setEndTime(file, file->getSrcOut()); // fades out there
    file->dereference();                        // the mixer holds it now
  }
  const TovAudioContext context(48000, 2, 24.0, 0.0); // 48 kHz, quality "High"
  mixer->activate(context);
  const int status = mixer->getAudio(buffers, channels, context, 0.0, 1.0);

  mixer->deactivate();
  mixer->dereference();
  float peak = 0.0f;
  for (const float sample : left)
    peak = std::max(peak, std::fabs(sample));
  std::printf("status %d, peak of the left channel %.6f\n", status, static_cast<double>(peak));
  return status;
}
