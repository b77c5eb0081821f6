#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/** The library in a process of its own, with one set of kernels: the library
 *  chooses among them once, when it is first used, so that sets can only be
 *  compared between processes.
 *
 *  A piece of work has a name and is measured there on demand.
 */
class OurProcess {
public:
  explicit OurProcess(const std::string& kernels);
  ~OurProcess();
  OurProcess(const OurProcess&) = delete;
  OurProcess& operator=(const OurProcess&) = delete;

  /** Seconds of processor time that one pass of the work takes. */
  double measure(const std::string& work);

  const std::string kernels;

private:
  int requests; ///< written to
  int answers;  ///< read from
  pid_t process;
};

/** The sets that this processor has, the fastest first; the last is "plain".
 *  Where TOV_KERNELS is set, that one and "plain". */
std::vector<std::string> kernelsHere();

/** What runs in that process: answers until it is asked no more. */
int serveMeasures();
