#include "graph/TovAudioFile.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "core/TovFile.h"
#include "core/TovLockGuard.h"
#include "core/TovSys.h"
#include "graph/TovBlob.h"
#include "graph/TovSaturating.h"
#include "io/TovAudioReader.h"
#include "io/TovAudioTranslator.h"
#include "pcm/TovPcm.h"
#include "pcm/kernels/TovKernels.h"

namespace {

constexpr int kDefaultPlaybackRate = 44100;
constexpr int kLowestPlaybackRate = 200;
constexpr int kHighestPlaybackRate = 192000;

/** Far above any sound's.  A made-up rate in a header or in saved settings
 *  would have seconds of audio cost gigabytes. */
constexpr int kHighestConvertedRate = 8000000;

std::unique_ptr<char[]> copyOf(const char* text)
{
  const std::size_t size = std::strlen(text) + 1;
  std::unique_ptr<char[]> copy(new char[size]);
  std::memcpy(copy.get(), text, size);
  return copy;
}

/** The first @p count buffers of an array, each advanced by @p frames. */
TovNLPArray<float> advanced(const TovNLPArray<float>& buffers, int count, long long frames)
{
  TovNLPArray<float> result;
  result.growTo(count);
  for (int i = 0; i < count; ++i)
    result.append(buffers[i] + frames);
  return result;
}

} // namespace

/** Where a request falls in the file, in the file's frames. */
struct TovAudioFile::Span {
  long long outFrames;   ///< frames the caller gets
  long long position;    ///< first frame needed; may be negative
  long long frames;      ///< frames needed, silence included
  long long readableEnd; ///< behind the last frame that may be read
  bool isConverted;      ///< the rates differ
  int handles;           ///< of frames, those on each side that only the filter needs
  float phase;           ///< of the first output frame, in frames; 0 to 1
};

TovAudioFile::TovAudioFile()
    : reader(nullptr), fileName(nullptr), filePath(nullptr), sourceFormat{}, playbackRate(0),
      srcIn(0.0), srcOut(0.0), errorFlag(1), readerLock(0), openRate(0), isOpenRateKnown(false)
{
}

TovAudioFile::TovAudioFile(const TovAudioFile& other) : TovAudioFile()
{
  playbackRate = other.playbackRate;
  srcIn = other.srcIn;
  srcOut = other.srcOut;
  std::unique_ptr<char[]> name;
  {
    const TovLockGuard guard(other.readerLock);
    if (other.fileName)
      name = copyOf(other.fileName);
  }
  setFileNameNoLock(name.get());
}

TovAudioFile::~TovAudioFile()
{
  delete[] fileName;
  delete[] filePath;
  delete reader;
}

TovAudioProvider* TovAudioFile::clone() const
{
  return new TovAudioFile(*this);
}

// --- The file -------------------------------------------------------------

int TovAudioFile::setFileNameNoLock(const char* name)
{
  if (!name) {
    const TovLockGuard guard(readerLock);
    delete[] fileName;
    delete[] filePath;
    fileName = nullptr;
    filePath = nullptr;
    return failNoReaderLock(0);
  }

  // Made before the old strings go: name may be the old one.
  std::unique_ptr<char[]> newName = copyOf(name);
  char path[TovFile::kMaxPath];
  // No path is longer; replacing all that a longer name may hold could cost any
  // amount of memory.
  TovName resolved = TovName::getString(name);
  if (resolved.getLength() < TovFile::kMaxPath)
    resolved = TovFile::replaceEnvVars(resolved);
  TovFile::uncFileName(path, resolved.c_str());
  std::unique_ptr<char[]> newPath = copyOf(path);

  const TovLockGuard guard(readerLock);
  delete[] fileName;
  delete[] filePath;
  fileName = newName.release();
  filePath = newPath.release();
  return refreshNoReaderLock();
}

int TovAudioFile::setFileName(const char* name)
{
  int status = 0;
  {
    const LockedProvider locked(*this);
    status = setFileNameNoLock(name);
  }
  callNotifyCallbacks();
  return status;
}

int TovAudioFile::initializeNoLock(const char* name)
{
  const int status = setFileNameNoLock(name);

  const TovLockGuard guard(readerLock);
  srcIn = 0.0;
  srcOut = 0.0;
  playbackRate = kDefaultPlaybackRate;
  if (!errorFlag) {
    playbackRate = static_cast<int>(sourceFormat.sampleRate);
    if (sourceFormat.sampleRate > 0)
      srcOut = static_cast<double>(sourceFormat.frameCount) / sourceFormat.sampleRate;
  }
  return status;
}

int TovAudioFile::initialize(const char* name)
{
  const LockedProvider locked(*this);
  return initializeNoLock(name);
}

int TovAudioFile::refresh()
{
  const TovLockGuard guard(readerLock);
  return refreshNoReaderLock();
}

