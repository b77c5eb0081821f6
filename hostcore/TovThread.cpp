#include "core/TovThread.h"

#include <system_error>
#include <thread>

struct TovThread::Handle {
  std::thread thread;
};

TovThread::TovThread() : handle(new Handle) {}

TovThread::~TovThread()
{
  delete handle;
}

TovThread* TovThread::t_create(void (*function)(TovThread*, void*), void* argument)
{
  TovThread* const self = new TovThread;
  try {
    self->handle->thread = std::thread(function, self, argument);
  } catch (const std::system_error&) {
    delete self;
    return nullptr;
  } catch (...) {
    delete self;
    throw;
  }
  return self;
}

void TovThread::t_join(TovThread* thread)
{
  if (!thread)
    return;
  thread->handle->thread.join();
  delete thread;
}
