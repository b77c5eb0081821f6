#include "tests/faults/PickedPoints.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <random>

#include "tests/support/FileFormats.h"

namespace support {

static constexpr std::size_t kFewest = 10;

/** One point of so many is tried. */
static std::size_t pointsPerPick()
{
  const char* const text = std::getenv("TOV_FAULT_SHARE");
  const int given = text ? std::atoi(text) : 0;
  return given > 0 ? static_cast<std::size_t>(given) : 10;
}

/** FNV-1a. */
static std::uint32_t hashOf(const std::string& text)
{
  std::uint32_t hash = 2166136261u;
  for (const char c : text)
    hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
  return hash;
}

std::vector<long> pickedPoints(long all, const std::string& name, bool isLong)
{
  std::vector<long> points(static_cast<std::size_t>(all));
  std::iota(points.begin(), points.end(), 1L);
  if (!isLong || std::getenv("TOV_TEST_LONG"))
    return points;
  const char* const pick = std::getenv("TOV_TEST_PICK");
  std::mt19937 random(hashOf((pick ? pick : "") + ("/" + name)));
  for (std::size_t i = points.size(); i > 1; --i)
    std::swap(points[i - 1], points[static_cast<std::size_t>(below(random, static_cast<long>(i)))]);
  const std::size_t share = pointsPerPick();
  points.resize(std::min(points.size(), std::max(kFewest, (points.size() + share - 1) / share)));
  std::sort(points.begin(), points.end());
  return points;
}

} // namespace support
