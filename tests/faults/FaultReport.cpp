#include "tests/faults/FaultReport.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <utility>

#include <gtest/gtest.h>

namespace support {

namespace {

struct Points {
  long exercised = 0;
  long all = 0;
};

using PointsOfKinds = std::map<std::string, Points>;

std::map<std::string, PointsOfKinds>& scenarios()
{
  static std::map<std::string, PointsOfKinds> points;
  return points;
}

std::string json(const Points& points)
{
  return "\"exercised\": " + std::to_string(points.exercised) +
         ", \"all\": " + std::to_string(points.all);
}

std::string json(const PointsOfKinds& kinds)
{
  std::string text;
  for (const auto& [kind, points] : kinds)
    text += (text.empty() ? "" : ", ") + ("\"" + kind + "\": {") + json(points) + "}";
  return "{" + text + "}";
}

} // namespace

void FaultReport::add(const std::string& scenario, const std::string& kind, long exercised,
                      long all)
{
  scenarios()[scenario][kind] = {exercised, all};
}

bool FaultReport::tell()
{
  Points sum;
  std::string perScenario;
  for (const auto& [name, kinds] : scenarios()) {
    for (const auto& [kind, points] : kinds) {
      sum.exercised += points.exercised;
      sum.all += points.all;
    }
    perScenario += (perScenario.empty() ? "\n    \"" : ",\n    \"") + name + "\": " + json(kinds);
  }
  std::printf("fault points exercised: %ld of %ld\n", sum.exercised, sum.all);
  const char* const file = std::getenv("TOV_FAULT_REPORT");
  if (!file || !*file)
    return true;
  std::ofstream stream(file);
  stream << "{" << json(sum) << ", \"perScenario\": {" << perScenario << "\n  }\n}\n";
  return static_cast<bool>(stream.flush());
}

} // namespace support

int main(int argc, char** argv)
{
  testing::InitGoogleTest(&argc, argv);
  const int status = RUN_ALL_TESTS();
  return support::FaultReport::tell() ? status : 1;
}
