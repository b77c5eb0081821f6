#pragma once

#include "core/TovExport.h"

/** An interned, shared string: two names of the same text are one object, so
 *  that comparing costs one pointer comparison.
 *
 *  Any thread (names share one table under a lock of its own).  May be used
 *  by static constructors and after exit begins.  A text lives as long as a
 *  name of it does.
 */
class TOV_HOSTCORE_API TovName {
public:
  /** The empty name, ready before any constructor runs. */
  static const TovName nullName;

  constexpr TovName() noexcept : entry(nullptr) {}
  TovName(const TovName& other) noexcept;
  TovName& operator=(const TovName& other) noexcept;
  ~TovName();

  /** The name of @p text; null is the empty name. */
  static TovName getString(const char* text);

  /** The name of the first @p length bytes of @p text. */
  static TovName getString(const char* text, unsigned long length);

  /** The name of @p number in decimal. */
  static TovName getString(int number);

  /** The name of a printf-style text; the empty name where formatting fails. */
  static TovName sprintf(const char* format, ...) TOV_PRINTF_FORMAT(1, 2);

  /** Never null; valid while a name of this text lives. */
  const char* c_str() const;

  /** Bytes, without the closing 0. */
  unsigned long getLength() const;

  bool operator==(const TovName& other) const { return entry == other.entry; }

  TovName& operator+=(const TovName& tail);

  /** This name, the separator and @p tail; without the separator where one
   *  of the two is empty. */
  TovName addSep(const TovName& tail, char separator) const;

  /** The last @p parts parts of the name when it is split at @p separator;
   *  the empty name where there are not so many separators.  suffix(1, '.')
   *  is the text after the last dot. */
  TovName suffix(int parts, char separator) const;

private:
  struct Entry;
  struct Table;
  explicit TovName(Entry* e) noexcept : entry(e) {}
  Entry* entry; ///< counted reference, null for the empty name
};
