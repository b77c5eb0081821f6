#include <stdexcept>

#include <zita-resampler/resampler.h>

#include "bench/RateConverter.h"

namespace {

class ZitaConverter : public RateConverter {
public:
  ZitaConverter(unsigned halfLength, RatePair pair, int count)
      : RateConverter(interleaved, pair, count)
  {
    if (resampler.setup(static_cast<unsigned>(pair.from), static_cast<unsigned>(pair.to),
                        static_cast<unsigned>(count), halfLength) != 0)
      throw std::runtime_error("zita-resampler refuses its settings");
  }

  void convert() override
  {
    resampler.inp_count = static_cast<unsigned>(inFrames);
    resampler.inp_data = in[0].data();
    resampler.out_count = static_cast<unsigned>(capacity);
    resampler.out_data = out[0].data();
    if (resampler.process() != 0)
      throw std::runtime_error("zita-resampler failed");
    written = capacity - resampler.out_count;
  }

private:
  Resampler resampler;
};

} // namespace

std::vector<ConverterSetting> zitaConverters()
{
  std::vector<ConverterSetting> settings;
  for (const unsigned halfLength : {16u, 24u, 32u, 48u, 64u, 96u})
    settings.push_back({"zita-resampler", std::to_string(halfLength), halfLength == 48,
                        [halfLength](RatePair rates, int channels) {
                          return std::make_unique<ZitaConverter>(halfLength, rates, channels);
                        }});
  return settings;
}
