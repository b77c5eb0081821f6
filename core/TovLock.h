#pragma once

#include "core/TovExport.h"

/** A lock in one `unsigned int` word that its owner sets to 0, which means
 *  free; any other value means held.
 *
 *  Any thread.  Not recursive: whoever holds the word and acquires it again
 *  waits for ever.
 */
class TOV_HOSTCORE_API TovLock {
public:
  /** Blocks until the caller holds the word. */
  static void acquire(unsigned int& word);

  /** Takes the word if it is free: non-zero when taken, else 0.  Never blocks. */
  static int attempt(unsigned int& word);

  /** Frees the word; the caller holds it. */
  static void release(unsigned int& word);

  /** Like acquire(), but tries again every @p pauseSeconds and sleeps in
   *  between: for long waits that should cost the holder nothing. */
  static void acquireNice(unsigned int& word, double pauseSeconds);
};
