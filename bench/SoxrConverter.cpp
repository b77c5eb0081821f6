#include <stdexcept>
#include <utility>

#include <soxr.h>

#include "bench/RateConverter.h"

namespace {

class SoxrConverter : public RateConverter {
public:
  SoxrConverter(unsigned long recipe, RatePair pair, int count) : RateConverter(planar, pair, count)
  {
    soxr_error_t error = nullptr;
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_S, SOXR_FLOAT32_S);
    const soxr_quality_spec_t quality = soxr_quality_spec(recipe, 0);
    stream = soxr_create(pair.from, pair.to, static_cast<unsigned>(count), &error, &io, &quality,
                         nullptr);
    if (error)
      throw std::runtime_error(error);
  }
  ~SoxrConverter() override { soxr_delete(stream); }

  void convert() override
  {
    std::vector<const float*> inputs;
    std::vector<float*> outputs;
    for (int i = 0; i < channels; ++i) {
      inputs.push_back(in[static_cast<std::size_t>(i)].data());
      outputs.push_back(out[static_cast<std::size_t>(i)].data());
    }
    std::size_t frames = 0;
    const soxr_error_t error =
        soxr_process(stream, inputs.data(), static_cast<std::size_t>(inFrames), nullptr,
                     outputs.data(), static_cast<std::size_t>(capacity), &frames);
    if (error)
      throw std::runtime_error(error);
    written = static_cast<long long>(frames);
  }

private:
  soxr_t stream = nullptr;
};

} // namespace

std::vector<ConverterSetting> soxrConverters()
{
  std::vector<ConverterSetting> settings;
  for (const auto& [name, recipe] : {std::pair{"QQ", SOXR_QQ},
                                     {"LQ", SOXR_LQ},
                                     {"MQ", SOXR_MQ},
                                     {"HQ", SOXR_HQ},
                                     {"VHQ", SOXR_VHQ}}) {
    const unsigned long number = static_cast<unsigned long>(recipe);
    settings.push_back({"soxr", name, number == SOXR_HQ, [number](RatePair rates, int channels) {
                          return std::make_unique<SoxrConverter>(number, rates, channels);
                        }});
  }
  return settings;
}
