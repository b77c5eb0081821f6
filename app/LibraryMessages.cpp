#include "app/LibraryMessages.h"

#include <mutex>

#include "core/TovSys.h"

static std::mutex lastErrorMutex;
static std::string lastError; // protected by lastErrorMutex

static void keepMessage(char severity, const char* text, void*)
{
  if (severity != 'E') {
    return;
  }
  const std::lock_guard<std::mutex> guard(lastErrorMutex);
  lastError = text;
  while (!lastError.empty() && lastError.back() == '\n') {
    lastError.pop_back();
  }
}

void holdBackLibraryMessages()
{
  TovSys::setMessageHandler(keepMessage, nullptr);
}

std::string lastLibraryError()
{
  const std::lock_guard<std::mutex> guard(lastErrorMutex);
  return lastError;
}
