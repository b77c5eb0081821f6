#include "bench/Timing.h"

#include <algorithm>
#include <ctime>

double processorSeconds()
{
  timespec time = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

double secondsPerPass(const std::function<void()>& work)
{
  constexpr double kEnough = 0.006;
  work();
  const double start = processorSeconds();
  double spent = 0.0;
  int passes = 0;
  do {
    work();
    ++passes;
    spent = processorSeconds() - start;
  } while (spent < kEnough);
  return spent / passes;
}

std::vector<double> medianSeconds(const std::vector<Contender>& contenders, int repetitions)
{
  std::vector<std::vector<double>> times(contenders.size());
  for (int i = 0; i < repetitions; ++i)
    for (std::size_t k = 0; k < contenders.size(); ++k)
      times[k].push_back(contenders[k].measure());
  std::vector<double> medians;
  for (const std::vector<double>& values : times)
    medians.push_back(medianOf(values));
  return medians;
}

double medianOf(std::vector<double> values)
{
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 ? values[middle] : 0.5 * (values[middle - 1] + values[middle]);
}
