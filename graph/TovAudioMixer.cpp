#include "graph/TovAudioMixer.h"

#include <algorithm>
#include <memory>

#include "core/TovPlug.h"
#include "graph/TovMixerSettings.h"
#include "pcm/TovPcm.h"
#include "pcm/kernels/TovKernels.h"

// Mixing one request [t0, t1) of N frames: each track that is heard renders
// into two scratch blocks, which are then added to the output.
//
//      t0          ts                       te          t1
//      |- silence -|-fade-in-|-----|-fade-out-|- silence -|
//       Step (1)    (4)    input (3)      (5)    Step (2)
//
//   1. Before the track's start: silence.
//   2. Behind its end: silence.
//   3. In between: the input, asked with the track's start as time offset, so
//      that its own time 0 falls there.  An input that fails is left out.
//   4. Fade-in: a linear ramp over the first 20 ms of the track.
//   5. Fade-out: a linear ramp over the last 20 ms.
//   6. The whole of the scratch, silence included, goes through the gain
//      matrix into the outputs: the first track is stored, the others added.

namespace {

constexpr float kLowestGain = 0.0f;
constexpr float kHighestGain = 8.0f;
constexpr double kFadeSeconds = 0.02;

/** A track that ends no later than this behind its start has no end. */
constexpr double kShortestTrack = 0.0001;

/** The part of a track's scratch blocks between the silences. */
struct Scratch {
  float* left;
  float* right;
  long long frames;
};

float audible(float gain, float silent)
{
  return gain > silent ? gain : 0.0f;
}

} // namespace

/** What one request's tracks have in common. */
struct TovAudioMixer::Request {
  const TovNLPArray<float>& outputs;
  const TovNLArray<int>& channelMap;
  const TovAudioContext& context;
  double t0;
  double t1;
  long long frames; ///< N, at least 0
  float silent;     ///< the factor below which a gain counts as absent
  bool soloOn;
};

TovAudioMixer::TovAudioMixer() : deserializeCallback(nullptr), deserializeCallbackData(nullptr)
{
  initialize();
}

TovAudioMixer::TovAudioMixer(const TovAudioMixer& other) : TovAudioMixer()
{
  masterGain = other.masterGain;
  fadeInTime = other.fadeInTime;
  fadeOutTime = other.fadeOutTime;
  for (int i = 0; i < other.getNumTracksNoLock(); ++i)
    appendTrack(std::make_unique<TovAudioTrack>(*other.getTrackNoLock(i)));
}

TovAudioMixer::~TovAudioMixer()
{
  TovAudioMixer::clear();
}

TovAudioProvider* TovAudioMixer::clone() const
{
  return new TovAudioMixer(*this);
}

// --- Activation -----------------------------------------------------------

int TovAudioMixer::activate(const TovAudioContext& context)
{
  const LockedProvider locked(*this);
  return activateNoLock(context);
}

int TovAudioMixer::activateNoLock(const TovAudioContext& context)
{
  for (int i = 0; i < getNumTracksNoLock(); ++i)
    if (TovAudioProvider* const input = getTrackNoLock(i)->getProvider())
      input->activate(context);
  return 0;
}

int TovAudioMixer::deactivate()
{
  const LockedProvider locked(*this);
  return deactivateNoLock();
}

int TovAudioMixer::deactivateNoLock()
{
  int status = 0;
  for (int i = 0; i < getNumTracksNoLock(); ++i)
    if (TovAudioProvider* const input = getTrackNoLock(i)->getProvider())
      if (input->deactivate() != 0)
        status = 1;
  return status;
}

// --- Mixing ---------------------------------------------------------------

int TovAudioMixer::getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
                            const TovAudioContext& context, double t0, double t1)
{
  const LockedProvider locked(*this);
  return getAudioNoLock(buffers, channelMap, context, t0, t1);
}

int TovAudioMixer::getAudioNoLock(const TovNLPArray<float>& buffers,
                                  const TovNLArray<int>& channelMap, const TovAudioContext& context,
                                  double t0, double t1)
{
  constexpr int kScratchBlocks = 2;

  if (!buffers[0] || !buffers[1] || context.sampleRate < 1)
    return 4;
  const long long frames = std::max(getNumSampleFrames(context, t0, t1), 0LL);
  if (frames > kMostRequestFrames)
    return 1;
  if (getNumTracksNoLock() > 0)
    allocSampleBuffers(std::max(channelMap.getCount(), kScratchBlocks), frames);

  const float silent = TovPcm::dBToFactor(TovPcm::kSilenceDB);
  const Request request{buffers, channelMap, context, t0, t1, frames, silent, isSoloOn()};
  int mixed = 0;
  for (int i = 0; i < getNumTracksNoLock(); ++i)
    if (mixTrack(*getTrackNoLock(i), request, mixed == 0))
      ++mixed;
  return mixed > 0 ? 0 : 5;
}

