#pragma once

#include "core/TovBuffer.h"
#include "core/TovExport.h"

/** Bytes into text that may stand inside a quoted script string, and back.
 *
 *  Any thread, each its own buffers.  Both return 0 on success.
 */
class TOV_HOSTCORE_API TovCompressor {
public:
  /** Replaces the buffer's contents by the NUL-terminated text of its first
   *  @p length bytes.  The text holds letters, digits, '-' and '_' only.
   *  Non-zero, with the buffer as it was, where @p length is negative or
   *  above the buffer's size or 64 MiB. */
  static int compressBuffer(TovBuffer& buffer, int length);

  /** Fills @p out with exactly the bytes that @p text was made from.  Blanks
   *  and line breaks inside the text are passed over, since editors wrap
   *  lines.  What is not such a text, does not agree with its own checksum, or
   *  holds more than 64 MiB is refused: non-zero, with @p out empty. */
  static int decompressString(const char* text, TovBuffer& out);
};
