#include "app/TerminalMode.h"

#include <array>
#include <atomic>
#include <csignal>

#include <termios.h>
#include <unistd.h>

#include "app/Failures.h"

// Hides the cursor and has pasted text marked as such; and the reverse, with
// the line taken away.
static const char kEnter[] = "\033[?25l\033[?2004h";
static const char kLeave[] = "\r\033[K\033[?2004l\033[?25h";

static constexpr std::array kEndings = {SIGSEGV, SIGBUS,  SIGFPE,  SIGILL,  SIGABRT, SIGQUIT,
                                        SIGSYS,  SIGTRAP, SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2};

// What the handlers know.  Written by the main thread, before they are there
// or in single words.  A handler may run on another thread: the main one takes
// no signal while it starts a thread.
static termios original;
static std::atomic<bool> isEntered{false};
static_assert(std::atomic<bool>::is_always_lock_free, "handlers may not wait");
static volatile std::sig_atomic_t isSuspensionWanted = 0;
static std::array<struct sigaction, kEndings.size()> endingsBefore;
static struct sigaction suspensionBefore;
static struct sigaction continuationBefore;

// --- Signals --------------------------------------------------------------

static bool isInForeground()
{
  return tcgetpgrp(TerminalMode::kKeys) == getpgrp();
}

/** Calls only what a signal handler may. */
static void restore()
{
  if (!isEntered || !isInForeground()) {
    return;
  }
  tcsetattr(TerminalMode::kKeys, TCSANOW, &original);
  [[maybe_unused]] const ssize_t written = write(TerminalMode::kScreen, kLeave, sizeof kLeave - 1);
}

extern "C" {
/** Whatever the signal did before, it does once the terminal is restored.  It
 *  counts as entered all the same, so that the main thread, which may go on for
 *  a moment, does not enter it again. */
static void restoreAndEnd(int signalNumber)
{
  restore();
  for (std::size_t i = 0; i < kEndings.size(); ++i) {
    if (kEndings[i] == signalNumber) {
      sigaction(signalNumber, &endingsBefore[i], nullptr);
    }
  }
  (void)raise(signalNumber);
}

static void rememberSuspension(int)
{
  isSuspensionWanted = 1;
}

/** Whoever stopped the program may have changed the terminal. */
static void forgetTerminal(int)
{
  isEntered = false;
}
}

/** What is ignored stays so: whoever started the program wants it. */
static void handle(int signalNumber, void (*handler)(int), int flags, struct sigaction& before)
{
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  sigaction(signalNumber, nullptr, &before);
  if (before.sa_handler != SIG_IGN) {
    sigaction(signalNumber, &action, nullptr);
  }
}

/** A stack of their own, since a stack that overflowed has no room for them. */
static void giveHandlersAStack()
{
  static std::array<char, 65536> memory;
  stack_t stack = {};
  stack.ss_sp = memory.data();
  stack.ss_size = memory.size();
  stack_t before = {};
  if (sigaltstack(nullptr, &before) == 0 && (before.ss_flags & SS_DISABLE) != 0) {
    sigaltstack(&stack, nullptr);
  }
}

static void handleSignals()
{
  giveHandlersAStack();
  for (std::size_t i = 0; i < kEndings.size(); ++i) {
    handle(kEndings[i], restoreAndEnd, SA_ONSTACK | SA_NODEFER, endingsBefore[i]);
  }
  handle(SIGTSTP, rememberSuspension, SA_RESTART, suspensionBefore);
  handle(SIGCONT, forgetTerminal, SA_RESTART, continuationBefore);
}

static void leaveSignals()
{
  for (std::size_t i = 0; i < kEndings.size(); ++i) {
    sigaction(kEndings[i], &endingsBefore[i], nullptr);
  }
  sigaction(SIGTSTP, &suspensionBefore, nullptr);
  sigaction(SIGCONT, &continuationBefore, nullptr);
}

// --- Life -----------------------------------------------------------------

TerminalMode::TerminalMode()
{
  if (tcgetattr(kKeys, &original) != 0) {
    throw Failure("terminal", "its settings cannot be read");
  }
  handleSignals();
}

TerminalMode::~TerminalMode()
{
  leave();
  leaveSignals();
}

bool TerminalMode::isOurs()
{
  if (!isInForeground()) {
    return false;
  }
  if (!isEntered) {
    enter();
  }
  return true;
}

bool TerminalMode::takeEntry()
{
  const bool was = isNew;
  isNew = false;
  return was;
}

void TerminalMode::enter()
{
  termios single = original;
  single.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | IEXTEN);
  single.c_cc[VMIN] = 1;
  single.c_cc[VTIME] = 0;
  // Before the change, so that no signal finds it made and not told.
  isEntered = true;
  isNew = true;
  tcsetattr(kKeys, TCSANOW, &single);
  [[maybe_unused]] const ssize_t written = write(kScreen, kEnter, sizeof kEnter - 1);
}

/** Keys that nobody has read are not for the shell. */
void TerminalMode::leave()
{
  restore();
  const bool wasEntered = isEntered.exchange(false);
  if (wasEntered && isInForeground()) {
    tcflush(kKeys, TCIFLUSH);
  }
}

bool TerminalMode::isSuspensionAskedFor() const
{
  return isSuspensionWanted != 0;
}

void TerminalMode::suspend()
{
  isSuspensionWanted = 0;
  leave();
  sigaction(SIGTSTP, &suspensionBefore, nullptr);
  (void)raise(SIGTSTP);
  handle(SIGTSTP, rememberSuspension, SA_RESTART, suspensionBefore);
}