/** Mixes one track into the outputs; false where it contributes nothing. */
bool TovAudioMixer::mixTrack(const TovAudioTrack& track, const Request& request, bool isFirst)
{
  const TovAudioContext& context = request.context;
  const double ts = track.getStartTime();
  const double te =
      track.getEndTime() < ts + kShortestTrack ? request.t1 + fadeOutTime : track.getEndTime();
  if (!(request.t0 < te && ts < request.t1))
    return false;

  const float gain = track.getGain() * masterGain;
  float leftToLeft, leftToRight, rightToLeft, rightToRight;
  if (!(gain > request.silent) || !isHeard(track, request.soloOn) ||
      TovPcm::getContribution(&leftToLeft, &leftToRight, &rightToLeft, &rightToRight, gain,
                              track.getPan(), track.getWide()) == 0)
    return false;

  float* const left = getSampleBuffers()[0];
  float* const right = getSampleBuffers()[1];
  Scratch scratch{left, right, request.frames};
  double a = request.t0;
  double b = request.t1;
  if (request.t0 < ts) { // Step (1)
    const long long n =
        std::clamp(getNumSampleFrames(context, request.t0, ts), 0LL, scratch.frames);
    TovKernels::fillSilence(scratch.left, n);
    TovKernels::fillSilence(scratch.right, n);
    scratch = {scratch.left + n, scratch.right + n, scratch.frames - n};
    a = ts;
  }
  if (te < request.t1) { // Step (2)
    const long long end = std::clamp(getNumSampleFrames(context, a, te), 0LL, scratch.frames);
    const long long n =
        std::clamp(getNumSampleFrames(context, te, request.t1), 0LL, scratch.frames - end);
    TovKernels::fillSilence(scratch.left + end, n);
    TovKernels::fillSilence(scratch.right + end, n);
    scratch.frames -= n;
    b = te;
  }

  TovNLPArray<float> inputBuffers; // Step (3)
  inputBuffers.append(scratch.left);
  inputBuffers.append(scratch.right);
  const TovAudioContext inner(context.sampleRate, context.quality, context.frameRate, ts);
  TovAudioProvider* const input = track.getProvider();
  if (!input || input->getAudio(inputBuffers, request.channelMap, inner, a, b) != 0)
    return false;

  if (a < ts + fadeInTime) { // Step (4)
    const float step = 1.0f / static_cast<float>(getSampleIndex(context, fadeInTime));
    const long long k0 = ts < a ? getSampleIndex(context, a - ts) : 0;
    const long long n = std::clamp(
        getSampleIndex(context, std::min(ts + fadeInTime - a, fadeInTime)), 0LL, scratch.frames);
    TovKernels::chosen().applyRamp(scratch.left, scratch.right, static_cast<float>(k0) * step, step,
                                   n);
  }
  if (te - fadeOutTime < b) { // Step (5)
    const float step = 1.0f / static_cast<float>(getSampleIndex(context, fadeOutTime));
    const double fs = te - fadeOutTime;
    const long long k0 = fs < a ? getSampleIndex(context, a - fs) : 0;
    const long long n =
        std::clamp(getSampleIndex(context, std::min(b - fs, fadeOutTime)), 0LL, scratch.frames);
    const long long unfaded = scratch.frames - n;
    TovKernels::chosen().applyRamp(scratch.left + unfaded, scratch.right + unfaded,
                                   1.0f - static_cast<float>(k0) * step, -step, n);
  }

  // Step (6)
  const auto mix = isFirst ? TovKernels::chosen().storeMix : TovKernels::chosen().addMix;
  mix(request.outputs[0], left, right,
      {audible(leftToLeft, request.silent), audible(rightToLeft, request.silent)}, request.frames);
  mix(request.outputs[1], left, right,
      {audible(leftToRight, request.silent), audible(rightToRight, request.silent)},
      request.frames);
  return true;
}

bool TovAudioMixer::isSoloOn() const
{
  for (int i = 0; i < getNumTracksNoLock(); ++i)
    if (getTrackNoLock(i)->getSolo())
      return true;
  return false;
}

