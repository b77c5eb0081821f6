#include "core/TovName.h"

#include <atomic>
#include <cstdarg>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "hostcore/FormatText.h"

struct TovName::Entry {
  explicit Entry(std::string_view t) : references(1), text(t) {}
  std::atomic<long> references; ///< goes to 0 under the table's mutex only
  const std::string text;
};

struct TovName::Table {
  std::mutex mutex;
  std::unordered_map<std::string_view, Entry*> entries; ///< Protected by mutex

  /** Never destroyed: names are used until the very end of the process. */
  static Table& instance()
  {
    static Table* const table = new Table;
    return *table;
  }

  Entry* intern(std::string_view text)
  {
    if (text.empty())
      return nullptr;
    const std::lock_guard<std::mutex> guard(mutex);
    if (const auto found = entries.find(text); found != entries.end()) {
      ++found->second->references;
      return found->second;
    }
    Entry* const fresh = new Entry(text);
    try {
      entries.emplace(fresh->text, fresh);
    } catch (...) {
      delete fresh;
      throw;
    }
    return fresh;
  }

  void release(Entry* released)
  {
    if (!released)
      return;
    long references = released->references.load();
    while (references > 1)
      if (released->references.compare_exchange_weak(references, references - 1))
        return;

    // Perhaps the last one: decided under the mutex, where intern() could
    // find the entry and count itself in.
    const std::lock_guard<std::mutex> guard(mutex);
    if (--released->references == 0) {
      entries.erase(released->text);
      delete released;
    }
  }
};

constinit const TovName TovName::nullName;

TovName::TovName(const TovName& other) noexcept : entry(other.entry)
{
  if (entry)
    ++entry->references;
}

TovName& TovName::operator=(const TovName& other) noexcept
{
  TovName copy(other);
  std::swap(entry, copy.entry);
  return *this;
}

TovName::~TovName()
{
  if (entry)
    Table::instance().release(entry);
}

TovName TovName::getString(const char* text)
{
  return text ? TovName(Table::instance().intern(text)) : TovName();
}

TovName TovName::getString(const char* text, unsigned long length)
{
  return text ? TovName(Table::instance().intern({text, length})) : TovName();
}

TovName TovName::getString(int number)
{
  return TovName(Table::instance().intern(std::to_string(number)));
}

TovName TovName::sprintf(const char* format, ...)
{
  if (!format)
    return TovName();
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = tovFormatText(format, arguments).value_or("");
  va_end(arguments);
  return TovName(Table::instance().intern(text));
}

const char* TovName::c_str() const
{
  return entry ? entry->text.c_str() : "";
}

unsigned long TovName::getLength() const
{
  return entry ? static_cast<unsigned long>(entry->text.size()) : 0;
}

TovName& TovName::operator+=(const TovName& tail)
{
  if (!tail.entry)
    return *this;
  if (!entry)
    return *this = tail;
  return *this = TovName(Table::instance().intern(entry->text + tail.entry->text));
}

TovName TovName::addSep(const TovName& tail, char separator) const
{
  if (!entry || !tail.entry)
    return entry ? *this : tail;
  return TovName(Table::instance().intern(entry->text + separator + tail.entry->text));
}

TovName TovName::suffix(int parts, char separator) const
{
  if (!entry || parts < 1)
    return TovName();
  const std::string& text = entry->text;
  std::size_t begin = text.size();
  for (int part = 0; part < parts; ++part) {
    if (begin == 0)
      return TovName();
    const std::size_t found = text.rfind(separator, begin - 1);
    if (found == std::string::npos)
      return TovName();
    begin = found;
  }
  return TovName(Table::instance().intern(std::string_view(text).substr(begin + 1)));
}
