#include "fuzz/SuffixModel.h"

#include <algorithm>

namespace fuzz {

namespace {

std::string folded(std::string text)
{
  for (char& c : text)
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return text;
}

} // namespace

std::string suffixesOf(const std::string& formats)
{
  std::string list;
  std::string suffix;
  bool isInside = false;
  for (const char c : formats + "}") {
    const bool isEnd = c == '}' || c == '|' || c == ';';
    if (isInside && !isEnd)
      suffix += c;
    if (isInside && isEnd && !suffix.empty()) {
      list += (list.empty() ? "" : "|") + suffix;
      suffix.clear();
    }
    isInside = isInside ? c != '}' : c == '{';
  }
  return list;
}

bool holds(const std::string& list, const std::string& name)
{
  std::string token;
  for (std::size_t i = 0; i <= list.size(); ++i) {
    const bool isEnd = i == list.size();
    if (!isEnd && list[i] != '|' && list[i] != '{') {
      token += list[i];
      continue;
    }
    if (!token.empty() && folded(token) == folded(name))
      return true;
    if (!isEnd && !token.empty() && list[i] == '{')
      i = std::min(list.find('}', i), list.size());
    token.clear();
  }
  return false;
}

std::string lastPart(const std::string& name, char separator)
{
  const std::size_t found = name.rfind(separator);
  return found == std::string::npos ? "" : name.substr(found + 1);
}

} // namespace fuzz
