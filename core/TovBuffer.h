#pragma once

#include "core/TovExport.h"

/** An owned block of bytes.  Any thread, each its own object. */
class TOV_HOSTCORE_API TovBuffer {
public:
  TovBuffer() noexcept;
  ~TovBuffer();
  TovBuffer(const TovBuffer&) = delete;
  TovBuffer& operator=(const TovBuffer&) = delete;

  /** Replaces the block by one of @p bytes zero bytes; 0 frees it. */
  void allocate(unsigned long bytes);

  /** Null while the size is 0. */
  unsigned char* getData() const { return data; }
  unsigned long getSize() const { return size; }

private:
  unsigned char* data;
  unsigned long size; ///< bytes
};
