#include <stdexcept>

#include <speex/speex_resampler.h>

#include "bench/RateConverter.h"

namespace {

class SpeexConverter : public RateConverter {
public:
  SpeexConverter(int quality, RatePair pair, int count) : RateConverter(interleaved, pair, count)
  {
    int error = 0;
    state =
        speex_resampler_init(static_cast<spx_uint32_t>(count), static_cast<spx_uint32_t>(pair.from),
                             static_cast<spx_uint32_t>(pair.to), quality, &error);
    if (!state)
      throw std::runtime_error(speex_resampler_strerror(error));
  }
  ~SpeexConverter() override { speex_resampler_destroy(state); }

  void convert() override
  {
    spx_uint32_t taken = static_cast<spx_uint32_t>(inFrames);
    spx_uint32_t given = static_cast<spx_uint32_t>(capacity);
    if (const int error = speex_resampler_process_interleaved_float(state, in[0].data(), &taken,
                                                                    out[0].data(), &given))
      throw std::runtime_error(speex_resampler_strerror(error));
    written = given;
  }

private:
  SpeexResamplerState* state;
};

} // namespace

std::vector<ConverterSetting> speexConverters()
{
  std::vector<ConverterSetting> settings;
  for (const int quality : {2, 3, 4, 5, 7, 8, 10})
    settings.push_back({"speexdsp", std::to_string(quality),
                        quality == SPEEX_RESAMPLER_QUALITY_DEFAULT || quality == 10,
                        [quality](RatePair rates, int channels) {
                          return std::make_unique<SpeexConverter>(quality, rates, channels);
                        }});
  return settings;
}
