#include "app/PlotData.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <string>

static std::string openingOf(const PlotDataFormat& format, long long pixels)
{
  char text[200];
  (void)std::snprintf(text, sizeof text,
                      "{\"version\":2,\"channels\":%d,\"sample_rate\":%d,\"samples_per_pixel\":%d,"
                      "\"bits\":%d,\"length\":%lld,\"data\":[",
                      format.channels, format.rate, format.framesPerPixel, format.bits, pixels);
  return text;
}

PlotData::PlotData(const PlotDataFormat& dataFormat, FrameSpan span, PlotOutput& target)
    : format(dataFormat), output(target),
      pixel(static_cast<std::size_t>(format.channels), nothing())
{
  const long long pixels = (span.length() + format.framesPerPixel - 1) / format.framesPerPixel;
  output.write(openingOf(format, pixels));
}

PlotData::Extremes PlotData::nothing()
{
  constexpr float kFar = std::numeric_limits<float>::infinity();
  return {kFar, -kFar};
}

void PlotData::take(const TovNLPArray<float>& samples, int frames)
{
  for (int done = 0; done < frames;) {
    const int count = std::min(frames - done, format.framesPerPixel - framesInPixel);
    for (std::size_t c = 0; c < pixel.size(); ++c) {
      const float* const channel = samples[static_cast<int>(c)] + done;
      Extremes& extremes = pixel[c];
      for (int i = 0; i < count; ++i) {
        extremes.lowest = channel[i] < extremes.lowest ? channel[i] : extremes.lowest;
        extremes.highest = channel[i] > extremes.highest ? channel[i] : extremes.highest;
      }
    }
    done += count;
    framesInPixel += count;
    if (framesInPixel == format.framesPerPixel) {
      writePixel();
    }
  }
}

/** A pixel without any number is silent. */
int PlotData::codeOf(float sample) const
{
  const float fullScale = format.bits == 8 ? 128.0f : 32768.0f;
  return static_cast<int>(std::clamp(sample * fullScale, -fullScale, fullScale - 1.0f));
}

void PlotData::writePixel()
{
  std::string text;
  for (Extremes& extremes : pixel) {
    if (extremes.lowest > extremes.highest) {
      extremes = {0.0f, 0.0f};
    }
    if (!isFirst) {
      text += ',';
    }
    text += std::to_string(codeOf(extremes.lowest));
    text += ',';
    text += std::to_string(codeOf(extremes.highest));
    isFirst = false;
    extremes = nothing();
  }
  output.write(text);
  framesInPixel = 0;
}

void PlotData::finish()
{
  if (framesInPixel > 0) {
    writePixel();
  }
  output.write("]}\n");
}
