#include "app/LibraryMessages.h"

#include <mutex>
#include <utility>

#include "core/TovSys.h"

static std::mutex messageMutex;
static std::string lastError;   // protected by messageMutex
static std::string lastWarning; // protected by messageMutex

static void keepMessage(char severity, const char* text, void*)
{
  if (severity != 'E' && severity != 'W') {
    return;
  }
  const std::lock_guard<std::mutex> guard(messageMutex);
  std::string& kept = severity == 'E' ? lastError : lastWarning;
  kept = text;
  while (!kept.empty() && kept.back() == '\n') {
    kept.pop_back();
  }
}

void holdBackLibraryMessages()
{
  TovSys::setMessageHandler(keepMessage, nullptr);
}

std::string lastLibraryError()
{
  const std::lock_guard<std::mutex> guard(messageMutex);
  return lastError;
}

std::string takeLibraryWarning()
{
  const std::lock_guard<std::mutex> guard(messageMutex);
  return std::exchange(lastWarning, std::string());
}