/** Gives up the reader.  Caller holds readerLock. */
int TovAudioFile::failNoReaderLock(int status)
{
  delete reader;
  reader = nullptr;
  isOpenRateKnown = false;
  errorFlag = 1;
  return status;
}

/** Caller holds readerLock. */
int TovAudioFile::refreshNoReaderLock()
{
  failNoReaderLock(0);
  const char* const path = filePath ? filePath : "";
  TovAudioTranslator* const translator =
      TovAudioTranslator::findReader(TovName::getString(path), 1);
  reader = translator ? translator->createReader() : nullptr;
  if (!reader) {
    TovSys::error("%ETovAudioFile: \"%s\" : unknown audio file type\n", path);
    return failNoReaderLock(2);
  }
  if (reader->initialize(path) != 0) {
    TovSys::error("%ETovAudioFile: Could not read \"%s\"\n", path);
    return failNoReaderLock(3);
  }
  sourceFormat = {};
  reader->getFileSpec(&sourceFormat);
  reader->close();
  errorFlag = 0;
  return 0;
}

int TovAudioFile::activate(const TovAudioContext&)
{
  const TovLockGuard guard(readerLock);
  if (errorFlag || !reader || !fileName || !filePath)
    return 1;
  isOpenRateKnown = false;
  return reader->initialize(filePath) == 0 ? 0 : failNoReaderLock(3);
}

int TovAudioFile::deactivate()
{
  return 0;
}

// --- Settings -------------------------------------------------------------

const char* TovAudioFile::getFileName() const
{
  const LockedProvider locked(*this);
  return fileName ? fileName : "";
}

int TovAudioFile::getSourceFormat(TovAudioIOFormat* out) const
{
  const LockedProvider locked(*this);
  const TovLockGuard guard(readerLock);
  if (!out)
    return 4;
  if (!reader)
    return 1;
  *out = sourceFormat;
  return 0;
}

int TovAudioFile::getPlaybackRate() const
{
  const LockedProvider locked(*this);
  return playbackRate;
}

double TovAudioFile::getSrcIn() const
{
  const LockedProvider locked(*this);
  return srcIn;
}

double TovAudioFile::getSrcOut() const
{
  const LockedProvider locked(*this);
  return srcOut;
}

int TovAudioFile::hasError() const
{
  const LockedProvider locked(*this);
  const TovLockGuard guard(readerLock);
  return errorFlag;
}

int TovAudioFile::setPlaybackRate(int rate)
{
  {
    const LockedProvider locked(*this);
    if (rate > 0)
      playbackRate = std::clamp(rate, kLowestPlaybackRate, kHighestPlaybackRate);
  }
  callNotifyCallbacks();
  return rate > 0 ? 0 : 4;
}

int TovAudioFile::setSrcIn(double seconds)
{
  {
    const LockedProvider locked(*this);
    srcIn = seconds;
  }
  callNotifyCallbacks();
  return 0;
}

int TovAudioFile::setSrcOut(double seconds)
{
  {
    const LockedProvider locked(*this);
    srcOut = seconds;
  }
  callNotifyCallbacks();
  return 0;
}

// --- Rendering ------------------------------------------------------------

int TovAudioFile::getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
                           const TovAudioContext& context, double t0, double t1)
{
  const LockedProvider locked(*this);
  const TovLockGuard guard(readerLock);
  if (!reader)
    return 2;
  TovAudioIOFormat format{};
  if (reader->getFileSpec(&format) != 0)
    return 1;
  // The rate of the first call after the file was opened: an AIFF reader gives
  // the true one only there and at every other call.
  if (!isOpenRateKnown) {
    openRate = format.sampleRate;
    isOpenRateKnown = true;
  }
  format.sampleRate = openRate;
  if (context.sampleRate < 1 || hasNullBuffer(buffers))
    return 4;
  if (playbackRate < 1)
    return 1;

  Span span;
  const int status = planSpan(span, format, context, t0, t1);
  if (status != 0)
    return status;
  const int rendered = render(span, buffers, channelMap, context);
  releaseSampleBuffersInExcess();
  return rendered;
}

