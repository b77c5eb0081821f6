#pragma once

/** The terminal's settings, while the program takes single keys from it.
 *
 *  They are as before when the object is gone, while the program is suspended,
 *  and after a signal that ends the program, a crash included.  Those that
 *  interrupt are Interruption's.  In the background the terminal is left
 *  alone, since it is somebody else's.
 *
 *  One object at a time, on the main thread.
 */
class TerminalMode {
public:
  static constexpr int kKeys = 0;   ///< descriptor that is read, standard input
  static constexpr int kScreen = 2; ///< descriptor that is written, standard error

  TerminalMode(); ///< throws Failure
  ~TerminalMode();
  TerminalMode(const TerminalMode&) = delete;
  TerminalMode& operator=(const TerminalMode&) = delete;

  /** Whether the program is in the foreground; then the terminal gives single
   *  keys, from now on where it did not. */
  bool isOurs();

  /** Since this was asked, the terminal has been made to give single keys. */
  bool takeEntry();

  /** Whether the user wants the program to be suspended. */
  bool isSuspensionAskedFor() const;

  /** Suspends the program; returns when it goes on. */
  void suspend();

private:
  void enter();
  static void leave();

  bool isNew = false;
};
