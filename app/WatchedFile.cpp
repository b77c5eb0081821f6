#include "app/WatchedFile.h"

#include <cerrno>

#include "app/Failures.h"
#include "app/RefusalReason.h"
#include "app/SourceBlocks.h"

static constexpr int kNothingToDeliver = 5;

WatchedFile::WatchedFile(const SourceFile& file) : source(file)
{
  if (initialize(source.path.c_str()) != 0) {
    throw Failure(source.name, refusalReason(source.path));
  }
}

WatchedFile::WatchedFile(const WatchedFile& other)
    : TovAudioFile(other), source(other.source), chosenChannels(other.chosenChannels),
      lookInterval(other.lookInterval)
{
}

WatchedFile::~WatchedFile() = default;

TovAudioProvider* WatchedFile::clone() const
{
  return new WatchedFile(*this);
}

void WatchedFile::chooseChannels(int left, int right)
{
  chosenChannels.clear();
  chosenChannels.append(left);
  chosenChannels.append(right);
}

int WatchedFile::getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
                          const TovAudioContext& context, double t0, double t1)
{
  const TovNLArray<int>& channels = chosenChannels.getCount() > 0 ? chosenChannels : channelMap;
  errno = 0; // a call of the system that failed shows nowhere else
  const int status = TovAudioFile::getAudio(buffers, channels, context, t0, t1);
  const bool isCallFailed = errno != 0 && errno != EINTR;
  if (status == kNothingToDeliver) {
    return status;
  }
  const bool isTimeToLook = ++requestsUnseen >= lookInterval;
  if (isTimeToLook) {
    requestsUnseen = 0;
  }
  if (status != 0 || isCallFailed || (isTimeToLook && !isStillWhole(source))) {
    hasFailed = true;
  }
  return status;
}

void WatchedFile::throwIfFailed() const
{
  if (hasFailed) {
    throwIfCutShort(source);
    throw Failure(source.name, "could not be read any more");
  }
}

void WatchedFile::tryAgain()
{
  if (hasFailed && refresh() == 0 && isStillWhole(source)) {
    hasFailed = false;
  }
}
