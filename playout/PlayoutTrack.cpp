#include "playout/PlayoutTrack.h"

#include <algorithm>

PlayoutTrack::PlayoutTrack(PeAudioSupplierProc supplierFunction, void* supplierData, int channels,
                           double rate)
    : supplier(supplierFunction), refCon(supplierData), channelCount(channels),
      framesPerSecond(rate), samples(static_cast<std::size_t>(channels * kPieceFrames)),
      supplied(static_cast<std::size_t>(channels)), ramp(rate), history(channels, rate)
{
  for (int channel = 0; channel < channels; ++channel)
    buffers.push_back(samples.data() + channel * kPieceFrames);
}

void PlayoutTrack::begin(double startTime, float volume) noexcept
{
  start = startTime;
  calls = 0;
  ramp.jumpTo(volume);
}

void PlayoutTrack::pull(float* interleaved, long frames, float volume) noexcept
{
  ramp.moveTo(volume);
  for (long done = 0; done < frames;) {
    const long piece = std::min(frames - done, kPieceFrames);
    pullPiece(piece);
    ramp.apply(buffers.data(), channelCount, piece);
    history.measure(buffers.data(), piece);
    interleave(interleaved + done * channelCount, piece);
    done += piece;
  }
}

void PlayoutTrack::pullPiece(long frames) noexcept
{
  const double time = start + static_cast<double>(history.length());
  unsigned char isSilence = 0;
  std::copy(buffers.begin(), buffers.end(), supplied.begin());
  const int status = supplier(refCon, time, calls, static_cast<unsigned long>(frames),
                              supplied.data(), &isSilence);
  ++calls;
  if (status == 0 && !isSilence)
    return;
  for (float* const buffer : buffers)
    std::fill_n(buffer, frames, 0.0f);
}

void PlayoutTrack::interleave(float* interleaved, long frames) const noexcept
{
  for (int channel = 0; channel < channelCount; ++channel) {
    const float* const samplesOfChannel = buffers[static_cast<std::size_t>(channel)];
    float* out = interleaved + channel;
    for (long frame = 0; frame < frames; ++frame, out += channelCount)
      *out = samplesOfChannel[frame];
  }
}
