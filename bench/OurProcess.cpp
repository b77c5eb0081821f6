#include "bench/OurProcess.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/Timing.h"
#include "bench/Works.h"

OurProcess::OurProcess(const std::string& set) : kernels(set)
{
  int there[2];
  int back[2];
  if (pipe2(there, O_CLOEXEC) != 0 || pipe2(back, O_CLOEXEC) != 0)
    throw std::runtime_error("no pipe");
  process = fork();
  if (process == 0) {
    dup2(there[0], 0);
    dup2(back[1], 1);
    setenv("TOV_KERNELS", set.c_str(), 1);
    execl("/proc/self/exe", "tov_bench", "--serve", nullptr);
    _exit(127);
  }
  close(there[0]);
  close(back[1]);
  requests = there[1];
  answers = back[0];
}

OurProcess::~OurProcess()
{
  close(requests);
  close(answers);
  waitpid(process, nullptr, 0);
}

double OurProcess::measure(const std::string& work)
{
  const std::string line = work + "\n";
  char answer[64] = {};
  if (write(requests, line.data(), line.size()) != static_cast<ssize_t>(line.size()) ||
      read(answers, answer, sizeof answer - 1) <= 0)
    throw std::runtime_error("the process that measures our side ended: " + work);
  return std::strtod(answer, nullptr);
}

std::vector<std::string> kernelsHere()
{
  std::vector<std::string> sets;
#if defined(__x86_64__) && defined(__GNUC__)
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
    sets.push_back("avx512");
  if (__builtin_cpu_supports("avx2"))
    sets.push_back("avx2");
#endif
  sets.push_back("plain");
  const char* const wanted = std::getenv("TOV_KERNELS");
  if (!wanted)
    return sets;
  if (std::find(sets.begin(), sets.end(), wanted) == sets.end())
    throw std::runtime_error(std::string("this processor has no kernels called ") + wanted);
  if (sets.back() == wanted)
    return {wanted};
  return {wanted, "plain"};
}

int serveMeasures()
{
  std::map<std::string, std::function<void()>> prepared;
  std::string line;
  while (std::getline(std::cin, line)) {
    auto found = prepared.find(line);
    if (found == prepared.end()) {
      std::istringstream words(line);
      found = prepared.emplace(line, makeWork(words)).first;
    }
    std::printf("%.9g\n", secondsPerPass(found->second));
    std::fflush(stdout);
  }
  return 0;
}
