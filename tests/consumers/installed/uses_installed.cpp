// Names headers as an installed library has them: below tov/.
#include <tov/graph/TovAudioMixer.h>
#include <tov/io/TovAudioTranslator.h>
#include <tov/pcm/TovPcm.h>
#include <tov/playback/TovAudioPlayer.h>

#include <cstdio>

int main()
{
  TovAudioMixer* const mixer = new TovAudioMixer;
  float left[64] = {1.0f};
  float right[64] = {1.0f};
  TovNLPArray<float> outputs;
  outputs.append(left);
  outputs.append(right);
  TovNLArray<int> channels;
  channels.append(0);
  channels.append(1);
  const TovAudioContext context(44100, 1, 24.0, 0.0);
  const int status = mixer->getAudio(outputs, channels, context, 0.0, 64.0 / 44100.0);
  mixer->dereference();
  const TovName name = TovName::getString("a.wav");
  const bool hasTranslators = TovAudioTranslator::findReader(name, 1) != nullptr;
  const bool isHalf = TovPcm::dBToFactor(-6.0206f) > 0.499f && TovPcm::dBToFactor(-6.0206f) < 0.501f;
  if (status != 5 || !isHalf || !hasTranslators) {
    std::printf("wrong: status %d\n", status);
    return 1;
  }
  return 0;
}
