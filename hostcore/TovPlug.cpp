#include "core/TovPlug.h"

#include <algorithm>
#include <climits>
#include <limits>
#include <locale>
#include <mutex>
#include <sstream>

namespace {

/** Serialises changes, so that a host's value wins over a default that is
 *  declared at the same moment.  Readers do not take it. */
std::mutex changeMutex;

/** The number that a text begins with, read the same in every locale. */
double numberOf(const char* text)
{
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  double number = 0.0;
  stream >> number; // 0 where there is none, the limit where it overflows
  return number;
}

int saturated(double number)
{
  if (number <= static_cast<double>(INT_MIN))
    return INT_MIN;
  if (number >= static_cast<double>(INT_MAX))
    return INT_MAX;
  return static_cast<int>(number);
}

} // namespace

TovPlug::TovPlug() noexcept : intValue(0), floatValue(0.0f), isSetByHost(false) {}

int TovPlug::asInt() const
{
  return intValue.load(std::memory_order_relaxed);
}

float TovPlug::asFloat() const
{
  return floatValue.load(std::memory_order_relaxed);
}

void TovPlug::set(const char* value)
{
  const std::lock_guard<std::mutex> guard(changeMutex);
  isSetByHost = true;
  store(value);
}

void TovPlug::setDefault(const char* value)
{
  const std::lock_guard<std::mutex> guard(changeMutex);
  if (!isSetByHost)
    store(value);
}

void TovPlug::store(const char* value)
{
  const double number = value ? numberOf(value) : 0.0;
  intValue.store(saturated(number), std::memory_order_relaxed);
  constexpr double kMost = std::numeric_limits<float>::max();
  floatValue.store(static_cast<float>(std::clamp(number, -kMost, kMost)),
                   std::memory_order_relaxed);
}
