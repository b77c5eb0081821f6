#pragma once

#include "core/TovExport.h"

/** The owned string that the host's script hooks return.  Any thread, each
 *  its own object. */
class TOV_HOSTCORE_API TovString {
public:
  /** A copy of @p text; null gives the empty string. */
  TovString(const char* text);
  TovString(const TovString& other);
  TovString& operator=(const TovString& other);
  ~TovString();

  /** Never null. */
  const char* c_str() const;

private:
  char* text; ///< owned, null while empty
};
