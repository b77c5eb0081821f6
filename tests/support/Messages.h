#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace support {

/** Collects what goes through TovSys::error() while it lives.  Each message is
 *  its severity ('E', 'W' or '-' for none), a blank and its text, line feed
 *  included: "E TovWav: duplicate ...\n".  One at a time. */
class Messages {
public:
  Messages();
  ~Messages();
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;

  /** What came since the construction or the last call. */
  std::vector<std::string> take();

private:
  static void collect(char severity, const char* text, void* data);
  std::mutex mutex;
  std::vector<std::string> messages;
};

} // namespace support
