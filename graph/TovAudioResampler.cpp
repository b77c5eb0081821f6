#include "graph/TovAudioResampler.h"

#include <algorithm>

#include "core/TovLockGuard.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovBlob.h"
#include "graph/TovSaturating.h"
#include "pcm/TovPcm.h"
#include "pcm/kernels/TovKernels.h"

namespace {

constexpr char kTag[] = "ARSM";
constexpr unsigned int kVersion = 0;
constexpr int kLowestSourceRate = 200;
constexpr int kHighestSourceRate = 40000;

/** Whether an input's blob of a known kind does not lie inside its bytes.  An
 *  input that has no blob leaves none behind. */
bool isCutShort(const unsigned char* blob, std::size_t size)
{
  TovBlobReader reader(blob, size);
  if (size < 4)
    return size > 0;
  if (reader.startsWith(TovMixerBlob::kTag))
    return TovMixerBlob{}.read(blob, size) == TovMixerBlob::CutShort;
  return reader.startsWith(TovFileBlob::kTag) &&
         TovFileBlob{}.read(reader) == TovFileBlob::CutShort;
}

} // namespace

/** The input at this moment, held alive for a scope, whatever other threads
 *  set meanwhile. */
class TovAudioResampler::HeldInput {
public:
  explicit HeldInput(const TovAudioResampler& resampler)
  {
    const TovLockGuard guard(resampler.inputLock);
    provider = resampler.input;
    if (provider)
      provider->reference();
  }
  ~HeldInput()
  {
    if (provider)
      provider->dereference();
  }
  HeldInput(const HeldInput&) = delete;
  HeldInput& operator=(const HeldInput&) = delete;

  TovAudioProvider* provider;
};

TovAudioResampler::TovAudioResampler(TovAudioProvider* provider)
    : input(nullptr), sourceRate(0), inputLock(0)
{
  setInputProvider(provider);
}

TovAudioResampler::TovAudioResampler(const TovAudioResampler& other)
    : TovAudioProvider(other), input(nullptr), sourceRate(0), inputLock(0)
{
  const HeldInput shared(other);
  setInputProviderNoLock(shared.provider);
}

TovAudioResampler::~TovAudioResampler()
{
  replaceInput(nullptr); // without the lock, which may be held for good
}

TovAudioProvider* TovAudioResampler::clone() const
{
  return new TovAudioResampler(*this);
}

// --- The input ------------------------------------------------------------

void TovAudioResampler::setInputProvider(TovAudioProvider* provider)
{
  // Looked at without the lock: what the provider is made of is locked from
  // its side.
  if (provider && provider->isFedBy(this))
    return;
  const LockedProvider locked(*this);
  replaceInput(provider);
}

void TovAudioResampler::setInputProviderNoLock(TovAudioProvider* provider)
{
  if (!provider || !provider->isFedBy(this))
    replaceInput(provider);
}

void TovAudioResampler::replaceInput(TovAudioProvider* provider)
{
  TovAudioProvider* old = nullptr;
  {
    const TovLockGuard guard(inputLock);
    if (provider == input)
      return;
    old = input;
    input = provider;
    if (input)
      input->reference();
  }
  if (old)
    old->dereference();
}

bool TovAudioResampler::isFedBy(const TovAudioProvider* provider) const
{
  if (provider == this)
    return true;
  const HeldInput held(*this);
  return held.provider && held.provider->isFedBy(provider);
}

int TovAudioResampler::getSourceRate() const
{
  const LockedProvider locked(*this);
  return sourceRate;
}

void TovAudioResampler::setSourceRate(int rate)
{
  const LockedProvider locked(*this);
  sourceRate = rate;
}

int TovAudioResampler::activate(const TovAudioContext& context)
{
  const HeldInput held(*this);
  return held.provider ? held.provider->activate(context) : 0;
}

int TovAudioResampler::deactivate()
{
  const HeldInput held(*this);
  return held.provider ? held.provider->deactivate() : 0;
}

// --- Rendering ------------------------------------------------------------

int TovAudioResampler::getAudio(const TovNLPArray<float>& buffers,
                                const TovNLArray<int>& channelMap, const TovAudioContext& context,
                                double t0, double t1)
{
  const LockedProvider locked(*this);
  const HeldInput held(*this);
  if (!held.provider)
    return 5;
  if (sourceRate < kLowestSourceRate || sourceRate > kHighestSourceRate)
    return held.provider->getAudio(buffers, channelMap, context, t0, t1);
  if (context.sampleRate < 1 || hasNullBuffer(buffers))
    return 4;
  return resampleInput(*held.provider, buffers, channelMap, context, t0, t1);
}

