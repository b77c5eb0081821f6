// Does one piece of work of the sample arithmetic a number of times, for a
// program that counts instructions.
//   tov_instructions NAME TIMES
//   tov_instructions --list
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "pcm/TovPcm.h"

namespace {

constexpr int kFrames = 4096;

/** Two channels, with room for the handles of all rates below. */
struct Buffers {
  std::vector<float> in[2];
  std::vector<float> out[2];
  std::vector<unsigned char> bytes = std::vector<unsigned char>(8 * kFrames, 0x35);
  TovNLPArray<float> inputs, outputs;
  TovNLArray<int> channels;

  Buffers()
  {
    for (int c = 0; c < 2; ++c) {
      for (int i = 0; i < 4 * kFrames; ++i)
        in[c].push_back(static_cast<float>((i * 37 + c) % 199 - 99) / 100.0f);
      out[c].resize(kFrames);
      inputs.append(in[c].data() + kFrames);
      outputs.append(out[c].data());
      channels.append(c);
    }
  }
};

void resample(Buffers& b, int quality, int from, int to)
{
  TovPcm::resample(quality, b.outputs, b.inputs, to, from, kFrames, 0, 0.25f);
}

TovAudioIOFormat stereo(TovSampleEncoding encoding)
{
  TovAudioIOFormat format{};
  format.state = FormatValid;
  format.encoding = encoding;
  format.channels = 2;
  return format;
}

std::map<std::string, std::function<void(Buffers&)>> works()
{
  std::map<std::string, std::function<void(Buffers&)>> all;
  const char* const qualities[] = {"medium", "high", "highest"};
  for (int quality = 1; quality <= 3; ++quality) {
    const std::string name = std::string("resample ") + qualities[quality - 1];
    all[name + " 44100 to 48000"] = [quality](Buffers& b) { resample(b, quality, 44100, 48000); };
    all[name + " 48000 to 44100"] = [quality](Buffers& b) { resample(b, quality, 48000, 44100); };
  }
  for (const auto& [name, encoding] :
       {std::pair{"16 bit", EncS16}, {"24 bit", EncS24}, {"32 bit", EncS32}}) {
    all[std::string("decode ") + name] = [format = stereo(encoding)](Buffers& b) {
      TovPcm::toFloat(b.outputs, b.channels, b.bytes.data(), format, kFrames);
    };
    all[std::string("encode ") + name] = [format = stereo(encoding)](Buffers& b) {
      TovPcm::fromFloat(b.bytes.data(), b.channels, b.inputs, format, kFrames);
    };
  }
  return all;
}

} // namespace

int main(int argc, char** argv)
{
  const auto all = works();
  if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
    for (const auto& work : all)
      std::puts(work.first.c_str());
    return 0;
  }
  const auto work = argc == 3 ? all.find(argv[1]) : all.end();
  if (work == all.end())
    return 2;
  Buffers buffers;
  for (int times = std::atoi(argv[2]); times > 0; --times)
    work->second(buffers);
  return 0;
}
