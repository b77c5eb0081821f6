// usage-of-command PROGRAM ARGUMENT...
//
// Runs the program without input or output and prints "seconds KiB", its
// processor time and peak memory, behind what it had to say on its error
// output.  A process of its own, and a small one: the peak memory of a process
// begins with what its parent held when it forked.

#include <cstdio>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

static double secondsOf(const timeval& time)
{
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

int main(int, char** argv)
{
  const pid_t child = fork();
  if (child == 0) {
    const int nothing = open("/dev/null", O_RDWR);
    dup2(nothing, 0);
    dup2(1, 2);
    dup2(nothing, 1);
    execvp(argv[1], argv + 1);
    _exit(127);
  }
  int status = 0;
  rusage usage = {};
  if (child < 0 || wait4(child, &status, 0, &usage) < 0 || status != 0)
    return 1;
  std::printf("%.6f %ld\n", secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime), usage.ru_maxrss);
  return 0;
}
