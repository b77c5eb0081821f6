#pragma once

#include "core/TovExport.h"
#include "core/TovName.h"

/** A handle of a regular file, always binary, unbuffered.
 *
 *  One thread at a time per object.  read() and write() go on after partial
 *  transfers and interruptions, so that a short count means the end of the
 *  file, an error or a full disk.  Every operation on a closed handle but
 *  open() does nothing and returns 0.  May block on the disk.
 */
class TOV_HOSTCORE_API TovFile {
public:
  /** Bytes that uncFileName() may write, the closing 0 included. */
  static constexpr unsigned long kMaxPath = 16384;

  TovFile() noexcept;
  ~TovFile(); ///< closes
  TovFile(const TovFile&) = delete;
  TovFile& operator=(const TovFile&) = delete;

  /** Opens a file, closing what was open before: 0, or -1 where it fails.
   *  @p mode is "r" (read), "w" (write, made or emptied), "a" (append), each
   *  with an optional "+" (both) and "b" (no effect).  A directory, a pipe
   *  or a device fails at once. */
  int open(const char* path, const char* mode);

  /** Up to @p bytes bytes from the position; returns the count read. */
  unsigned long read(void* buffer, unsigned long bytes);

  /** Bytes to the position; returns the count that the file took. */
  unsigned long write(const void* buffer, unsigned long bytes);

  /** Writes a printf-style text; returns its bytes, or -1 where it was not
   *  written whole. */
  int printf(const char* format, ...) TOV_PRINTF_FORMAT(2, 3);

  /** Moves the position; @p whence 0 is from the start, 1 from the position,
   *  2 from the end.  Non-zero when it moved, 0 when it could not. */
  int seek(long long offset, int whence);

  /** The position in bytes. */
  long long tell();

  /** 0, or -1 where the system reports that something written was lost.
   *  Harmless on a closed handle. */
  int close();

  /** The text with $NAME and ${NAME} replaced by the environment's values,
   *  in one pass; unknown variables stay as they are. */
  static TovName replaceEnvVars(const TovName& text);

  /** Writes the full, canonical path of @p in, which need not exist, to
   *  @p out: at most #kMaxPath bytes, always with a closing 0. */
  static void uncFileName(char* out, const char* in);

private:
  int descriptor; ///< -1 while closed
};
