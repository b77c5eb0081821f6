#include "core/TovString.h"

#include <cstring>
#include <utility>

TovString::TovString(const char* source) : text(nullptr)
{
  if (!source || !*source)
    return;
  const std::size_t size = std::strlen(source) + 1;
  text = new char[size];
  std::memcpy(text, source, size);
}

TovString::TovString(const TovString& other) : TovString(other.text) {}

TovString& TovString::operator=(const TovString& other)
{
  TovString copy(other);
  std::swap(text, copy.text);
  return *this;
}

TovString::~TovString()
{
  delete[] text;
}

const char* TovString::c_str() const
{
  return text ? text : "";
}