/** Caller holds providerLock. */
int TovAudioResampler::resampleInput(TovAudioProvider& provider, const TovNLPArray<float>& buffers,
                                     const TovNLArray<int>& channelMap,
                                     const TovAudioContext& context, double t0, double t1)
{
  const TovAudioContext inner(sourceRate, context.quality, context.frameRate, context.timeOffset);
  const double outRate = context.sampleRate;
  const double ts = static_cast<double>(getSampleIndex(context, t0)) / outRate;
  const double te = static_cast<double>(getSampleIndex(context, t1)) / outRate;
  const long long s0 = getSampleIndex(inner, ts);
  const long long s1 = getSampleIndex(inner, te);
  const long long outFrames = std::max(getNumSampleFrames(context, t0, t1), 0LL);
  const long long handles =
      1LL + TovPcm::resamplerHandles(context.quality, context.sampleRate, sourceRate);
  const float phase = static_cast<float>(sourceRate * ts - static_cast<double>(s0));

  const long long first = tovSaturatingDifference(s0, handles);
  const long long last = tovSaturatingSum(s1, handles);
  const double ta = getTimeOfSample(inner, first);
  const double tb = getTimeOfSample(inner, tovSaturatingSum(last, 1));
  // At times that are coarser than frames the input's own count may be larger.
  const long long frames = std::max( // GCOVR_EXCL_LINE: counted on the lines below
      {tovSaturatingSum(tovSaturatingDifference(last, first), 1), getNumSampleFrames(inner, ta, tb),
       lastPosition(outFrames, phase, sourceRate / outRate) + 2 * handles});
  if (outFrames > kMostRequestFrames || frames > kMostRequestFrames)
    return 1;
  // Only at times that no clock has, where indices saturate.
  if (!(phase >= 0.0f && phase <= 1.0f))
    return 5;

  const int channels = buffers.getCount();
  allocSampleBuffers(channels, frames);
  TovNLPArray<float> blocks;
  TovNLPArray<float> sources; // the same, from input frame 0 on
  blocks.growTo(channels);
  sources.growTo(channels);
  for (int i = 0; i < channels; ++i) {
    blocks.append(getSampleBuffers()[i]);
    sources.append(blocks[i] + handles);
    TovKernels::fillSilence(blocks[i], frames);
  }
  const int status = provider.getAudio(blocks, channelMap, inner, ta, tb);
  if (status != 0)
    return status;
  TovPcm::resample(context.quality, buffers, sources, context.sampleRate, sourceRate, outFrames,
                   frames, phase);
  return 0;
}

// --- The blob -------------------------------------------------------------

int TovAudioResampler::serialize(void** out)
{
  const LockedProvider locked(*this);
  const HeldInput held(*this);
  TovBlobWriter writer(kTag, kVersion);
  writer.write(static_cast<unsigned int>(sourceRate));
  writer.writeFlag(held.provider != nullptr);
  if (held.provider)
    writer.writeBlobOf(*held.provider);
  return writer.finish(out);
}

int TovAudioResampler::deserialize(const void* blob, bool append)
{
  return deserializeBounded(blob, TovBlobReader::kUnbounded, append);
}

int TovAudioResampler::deserializeBounded(const void* blob, std::size_t size, bool append)
{
  LockedProvider locked(*this);
  TovBlobReader reader(blob, blob ? size : 0);
  if (!reader.readTag(kTag))
    return -1;
  const unsigned int version = reader.readUInt();
  if (reader.isWhole() && version != kVersion) {
    locked.abandon(); // deliberate: another version leaves the lock held
    return -1;
  }
  const unsigned int rate = reader.readUInt();
  const bool hasInput = reader.readFlag();
  if (!reader.isWhole() || (hasInput && isCutShort(reader.rest(), reader.restSize())))
    return -1;
  sourceRate = static_cast<int>(rate);
  const int nested = hasInput ? buildDetachedInput(reader.rest(), reader.restSize(), append) : 0;
  return static_cast<int>(reader.consumed()) + nested;
}

/** Builds the input that a blob holds and returns the bytes it takes, or -1;
 *  0 where it is of no known kind.  Deliberate: the input is neither connected
 *  nor released, and the present one stays. */
int TovAudioResampler::buildDetachedInput(const unsigned char* blob, std::size_t size, bool append)
{
  const TovBlobReader reader(blob, size);
  if (reader.startsWith(TovMixerBlob::kTag))
    return (new TovAudioMixer)->deserializeBounded(blob, size, append);
  if (reader.startsWith(TovFileBlob::kTag))
    return (new TovAudioFile)->deserializeBounded(blob, size, append);
  return 0;
}
