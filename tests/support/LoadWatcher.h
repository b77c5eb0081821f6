#pragma once

#include <string>
#include <vector>

class TovAudioMixer;

namespace support {

/** Records in which order a mixer calls its deserialize callback and notifies,
 *  and whether its lock was free during each.  Holds a reference to the mixer;
 *  takes the mixer's deserialize callback away at the end. */
class LoadWatcher {
public:
  explicit LoadWatcher(TovAudioMixer& mixer);
  ~LoadWatcher();
  LoadWatcher(const LoadWatcher&) = delete;
  LoadWatcher& operator=(const LoadWatcher&) = delete;

  /** What happened since the construction or the last call, in order:
   *  "callback" and "notification", with " locked" where the lock was held,
   *  and the number of tracks, as in "callback 3". */
  std::vector<std::string> take();

  /** What every load should give. */
  static std::vector<std::string> oneLoad(int tracks);

private:
  static void called(void* self);
  static void notified(void* self);
  void record(const char* event);

  TovAudioMixer& source;
  std::vector<std::string> events;
};

} // namespace support
