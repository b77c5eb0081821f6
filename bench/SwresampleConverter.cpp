#include <stdexcept>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include "bench/RateConverter.h"

namespace {

class SwresampleConverter : public RateConverter {
public:
  SwresampleConverter(int filterSize, RatePair pair, int count) : RateConverter(planar, pair, count)
  {
    AVChannelLayout speakers = {};
    av_channel_layout_default(&speakers, count);
    swr_alloc_set_opts2(&context, &speakers, AV_SAMPLE_FMT_FLTP, pair.to, &speakers,
                        AV_SAMPLE_FMT_FLTP, pair.from, 0, nullptr);
    if (filterSize > 0)
      av_opt_set_int(context, "filter_size", filterSize, 0);
    if (swr_init(context) < 0)
      throw std::runtime_error("libswresample refuses its settings");
  }
  ~SwresampleConverter() override { swr_free(&context); }

  void convert() override
  {
    std::vector<std::uint8_t*> outputs;
    std::vector<const std::uint8_t*> inputs;
    for (int i = 0; i < channels; ++i) {
      const std::size_t channel = static_cast<std::size_t>(i);
      outputs.push_back(reinterpret_cast<std::uint8_t*>(out[channel].data()));
      inputs.push_back(reinterpret_cast<const std::uint8_t*>(in[channel].data()));
    }
    const int frames = swr_convert(context, outputs.data(), static_cast<int>(capacity),
                                   inputs.data(), static_cast<int>(inFrames));
    if (frames < 0)
      throw std::runtime_error("libswresample failed");
    written = frames;
  }

private:
  SwrContext* context = nullptr;
};

} // namespace

std::vector<ConverterSetting> swresampleConverters()
{
  std::vector<ConverterSetting> settings;
  for (const int size : {0, 8, 16, 64, 128})
    settings.push_back({"libswresample",
                        size > 0 ? "filter_size " + std::to_string(size) : "default", size == 0,
                        [size](RatePair rates, int channels) {
                          return std::make_unique<SwresampleConverter>(size, rates, channels);
                        }});
  return settings;
}
