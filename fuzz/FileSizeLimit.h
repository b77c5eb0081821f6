#pragma once

namespace fuzz {

/** While it lives, this process's files cannot grow beyond @p bytes bytes, as
 *  on a full disk: a write takes what fits, and the next one nothing. */
class FileSizeLimit {
public:
  explicit FileSizeLimit(unsigned long bytes);
  ~FileSizeLimit();
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
  unsigned long before;
};

} // namespace fuzz
