#include <algorithm>

#include "bench/RateConverter.h"
#include "pcm/TovPcm.h"

namespace {

class TovConverter : public RateConverter {
public:
  TovConverter(int filterQuality, int framesOfRequest, RatePair pair, int count)
      : RateConverter(planar, pair, count), quality(filterQuality), block(framesOfRequest),
        handles(TovPcm::resamplerHandles(filterQuality, pair.to, pair.from))
  {
  }

  void setInput(const Channels& samples) override
  {
    RateConverter::setInput(samples);
    const std::size_t silence = static_cast<std::size_t>(handles);
    for (std::vector<float>& channel : in) {
      channel.insert(channel.begin(), silence, 0.0f);
      channel.insert(channel.end(), silence + 2, 0.0f);
    }
    written = inFrames * rates.to / rates.from;
  }

  void convert() override
  {
    const long long most = block > 0 ? block : written;
    for (long long first = 0; first < written; first += most)
      convert(first, std::min(most, written - first));
  }

private:
  /** One request, at the position that its first frame has in the whole. */
  void convert(long long first, long long frames)
  {
    const long long start = first * rates.from / rates.to;
    const long long rest = first * rates.from % rates.to;
    const float phase = static_cast<float>(rest) / static_cast<float>(rates.to);
    TovNLPArray<float> outputs;
    TovNLPArray<float> inputs;
    for (int i = 0; i < channels; ++i) {
      const std::size_t channel = static_cast<std::size_t>(i);
      outputs.append(out[channel].data() + first);
      inputs.append(in[channel].data() + handles + start);
    }
    TovPcm::resample(quality, outputs, inputs, rates.to, rates.from, frames, inFrames, phase);
  }

  const int quality;
  const int block;
  const int handles;
};

} // namespace

std::vector<ConverterSetting> tovConverters(int block)
{
  std::vector<ConverterSetting> settings;
  for (int quality = 0; quality < kQualities; ++quality)
    settings.push_back({"ours", TovPcm::getFilterQualityString(quality), true,
                        [quality, block](RatePair rates, int channels) {
                          return std::make_unique<TovConverter>(quality, block, rates, channels);
                        }});
  return settings;
}