/** Caller holds both locks. */
int TovAudioFile::planSpan(Span& span, const TovAudioIOFormat& format,
                           const TovAudioContext& context, double t0, double t1) const
{
  const TovAudioContext inner(playbackRate, 0, 1.0, context.timeOffset);
  const double scale = static_cast<double>(format.sampleRate) / playbackRate;
  const long long inIndex = getSampleIndex(inner, scale * srcIn);
  const long long outIndex = getSampleIndex(inner, scale * srcOut);
  const long long base = tovSaturatingSum(inIndex, getSampleIndex(inner, -context.timeOffset));

  span.outFrames = std::max(getNumSampleFrames(context, t0, t1), 0LL);
  if (span.outFrames > kMostRequestFrames)
    return 1;
  span.isConverted = playbackRate != context.sampleRate;
  span.handles = 0;
  span.phase = 0.0f;
  if (span.isConverted) {
    if (playbackRate > kHighestConvertedRate)
      return 1;
    if (!planConversion(span, inner, context, t0, t1))
      return 5;
  } else {
    span.position = getSampleIndex(inner, t0);
    span.frames = getNumSampleFrames(inner, t0, t1);
  }
  if (span.frames > kMostRequestFrames)
    return 1;

  span.position = tovSaturatingSum(span.position, base);
  span.readableEnd = std::min<long long>(std::max(outIndex, span.position), format.frameCount);
  const bool isOutside = tovSaturatingSum(span.position, span.frames) < 0 ||
                         span.readableEnd <= span.position || format.frameCount == 0;
  return isOutside ? 5 : 0;
}

/** What the resampler needs of the file: from the source frame of the first
 *  output frame to that of the last, and the handles on both sides.  False at
 *  times that no clock has, where indices saturate. */
bool TovAudioFile::planConversion(Span& span, const TovAudioContext& inner,
                                  const TovAudioContext& context, double t0, double t1) const
{
  const double outRate = context.sampleRate;
  const double ts = static_cast<double>(getSampleIndex(context, t0)) / outRate;
  const double te = static_cast<double>(getSampleIndex(context, t1)) / outRate;
  const long long start = getSampleIndex(inner, ts);
  span.phase = static_cast<float>(playbackRate * ts - static_cast<double>(start));
  span.handles = TovPcm::resamplerHandles(context.quality, context.sampleRate, playbackRate);
  const long long bothHandles = 2LL * span.handles;
  span.position = tovSaturatingDifference(start, span.handles);
  span.frames = tovSaturatingSum(getNumSampleFrames(inner, ts, te), 1 + bothHandles);
  if (!(span.phase >= 0.0f && span.phase <= 1.0f))
    return false;
  if (span.outFrames > 0) {
    // Beyond what the indices say only where times are coarser than frames.
    const long long last = lastPosition(span.outFrames, span.phase, playbackRate / outRate);
    span.frames = std::max(span.frames, last + bothHandles);
  }
  return true;
}

/** Caller holds both locks. */
int TovAudioFile::render(const Span& span, const TovNLPArray<float>& buffers,
                         const TovNLArray<int>& channelMap, const TovAudioContext& context)
{
  const int channels = buffers.getCount();
  if (span.isConverted)
    allocSampleBuffers(channels, span.frames);
  const TovNLPArray<float>& targets = span.isConverted ? getSampleBuffers() : buffers;

  // Silence everywhere first: before the file's first frame, behind its last
  // or srcOut, and where a file turns out to be shorter than it says.
  for (int i = 0; i < channels; ++i)
    TovKernels::fillSilence(targets[i], span.frames);

  const long long first = std::max(span.position, 0LL);
  const long long leading = first - span.position;
  const long long count = std::min(span.frames - leading, span.readableEnd - first);
  if (count > 0 &&
      reader->readChannels(advanced(targets, channels, leading), channelMap, first, count) != 0)
    return 1;

  if (span.isConverted)
    TovPcm::resample(context.quality, buffers, advanced(targets, channels, span.handles),
                     context.sampleRate, playbackRate, span.outFrames, span.frames, span.phase);
  return 0;
}

// --- The blob -------------------------------------------------------------

int TovAudioFile::serialize(void** out)
{
  const LockedProvider locked(*this);
  const char* const name = fileName ? fileName : "";
  TovBlobWriter writer(TovFileBlob::kTag, TovFileBlob::kVersion);
  writer.write(name, std::strlen(name) + 1);
  writer.write(static_cast<unsigned int>(playbackRate));
  writer.write(srcIn);
  writer.write(srcOut);
  return writer.finish(out);
}

int TovAudioFile::deserialize(const void* blob, bool append)
{
  return deserializeBounded(blob, TovBlobReader::kUnbounded, append);
}

int TovAudioFile::deserializeBounded(const void* data, std::size_t size, bool)
{
  LockedProvider locked(*this);
  if (!data)
    return -1;
  TovBlobReader cursor(data, size);
  TovFileBlob blob{};
  const TovFileBlob::Verdict verdict = blob.read(cursor);
  if (verdict == TovFileBlob::OtherVersion)
    locked.abandon(); // deliberate: another version leaves the lock held
  if (verdict != TovFileBlob::Good)
    return -1;

  if (*blob.name)
    initializeNoLock(blob.name);
  playbackRate = static_cast<int>(blob.playbackRate);
  srcIn = blob.srcIn;
  srcOut = blob.srcOut;
  return static_cast<int>(cursor.consumed());
}
