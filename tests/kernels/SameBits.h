#pragma once

#include <cstring>
#include <vector>

namespace support {

inline bool areSameBits(const std::vector<float>& a, const std::vector<float>& b)
{
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0);
}

} // namespace support