bool TovAudioMixer::isTrackHeard(const TovAudioTrack* track) const
{
  return track && isHeard(*track, isSoloOn());
}

bool TovAudioMixer::isHeard(const TovAudioTrack& track, bool soloOn)
{
  if (TovMixerSettings::instance().soloOverridesMute->asInt() != 0 && soloOn)
    return track.getSolo();
  return !track.getMute() && (!soloOn || track.getSolo());
}

// --- Tracks ---------------------------------------------------------------

int TovAudioMixer::addProvider(TovAudioProvider* provider)
{
  // Looked at without the lock: what the provider is made of is locked from
  // its side.
  if (!provider || provider->isFedBy(this))
    return 4;
  {
    const LockedProvider locked(*this);
    appendTrack(std::make_unique<TovAudioTrack>(provider));
    try {
      provider->addCallback(childNotifyCallbackStatic, this);
    } catch (...) {
      const int last = getNumTracksNoLock() - 1;
      delete getTrackNoLock(last);
      tracks.removeByIndex(static_cast<unsigned long>(last));
      throw;
    }
  }
  callNotifyCallbacks();
  return 0;
}

int TovAudioMixer::removeProvider(TovAudioProvider* provider)
{
  int index = -1;
  {
    const LockedProvider locked(*this);
    index = getProviderIndex(provider);
    if (index >= 0) {
      TovAudioTrack* const track = getTrackNoLock(index);
      if (provider)
        provider->removeCallback(childNotifyCallbackStatic, this);
      tracks.removeByIndex(static_cast<unsigned long>(index));
      delete track;
    }
  }
  callNotifyCallbacks();
  return index >= 0 ? 0 : 1;
}

void TovAudioMixer::appendTrack(std::unique_ptr<TovAudioTrack> track)
{
  tracks.append(track.get());
  static_cast<void>(track.release()); // the list owns it now
}

/** Unsubscribes from every input and deletes its track. */
void TovAudioMixer::deleteTracks()
{
  for (int i = 0; i < getNumTracksNoLock(); ++i) {
    TovAudioTrack* const track = getTrackNoLock(i);
    if (TovAudioProvider* const input = track->getProvider())
      input->removeCallback(childNotifyCallbackStatic, this);
    delete track;
  }
  tracks.clear();
}

void TovAudioMixer::clear()
{
  {
    const LockedProvider locked(*this);
    deleteTracks();
  }
  callNotifyCallbacks();
}

void TovAudioMixer::initialize()
{
  deleteTracks();
  masterGain = 1.0f;
  fadeInTime = kFadeSeconds;
  fadeOutTime = kFadeSeconds;
}

bool TovAudioMixer::isFedBy(const TovAudioProvider* provider) const
{
  if (provider == this)
    return true;
  const LockedProvider locked(*this);
  for (int i = 0; i < getNumTracksNoLock(); ++i) {
    const TovAudioProvider* const input = getTrackNoLock(i)->getProvider();
    if (input && input->isFedBy(provider))
      return true;
  }
  return false;
}

int TovAudioMixer::getNumTracks() const
{
  const LockedProvider locked(*this);
  return getNumTracksNoLock();
}

int TovAudioMixer::getNumTracksNoLock() const
{
  return static_cast<int>(tracks.getCount());
}

TovAudioTrack* TovAudioMixer::getTrack(TovAudioProvider* provider) const
{
  const LockedProvider locked(*this);
  return getTrackNoLock(provider);
}

TovAudioTrack* TovAudioMixer::getTrack(int index) const
{
  const LockedProvider locked(*this);
  return getTrackNoLock(index);
}

TovAudioTrack* TovAudioMixer::getTrackNoLock(TovAudioProvider* provider) const
{
  return getTrackNoLock(getProviderIndex(provider));
}

TovAudioTrack* TovAudioMixer::getTrackNoLock(int index) const
{
  return index >= 0 ? tracks[static_cast<unsigned long>(index)] : nullptr;
}

int TovAudioMixer::getProviderIndex(TovAudioProvider* provider) const
{
  for (int i = 0; i < getNumTracksNoLock(); ++i)
    if (getTrackNoLock(i)->getProvider() == provider)
      return i;
  return -1;
}

// --- Settings -------------------------------------------------------------

void TovAudioMixer::setMasterGain(float gain)
{
  {
    const LockedProvider locked(*this);
    masterGain = std::clamp(gain, kLowestGain, kHighestGain);
  }
  callNotifyCallbacks();
}

