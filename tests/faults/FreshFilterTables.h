#pragma once

#include "pcm/TovPcm.h"

namespace support {

/** Lets the resampling filters be built anew while it lives: what builds them
 *  takes memory only once in a process. */
class FreshFilterTables {
public:
  FreshFilterTables() { drop(); }
  ~FreshFilterTables() { drop(); }
  FreshFilterTables(const FreshFilterTables&) = delete;
  FreshFilterTables& operator=(const FreshFilterTables&) = delete;

private:
  static void drop()
  {
    for (int quality = 0; quality < 4; ++quality) {
      delete[] TovPcm::filterTable[quality];
      delete[] TovPcm::filterTableDelta[quality];
      TovPcm::filterTable[quality] = nullptr;
      TovPcm::filterTableDelta[quality] = nullptr;
      TovPcm::filterTableLength[quality] = 0;
    }
  }
};

} // namespace support
