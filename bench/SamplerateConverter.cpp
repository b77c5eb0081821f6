#include <stdexcept>
#include <utility>

#include <samplerate.h>

#include "bench/RateConverter.h"

namespace {

class SamplerateConverter : public RateConverter {
public:
  SamplerateConverter(int type, RatePair pair, int count) : RateConverter(interleaved, pair, count)
  {
    int error = 0;
    state = src_new(type, count, &error);
    if (!state)
      throw std::runtime_error(src_strerror(error));
  }
  ~SamplerateConverter() override { src_delete(state); }

  void convert() override
  {
    SRC_DATA data = {};
    data.data_in = in[0].data();
    data.data_out = out[0].data();
    data.input_frames = static_cast<long>(inFrames);
    data.output_frames = static_cast<long>(capacity);
    data.src_ratio = static_cast<double>(rates.to) / rates.from;
    if (const int error = src_process(state, &data))
      throw std::runtime_error(src_strerror(error));
    written = data.output_frames_gen;
  }

private:
  SRC_STATE* state;
};

} // namespace

std::vector<ConverterSetting> samplerateConverters()
{
  std::vector<ConverterSetting> settings;
  for (const auto& [name, type] : {std::pair{"best", SRC_SINC_BEST_QUALITY},
                                   {"medium", SRC_SINC_MEDIUM_QUALITY},
                                   {"fastest", SRC_SINC_FASTEST},
                                   {"linear", SRC_LINEAR}}) {
    const int number = type;
    settings.push_back({"libsamplerate", name,
                        number == SRC_SINC_BEST_QUALITY || number == SRC_SINC_MEDIUM_QUALITY,
                        [number](RatePair rates, int channels) {
                          return std::make_unique<SamplerateConverter>(number, rates, channels);
                        }});
  }
  return settings;
}
