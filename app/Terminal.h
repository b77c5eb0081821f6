#pragma once

#include <string>

#include "app/TerminalMode.h"

/** The user's terminal: keys, and one line that is rewritten on it.  Ctrl-C,
 *  Ctrl-Z and the rest stay signals.  One object at a time, on the main
 *  thread. */
class Terminal {
public:
  /** Whether standard input and standard error are a terminal that can rewrite
   *  a line. */
  static bool isThere();

  /** Columns of a line. */
  int width() const;

  /** What is typed within so many seconds; as soon as it is.  Throws
   *  Interrupted where the terminal has gone. */
  std::string read(double seconds);

  /** Rewrites the line, which must fit; nothing is written where it stands
   *  there already, or while the terminal takes nothing. */
  void showLine(const std::string& line);

  /** Writes a text of whole lines above the line. */
  void say(const std::string& text);

  bool isSuspensionAskedFor() const { return mode.isSuspensionAskedFor(); }
  void suspend() { mode.suspend(); }

private:
  TerminalMode mode;
  std::string shown; ///< the line as it stands there
  int shownWidth = 0;
};
