#include "bench/RateConverter.h"

#include <algorithm>

RateConverter::RateConverter(Layout order, RatePair pair, int count)
    : layout(order), rates(pair), channels(count), inFrames(0), capacity(0), written(0)
{
}

void RateConverter::setInput(const Channels& samples)
{
  const std::size_t count = static_cast<std::size_t>(channels);
  const std::size_t frames = samples[0].size();
  inFrames = static_cast<long long>(frames);
  capacity = inFrames * rates.to / rates.from + 4096;
  if (layout == planar) {
    in.assign(samples.begin(), samples.begin() + channels);
    out.assign(count, std::vector<float>(static_cast<std::size_t>(capacity)));
    return;
  }
  in.assign(1, std::vector<float>(frames * count));
  out.assign(1, std::vector<float>(static_cast<std::size_t>(capacity) * count));
  for (std::size_t channel = 0; channel < count; ++channel)
    for (std::size_t i = 0; i < frames; ++i)
      in[0][i * count + channel] = samples[channel][i];
}

std::vector<float> RateConverter::output(int channel) const
{
  const std::size_t frames = static_cast<std::size_t>(written);
  const std::size_t index = static_cast<std::size_t>(channel);
  if (layout == planar)
    return std::vector<float>(out[index].begin(), out[index].begin() + written);
  std::vector<float> samples(frames);
  for (std::size_t i = 0; i < frames; ++i)
    samples[i] = out[0][i * static_cast<std::size_t>(channels) + index];
  return samples;
}

std::vector<ConverterSetting> peerConverters()
{
  std::vector<ConverterSetting> all;
  for (const auto& settings : {swresampleConverters(), soxrConverters(), samplerateConverters(),
                               speexConverters(), zitaConverters()})
    all.insert(all.end(), settings.begin(), settings.end());
  return all;
}
