#pragma once

#include <cstdarg>
#include <cstdio>
#include <optional>
#include <string>

/** The text of a printf-style call, whatever its length; none where it cannot
 *  be formatted.  The caller starts and ends @p arguments. */
inline std::optional<std::string> tovFormatText(const char* format, std::va_list arguments)
{
  std::va_list again;
  va_copy(again, arguments);
  std::optional<std::string> text;
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  if (length >= 0) {
    text.emplace(static_cast<std::size_t>(length), '\0');
    if (std::vsnprintf(text->data(), text->size() + 1, format, again) != length)
      text.reset();
  }
  va_end(again);
  return text;
}
