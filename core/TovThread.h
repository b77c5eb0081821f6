#pragma once

#include "core/TovExport.h"

/** A running thread of the host. */
class TOV_HOSTCORE_API TovThread {
public:
  /** Starts a thread that runs @p function(thread, @p argument).  The result
   *  is released by t_join(); null where no thread could be started. */
  static TovThread* t_create(void (*function)(TovThread*, void*), void* argument);

  /** Waits for the end of @p thread and releases it.  Null does nothing.
   *  Blocks; not on the thread itself. */
  static void t_join(TovThread* thread);

  TovThread(const TovThread&) = delete;
  TovThread& operator=(const TovThread&) = delete;

private:
  TovThread();
  ~TovThread();
  struct Handle;
  Handle* handle;
};
