#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include <cairo.h>

#include "tests/app/Tov.h"

namespace support {

/** A picture as it was written. */
class Picture {
public:
  explicit Picture(const std::string& path) : surface(cairo_image_surface_create_from_png(path.c_str()))
  {
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS)
      throw std::runtime_error(path + ": no PNG");
  }
  ~Picture() { cairo_surface_destroy(surface); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  int width() const { return cairo_image_surface_get_width(surface); }
  int height() const { return cairo_image_surface_get_height(surface); }

  /** Red, green and blue, from 0 to 255. */
  std::array<int, 3> at(int x, int y) const
  {
    const unsigned char* const row =
        cairo_image_surface_get_data(surface) + y * cairo_image_surface_get_stride(surface);
    return {row[4 * x + 2], row[4 * x + 1], row[4 * x]};
  }

  /** How far a pixel is from grey. */
  int colourfulness(int x, int y) const
  {
    const std::array<int, 3> c = at(x, y);
    return std::max({c[0], c[1], c[2]}) - std::min({c[0], c[1], c[2]});
  }

  int brightness(int x, int y) const
  {
    const std::array<int, 3> c = at(x, y);
    return c[0] + c[1] + c[2];
  }

private:
  cairo_surface_t* surface;
};

class PlotTest : public TovTest {
protected:
  /** A sine at this level, the same in every channel. */
  static IntegerSound sine(double frequency, double level, double seconds, int channels = 1,
                           int rate = 48000)
  {
    IntegerSound sound{rate, 16, {}};
    std::vector<std::int32_t> samples;
    for (int i = 0; i < static_cast<int>(seconds * rate); ++i)
      samples.push_back(static_cast<std::int32_t>(
          std::lround(level * 32767.0 * std::sin(6.283185307179586 * frequency * i / rate))));
    sound.channels.assign(static_cast<std::size_t>(channels), samples);
    return sound;
  }

  /** Draws and reads "out.png". */
  Picture drawn(std::vector<std::string> arguments) const
  {
    arguments.insert(arguments.begin(), "plot");
    arguments.insert(arguments.end(), {"-o", "out.png"});
    succeed(arguments);
    return Picture(folder.path("out.png"));
  }
};

} // namespace support
