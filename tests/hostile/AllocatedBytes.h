#pragma once

namespace support {

/** Bytes that this program has from operator new, now and at most since the
 *  last restart; those of all threads. */
class AllocatedBytes {
public:
  static long long now();
  static long long most();
  static void restartMost();
};

} // namespace support
