#include "app/NumberText.h"

#include <charconv>
#include <cmath>
#include <cstdio>

template <typename Value>
static std::optional<Value> parse(const std::string& text)
{
  const char* first = text.data();
  const char* last = first + text.size();
  // The standard's parser knows no plus sign.
  if (last - first > 1 && first[0] == '+' && first[1] != '-') {
    ++first;
  }
  Value value = 0;
  const std::from_chars_result result = std::from_chars(first, last, value);
  if (result.ec != std::errc() || result.ptr != last) {
    return std::nullopt;
  }
  return value;
}

std::optional<double> numberOf(const std::string& text)
{
  const std::optional<double> value = parse<double>(text);
  return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<long long> wholeNumberOf(const std::string& text)
{
  return parse<long long>(text);
}

double decimalOf(float value)
{
  char text[64];
  const std::to_chars_result end = std::to_chars(text, text + sizeof text, value);
  return numberOf(std::string(text, end.ptr)).value_or(static_cast<double>(value));
}

std::string shortNumber(double value)
{
  char text[40];
  (void)std::snprintf(text, sizeof text, "%.7g", value);
  return text;
}
