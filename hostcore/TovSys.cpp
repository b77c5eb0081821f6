#include "core/TovSys.h"

#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

#include "hostcore/FormatText.h"

namespace {

struct MessageOutput {
  TovSys::MessageHandler handler = nullptr;
  void* data = nullptr;
};

std::mutex messageOutputMutex;
constinit MessageOutput messageOutput; ///< Protected by messageOutputMutex

} // namespace

void TovSys::error(const char* format, ...)
{
  if (!format)
    return;

  char severity = 0;
  if (format[0] == '%' && (format[1] == 'E' || format[1] == 'W')) {
    severity = format[1];
    format += 2;
  }

  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = tovFormatText(format, arguments).value_or("");
  va_end(arguments);

  MessageOutput output;
  {
    const std::lock_guard<std::mutex> guard(messageOutputMutex);
    output = messageOutput;
  }
  if (output.handler)
    output.handler(severity, text.c_str(), output.data);
  else
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr)); // unbuffered: one piece
}

void TovSys::setMessageHandler(MessageHandler handler, void* data)
{
  const std::lock_guard<std::mutex> guard(messageOutputMutex);
  messageOutput = {handler, data};
}

void TovSys::sleep(double seconds)
{
  constexpr double kLongest = 1.0e9; // keeps the sum with the clock in range
  if (seconds > 0.0)
    std::this_thread::sleep_for(std::chrono::duration<double>(std::fmin(seconds, kLongest)));
}

int TovSys::strcasecmp(const char* a, const char* b)
{
  const auto folded = [](const char* c) {
    const int code = static_cast<unsigned char>(*c);
    return code >= 'A' && code <= 'Z' ? code - 'A' + 'a' : code;
  };
  if (!a)
    a = "";
  if (!b)
    b = "";
  while (*a && folded(a) == folded(b)) {
    ++a;
    ++b;
  }
  return folded(a) - folded(b);
}
