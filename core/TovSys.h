#pragma once

#include "core/TovExport.h"

/** Messages, sleeping and case-insensitive comparison.  Any thread. */
class TOV_HOSTCORE_API TovSys {
public:
  typedef void (*MessageHandler)(char severity, const char* text, void* data);

  /** Sends a printf-style message to the host's message output, in one
   *  piece.  A leading "%E" (error) or "%W" (warning) is the severity and is
   *  not printed.  The program goes on. */
  static void error(const char* format, ...);

  /** Where messages go: @p handler(severity, text, data) with severity 'E',
   *  'W' or 0 and the text without its severity, line feed kept.  Null goes
   *  back to standard error.  The handler runs on the thread that sends the
   *  message, and may still be running for another thread's message when
   *  this returns. */
  static void setMessageHandler(MessageHandler handler, void* data);

  /** Suspends the calling thread; 0 or less and NaN return at once. */
  static void sleep(double seconds);

  /** 0 when the two texts are equal but for the case of A to Z. */
  static int strcasecmp(const char* a, const char* b);
};
