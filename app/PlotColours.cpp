#include "app/PlotColours.h"

#include <algorithm>
#include <array>
#include <cmath>

/** Oklab: lightness and two opponent colours, in which equal distances look
 *  about equally large. */
struct Lab {
  double lightness;
  double greenRed;
  double blueYellow;
};

static double linearOf(double part)
{
  return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
}

static double screenOf(double linear)
{
  const double part =
      linear <= 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
  return std::clamp(part, 0.0, 1.0);
}

static Lab labOf(std::uint32_t screen)
{
  const double r = linearOf((screen >> 16 & 255) / 255.0);
  const double g = linearOf((screen >> 8 & 255) / 255.0);
  const double b = linearOf((screen & 255) / 255.0);
  const double l = std::cbrt(0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b);
  const double m = std::cbrt(0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b);
  const double s = std::cbrt(0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b);
  return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
          1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
          0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

static Colour colourOf(const Lab& lab)
{
  const double l =
      std::pow(lab.lightness + 0.3963377774 * lab.greenRed + 0.2158037573 * lab.blueYellow, 3.0);
  const double m =
      std::pow(lab.lightness - 0.1055613458 * lab.greenRed - 0.0638541728 * lab.blueYellow, 3.0);
  const double s =
      std::pow(lab.lightness - 0.0894841775 * lab.greenRed - 1.2914855480 * lab.blueYellow, 3.0);
  return {screenOf(4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s),
          screenOf(-1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s),
          screenOf(-0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s)};
}

static Colour colourOf(std::uint32_t screen, double opacity = 1.0)
{
  return {(screen >> 16 & 255) / 255.0, (screen >> 8 & 255) / 255.0, (screen & 255) / 255.0,
          opacity};
}

static Colour ofHue(double lightness, double chroma, double degrees)
{
  const double angle = degrees * 3.141592653589793 / 180.0;
  return colourOf(Lab{lightness, chroma * std::cos(angle), chroma * std::sin(angle)});
}

/** All hues at the same lightness, so that no track stands out. */
static WaveColours waveOfHue(double degrees, bool isDark)
{
  return isDark ? WaveColours{ofHue(0.50, 0.085, degrees), ofHue(0.76, 0.115, degrees),
                              ofHue(0.27, 0.022, degrees)}
                : WaveColours{ofHue(0.80, 0.075, degrees), ofHue(0.58, 0.130, degrees),
                              ofHue(0.965, 0.014, degrees)};
}

static PlotTheme lightTheme()
{
  return {.paper = colourOf(0xFFFFFF),
          .panel = colourOf(0xF7F8FA),
          .ink = colourOf(0x1B2330),
          .faintInk = colourOf(0x667085),
          .grid = colourOf(0xE3E7ED),
          .zeroLine = colourOf(0xC6CDD8),
          .alarm = colourOf(0xD92D20),
          .solo = colourOf(0xC77700),
          .badgeInk = colourOf(0xFFFFFF),
          .sound = waveOfHue(255.0, false),
          .unheard = {colourOf(0xD5D8DC), colourOf(0xAEB3BA), colourOf(0xF3F4F5)}};
}

static PlotTheme darkTheme()
{
  return {.paper = colourOf(0x12151B),
          .panel = colourOf(0x191D25),
          .ink = colourOf(0xE8EBF0),
          .faintInk = colourOf(0x97A1B2),
          .grid = colourOf(0x2A303B),
          .zeroLine = colourOf(0x3F4857),
          .alarm = colourOf(0xFF6B5E),
          .solo = colourOf(0xF0A93B),
          .badgeInk = colourOf(0x12151B),
          .sound = waveOfHue(255.0, true),
          .unheard = {colourOf(0x3A3E45), colourOf(0x5C626B), colourOf(0x1D2026)}};
}

const PlotTheme& plotTheme(bool isDark)
{
  static const PlotTheme light = lightTheme();
  static const PlotTheme dark = darkTheme();
  return isDark ? dark : light;
}

WaveColours coloursOfTrack(int track, bool isDark)
{
  constexpr double kHues[] = {170.0, 305.0, 65.0, 230.0, 25.0, 135.0, 345.0, 275.0};
  return waveOfHue(kHues[track % 8], isDark);
}

static Lab between(const Lab& a, const Lab& b, double part)
{
  return {std::lerp(a.lightness, b.lightness, part), std::lerp(a.greenRed, b.greenRed, part),
          std::lerp(a.blueYellow, b.blueYellow, part)};
}

static Colour computedColourOfLevel(double level)
{
  static const std::array<Lab, 9> kHues = {labOf(0x04030A), labOf(0x1C1044), labOf(0x4F127B),
                                           labOf(0x812581), labOf(0xB5367A), labOf(0xE55064),
                                           labOf(0xFB8761), labOf(0xFEC287), labOf(0xFCFDBF)};
  const double place = std::clamp(level, 0.0, 1.0) * (kHues.size() - 1);
  const std::size_t below = std::min(static_cast<std::size_t>(place), kHues.size() - 2);
  Lab lab = between(kHues[below], kHues[below + 1], place - static_cast<double>(below));
  // Only the hues are taken from there.
  lab.lightness = std::lerp(kHues.front().lightness, kHues.back().lightness, level);
  return colourOf(lab);
}

static std::uint32_t byteOf(double part)
{
  return static_cast<std::uint32_t>(std::lround(part * 255.0));
}

std::uint32_t colourOfLevel(double level)
{
  constexpr std::size_t kSteps = 512;
  static const std::array<std::uint32_t, kSteps> table = [] {
    std::array<std::uint32_t, kSteps> colours = {};
    for (std::size_t i = 0; i < kSteps; ++i) {
      const Colour c = computedColourOfLevel(static_cast<double>(i) / (kSteps - 1));
      colours[i] = 0xFF000000u | byteOf(c.red) << 16 | byteOf(c.green) << 8 | byteOf(c.blue);
    }
    return colours;
  }();
  const double place = std::clamp(level, 0.0, 1.0) * (kSteps - 1);
  return table[static_cast<std::size_t>(std::lround(place))];
}
