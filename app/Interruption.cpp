#include "app/Interruption.h"

#include <csignal>

#include "app/Failures.h"

static volatile std::sig_atomic_t isInterrupted = 0;

extern "C" {
static void rememberSignal(int)
{
  isInterrupted = 1;
}
}

static void handle(int signalNumber, void (*handler)(int))
{
  struct sigaction action = {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  // Reads and writes that a signal meets go on; the next block sees the flag.
  action.sa_flags = SA_RESTART;
  sigaction(signalNumber, &action, nullptr);
}

/** Under nohup a hang-up is ignored on purpose; that stays so. */
static bool isIgnored(int signalNumber)
{
  struct sigaction action = {};
  return sigaction(signalNumber, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void rememberInterruptions()
{
  handle(SIGINT, rememberSignal);
  handle(SIGTERM, rememberSignal);
  if (!isIgnored(SIGHUP)) {
    handle(SIGHUP, rememberSignal);
  }
  handle(SIGPIPE, SIG_IGN);
  handle(SIGXFSZ, SIG_IGN);
}

void throwIfInterrupted()
{
  if (isInterrupted != 0) {
    throw Interrupted();
  }
}
