#include "tests/support/Messages.h"

#include <utility>

#include "core/TovSys.h"

namespace support {

Messages::Messages()
{
  TovSys::setMessageHandler(collect, this);
}

Messages::~Messages()
{
  TovSys::setMessageHandler(nullptr, nullptr);
}

std::vector<std::string> Messages::take()
{
  const std::lock_guard<std::mutex> guard(mutex);
  return std::exchange(messages, {});
}

void Messages::collect(char severity, const char* text, void* data)
{
  Messages* const self = static_cast<Messages*>(data);
  const std::lock_guard<std::mutex> guard(self->mutex);
  self->messages.push_back(std::string(1, severity ? severity : '-') + " " + text);
}

} // namespace support
