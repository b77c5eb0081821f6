#include "io/TovAudioWriter.h"

#include <algorithm>

#include "core/TovFile.h"
#include "core/TovSys.h"
#include "pcm/TovPcm.h"

TovAudioWriter::TovAudioWriter() = default;
TovAudioWriter::~TovAudioWriter() = default;

void TovAudioWriter::close() {}

int TovAudioWriter::getFileSpec(TovAudioIOFormat*)
{
  return 1;
}

bool TovAudioWriter::isPossible(const TovAudioIOFormat& wanted, const char* rateMessage,
                                const char* channelsWarning)
{
  constexpr std::uint32_t kMostChannels = 0xffff; // what either header can say
  const char* message = nullptr;
  if (static_cast<std::int32_t>(wanted.sampleRate) < 1)
    message = rateMessage;
  else if (wanted.bytesPerSample < 1 || wanted.bytesPerSample > 4)
    message = "%ETovWavWriter: error, unsupported number of bytes per sample\n";
  else if (wanted.channels == 0)
    message = "%ETovWavWriter: error, no channels in output audio file\n";
  else if (wanted.channels > kMostChannels)
    message = "%ETovWavWriter: error, too many channels in output audio file\n";

  if (message)
    TovSys::error(message);
  else if (wanted.channels > 2)
    TovSys::error(channelsWarning);
  return !message;
}

TovAudioIOFormat TovAudioWriter::recordOf(const TovAudioIOFormat& wanted,
                                          TovSampleEncoding encoding, bool bigEndian)
{
  return {FormatValid,           static_cast<std::uint32_t>(encoding),
          wanted.bytesPerSample, bigEndian ? 1u : 0u,
          wanted.sampleRate,     wanted.frameCount,
          wanted.channels};
}

int TovAudioWriter::appendFrames(bool isOpen, TovFile& file, const TovAudioIOFormat& record,
                                 const TovNLPArray<float>& inputs, int frames)
{
  if (!isOpen || record.state != FormatValid)
    return 1;
  if (static_cast<std::uint32_t>(inputs.getCount()) != record.channels)
    return 2;
  allocBuffer(kTransferSize);
  const long long passFrames = framesPerPass(record);
  const long long frameBytes = static_cast<long long>(record.bytesPerSample) * record.channels;

  TovNLPArray<float> sources(inputs);
  TovNLArray<int> channels;
  channels.growTo(inputs.getCount());
  for (int i = 0; i < inputs.getCount(); ++i)
    channels.append(i);

  for (long long done = 0; done < frames; done += passFrames) {
    for (int i = 0; i < sources.getCount(); ++i)
      sources.set(i, inputs[i] + done);
    const long long passed = std::min(frames - done, passFrames);
    TovPcm::fromFloat(getBuffer(), channels, sources, record, passed);
    const unsigned long bytes = static_cast<unsigned long>(passed * frameBytes);
    if (file.write(getBuffer(), bytes) != bytes)
      return 3;
  }
  return 0;
}
