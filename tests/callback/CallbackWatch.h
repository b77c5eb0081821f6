#pragma once

#include <string>

/** Watches what runs on an output callback's thread.  The program's own
 *  definitions of the allocation functions, of the locks of the threads library
 *  and of TovLock stand in for the usual ones and count what is called inside
 *  a watched piece of code; a filter in the kernel, set on that thread alone,
 *  does so for system calls. */
namespace watch {

/** What was called inside watched code, by any thread, since the last reset. */
struct Calls {
  long watchedPieces; ///< how often watched code was run
  long allocations;   ///< and releases
  long locks;         ///< taken, tried or waited for
  long clockReads;
  long systemCalls;
  long lastSystemCall; ///< its number, -1: none
};

Calls calls();
void reset();

/** All of it in one line, for messages. */
std::string text(const Calls& calls);

/** Puts the filter on the calling thread, for good; once for each thread.
 *  Throws where the system does not let it. */
void filterSystemCallsOfThisThread();

/** Watches the calling thread while it lives. */
class Piece {
public:
  Piece();
  ~Piece();
  Piece(const Piece&) = delete;
  Piece& operator=(const Piece&) = delete;
};

} // namespace watch
