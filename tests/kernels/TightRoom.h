#pragma once

#include <cstddef>
#include <cstring>
#include <vector>

#include "tests/support/GuardedBlock.h"

namespace support {

/** Room for one array after another, each of which ends, or begins, where
 *  nobody may read or write: what goes beyond it ends the process. */
class TightRoom {
public:
  using Tight = GuardedBlock::Tight;

  explicit TightRoom(std::size_t mostBytes)
      : beforePage(mostBytes, Tight::AtEnd), behindPage(mostBytes, Tight::AtStart)
  {
  }

  /** Takes the place of the array before. */
  template <typename Element>
  Element* take(std::size_t count, Tight tight)
  {
    unsigned char* const end = static_cast<unsigned char*>(beforePage.data()) + beforePage.size();
    void* const begin = tight == Tight::AtStart ? behindPage.data() : end - count * sizeof(Element);
    return static_cast<Element*>(begin);
  }

  template <typename Element>
  Element* take(const std::vector<Element>& copied, Tight tight)
  {
    Element* const taken = take<Element>(copied.size(), tight);
    if (!copied.empty())
      std::memcpy(taken, copied.data(), copied.size() * sizeof(Element));
    return taken;
  }

private:
  GuardedBlock beforePage;
  GuardedBlock behindPage;
};

} // namespace support
