// The command-line program with the seam for faults in it.
//   TOV_FAULT       "Read 3": the third call of the kind fails; 0: none;
//                   "Read 3 lasting": every later one as well
//   TOV_FAULT_TOLD  the file that gets "12 1": how many calls of the kind there
//                   were, and whether the fault came
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "tests/faults/FaultSeam.h"

/** The program's own main(), which is given another name here. */
int tovMain(int argc, char** argv);

namespace {

support::FaultKind kindOf(const char* name)
{
  using enum support::FaultKind;
  for (const support::FaultKind kind : {Read, Write, Seek, Open, Close, Allocation, ThreadStart}) {
    if (std::strcmp(name, support::nameOf(kind)) == 0)
      return kind;
  }
  std::abort();
}

} // namespace

int main(int argc, char** argv)
{
  const char* const wanted = std::getenv("TOV_FAULT");
  const char* const told = std::getenv("TOV_FAULT_TOLD");
  char kind[16] = {};
  long number = 0;
  if (!wanted || !told || std::sscanf(wanted, "%15s %ld", kind, &number) != 2)
    return 126;
  const bool isLasting = std::strstr(wanted, " lasting") != nullptr;
  support::Fault fault(kindOf(kind), number, support::FaultReach::AllThreads,
                       isLasting ? support::FaultLength::Lasting : support::FaultLength::Once);
  fault.arm();
  const int status = tovMain(argc, argv);
  fault.disarm();
  std::FILE* const file = std::fopen(told, "w");
  if (!file || std::fprintf(file, "%ld %d", fault.calls(), fault.happened() ? 1 : 0) < 0 ||
      std::fclose(file) != 0)
    return 126;
  return status;
}
