#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "graph/TovAudioProvider.h"
#include "tests/faults/FaultLoop.h"

namespace support {

/** Serializes under the fault: the whole blob, or an exception and nothing. */
inline void serializeWhollyOrNot(Attempt& attempt, TovAudioProvider& provider,
                                 const std::vector<std::uint8_t>& blob)
{
  constexpr int kNotTold = -99;
  void* out = nullptr;
  int length = kNotTold;
  const bool isDone = attempt.under([&] { length = provider.serialize(&out); });
  const std::unique_ptr<unsigned char[]> owned(static_cast<unsigned char*>(out));
  EXPECT_EQ(out != nullptr, isDone);
  ASSERT_EQ(length, isDone ? static_cast<int>(blob.size()) : kNotTold);
  if (out) {
    EXPECT_EQ(std::vector<std::uint8_t>(owned.get(), owned.get() + length), blob);
  }
}

} // namespace support
