#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "graph/TovAudioProvider.h"

namespace support {

/** A provider whose every sample carries its index, half in the left and half
 *  in the right channel, as whole numbers that a float holds exactly and that
 *  are never 0.  Fast; what it is asked for must be what a block holds. */
class IndexedProvider : public TovAudioProvider {
public:
  static float left(long long index);
  static float right(long long index);

  /** The index that a pair of samples carries: kSilence for zeros, kStranger
   *  for what no index gives. */
  static long long index(float left, float right);
  static constexpr long long kSilence = -(1LL << 60);
  static constexpr long long kStranger = -(1LL << 61);

  /** Called at the begin of each getAudio() with its span; what it returns
   *  other than 0 is the status, and nothing is written. */
  using Answer = std::function<int(const TovAudioContext& context, double t0, double t1)>;
  void setAnswer(Answer function) { answer = std::move(function); }

  /** The same for activate(): it may throw. */
  void setActivation(std::function<int()> function) { activation = std::move(function); }

  /** Of each request, the span that it stood for, and its quality. */
  struct Request {
    double t0;
    double t1;
    long long first;
    long long frames;
    int quality;
    int sampleRate;
    double frameRate;
    double timeOffset;
    int channels;
    std::vector<int> channelMap;
  };
  std::vector<Request> takeRequests();

  long long requestCount() const { return requestsSeen; }
  int activations() const { return activationsSeen; }
  int deactivations() const { return deactivationsSeen; }

  /** Set once the provider is gone. */
  void setGoneFlag(std::atomic<bool>* flag) { gone = flag; }

  /** Whether requests are kept for takeRequests(). */
  void keepRequests(bool keep) { isKeeping = keep; }

  TovAudioProvider* clone() const override;
  int activate(const TovAudioContext& context) override;
  int deactivate() override;
  int getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
               const TovAudioContext& context, double t0, double t1) override;
  int serialize(void** out) override;
  int deserialize(const void* blob, bool append) override;

protected:
  ~IndexedProvider() override;

private:
  Answer answer = {};
  std::function<int()> activation = {};
  std::vector<Request> requests = {};
  bool isKeeping = true;
  std::atomic<long long> requestsSeen{0};
  std::atomic<int> activationsSeen{0};
  std::atomic<int> deactivationsSeen{0};
  std::atomic<bool>* gone = nullptr;
};

} // namespace support
