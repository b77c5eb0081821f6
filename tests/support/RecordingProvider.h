#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "graph/TovAudioProvider.h"

namespace support {

/** What a RecordingProvider was called for. */
enum class Operation {
  Clone,
  Activate,
  Deactivate,
  GetAudio,
  Serialize,
  Deserialize,
  AddCallback,
  RemoveCallback
};

/** One call with its arguments, as far as the operation has them. */
struct Call {
  Operation operation = Operation::Clone;
  bool ownLockHeld = false;     ///< the provider's own lock, when the call began
  bool watchedLockHeld = false; ///< that of the watched provider
  TovAudioContext context = TovAudioContext(0, 0, 0.0, 0.0);
  double t0 = 0.0;
  double t1 = 0.0;
  std::vector<float*> buffers;
  std::vector<int> channelMap;
  void (*function)(void*) = nullptr;
  void* data = nullptr;
};

/** What is left of a provider when it is gone. */
class Recording {
public:
  void add(const Call& call);
  std::vector<Call> all() const;
  std::vector<Call> of(Operation operation) const;
  int count(Operation operation) const;
  void clear();

  void setDestroyed();
  bool isDestroyed() const;

private:
  mutable std::mutex mutex;
  std::vector<Call> calls;
  bool destroyed = false;
};

/** A provider that records every call and answers as it was told. */
class RecordingProvider : public TovAudioProvider {
public:
  /** Writes frames and returns a status; @p frames is never negative. */
  using Audio = std::function<int(const TovNLPArray<float>& buffers, const TovAudioContext& context,
                                  double t0, double t1, long long frames)>;

  RecordingProvider();

  /** The same answers and the same watched provider, a recording of its own. */
  RecordingProvider(const RecordingProvider& other);

  /** What getAudio() does; without, what setLevels() and setStatuses() say. */
  void setAudio(Audio function) { audio = std::move(function); }

  /** Fills buffer 0 and 1 with these values and all others with zeros. */
  void setLevels(float left, float right);

  void setStatuses(int activateStatus, int deactivateStatus, int audioStatus);

  /** The provider whose lock every call looks at. */
  void watch(const TovAudioProvider* provider) { watched = provider; }

  /** Outlives the provider. */
  std::shared_ptr<Recording> recording() const { return record; }

  TovAudioProvider* clone() const override;
  int activate(const TovAudioContext& context) override;
  int deactivate() override;
  int getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
               const TovAudioContext& context, double t0, double t1) override;
  void addCallback(void (*function)(void*), void* data) override;
  void removeCallback(void (*function)(void*), void* data) override;
  int serialize(void** out) override;
  int deserialize(const void* blob, bool append) override;

protected:
  ~RecordingProvider() override;

private:
  Call callOf(Operation operation) const;

  std::shared_ptr<Recording> record;
  Audio audio;
  const TovAudioProvider* watched;
  int activateStatus;
  int deactivateStatus;
  int audioStatus;
  float left;
  float right;
};

} // namespace support
