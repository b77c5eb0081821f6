#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>
#include <termios.h>

#include "tests/support/Program.h"

namespace support {

/** A program in the foreground of a terminal of its own, started by a small
 *  shell that does what a shell does when its job stops and goes on.
 *
 *      test  <---- master | slave ---->  shell (session leader)
 *                                          `-> job (the program)
 */
class Pty {
public:
  static constexpr int kColumns = 160;

  /** Standard input, output and error are the terminal, but where @p launch
   *  redirects them before exec. */
  explicit Pty(const Launch& launch);
  ~Pty(); ///< ends both
  Pty(const Pty&) = delete;
  Pty& operator=(const Pty&) = delete;

  ::pid_t job() const { return program; }
  void type(const std::string& keys) const;
  void send(int signal) const;
  void resize(int columns) const;

  /** The terminal's settings now. */
  ::termios settings() const;

  /** All that was written to the terminal. */
  const std::string& text();

  /** The status line as it stands. */
  std::string line();

  /** Waits until it holds; false where that takes too long. */
  bool waitUntil(const std::function<bool()>& holds);

  /** Waits until the status line holds a text. */
  bool waitForLine(const std::string& part);

  /** Waits until the shell says that the job has stopped, or ended. */
  bool waitForStop();
  Outcome waitForEnd();

  /** What "fg" does. */
  void goOn();

private:
  [[noreturn]] void beShell(const Launch& launch, int slave, int report, int order) const noexcept;
  void readReports();

  int master = -1;
  int reports = -1; ///< from the shell: struct Report
  int orders = -1;  ///< to the shell: a byte to go on
  ::pid_t shell = -1;
  ::pid_t program = -1;
  bool isStopped = false;
  bool isEnded = false;
  int status = 0;
  std::string output;
};

/** Whether both settings are the same. */
bool isSame(const ::termios& a, const ::termios& b);

} // namespace support