float TovAudioMixer::getMasterGain() const
{
  const LockedProvider locked(*this);
  return masterGain;
}

template <typename Value>
void TovAudioMixer::setTrackValue(TovAudioProvider* provider, void (TovAudioTrack::*setter)(Value),
                                  Value value)
{
  {
    const LockedProvider locked(*this);
    if (TovAudioTrack* const track = getTrackNoLock(provider))
      (track->*setter)(value);
  }
  callNotifyCallbacks();
}

template <typename Value>
Value TovAudioMixer::trackValue(TovAudioProvider* provider, Value (TovAudioTrack::*getter)() const,
                                Value absent) const
{
  const LockedProvider locked(*this);
  const TovAudioTrack* const track = getTrackNoLock(provider);
  return track ? (track->*getter)() : absent;
}

void TovAudioMixer::setGain(TovAudioProvider* provider, float gain)
{
  setTrackValue(provider, &TovAudioTrack::setGain, gain);
}

void TovAudioMixer::setPan(TovAudioProvider* provider, float pan)
{
  setTrackValue(provider, &TovAudioTrack::setPan, pan);
}

void TovAudioMixer::setWide(TovAudioProvider* provider, float wide)
{
  setTrackValue(provider, &TovAudioTrack::setWide, wide);
}

void TovAudioMixer::setMute(TovAudioProvider* provider, bool mute)
{
  setTrackValue(provider, &TovAudioTrack::setMute, mute);
}

void TovAudioMixer::setSolo(TovAudioProvider* provider, bool solo)
{
  setTrackValue(provider, &TovAudioTrack::setSolo, solo);
}

void TovAudioMixer::setStartTime(TovAudioProvider* provider, double seconds)
{
  setTrackValue(provider, &TovAudioTrack::setStartTime, seconds);
}

void TovAudioMixer::setEndTime(TovAudioProvider* provider, double seconds)
{
  setTrackValue(provider, &TovAudioTrack::setEndTime, seconds);
}

void TovAudioMixer::setTimeShift(TovAudioProvider* provider, double seconds)
{
  setTrackValue(provider, &TovAudioTrack::setTimeShift, seconds);
}

float TovAudioMixer::getGain(TovAudioProvider* provider) const
{
  return trackValue(provider, &TovAudioTrack::getGain, 1.0f);
}

float TovAudioMixer::getPan(TovAudioProvider* provider) const
{
  return trackValue(provider, &TovAudioTrack::getPan, 0.0f);
}

float TovAudioMixer::getWide(TovAudioProvider* provider) const
{
  return trackValue(provider, &TovAudioTrack::getWide, 1.0f);
}

bool TovAudioMixer::getMute(TovAudioProvider* provider) const
{
  return trackValue(provider, &TovAudioTrack::getMute, false);
}

bool TovAudioMixer::getSolo(TovAudioProvider* provider) const
{
  return trackValue(provider, &TovAudioTrack::getSolo, false);
}

double TovAudioMixer::getStartTime(TovAudioProvider* provider) const
{
  return trackValue(provider, &TovAudioTrack::getStartTime, 0.0);
}

double TovAudioMixer::getEndTime(TovAudioProvider* provider) const
{
  return trackValue(provider, &TovAudioTrack::getEndTime, 0.0);
}

double TovAudioMixer::getTimeShift(TovAudioProvider* provider) const
{
  return trackValue(provider, &TovAudioTrack::getTimeShift, 0.0);
}

int TovAudioMixer::slideAll(double delta)
{
  {
    const LockedProvider locked(*this);
    const bool soloOn = isSoloOn();
    for (int i = 0; i < getNumTracksNoLock(); ++i) {
      TovAudioTrack* const track = getTrackNoLock(i);
      if (!isHeard(*track, soloOn)) // deliberate: what is not heard stays
        continue;
      track->setStartTime(track->getStartTime() + delta);
      track->setEndTime(track->getEndTime() + delta);
      track->setTimeShift(track->getTimeShift() + delta);
    }
  }
  callNotifyCallbacks();
  if (deserializeCallback)
    deserializeCallback(deserializeCallbackData);
  return 0;
}

void TovAudioMixer::setDeserializeCallback(void (*function)(void*), void* data)
{
  deserializeCallback = function;
  deserializeCallbackData = data;
}

void TovAudioMixer::childNotifyCallback()
{
  callNotifyCallbacks();
}

void TovAudioMixer::childNotifyCallbackStatic(void* mixer)
{
  static_cast<TovAudioMixer*>(mixer)->childNotifyCallback();
}
