#pragma once

#include <cstddef>
#include <memory>

#include "core/TovString.h"
#include "graph/TovAudioProvider.h"
#include "graph/TovAudioTrack.h"

class TovFile;
struct TovMixerTrackBlob;

/** Sums any number of providers into one stereo stream.
 *
 *      input -> fades -> pan/width/gain -+
 *      input -> fades -> pan/width/gain -+-> sum -> left, right
 *      input -> fades -> pan/width/gain -+
 *
 *  Every track fades in over 20 ms at its start and out over 20 ms before its
 *  end.  The sum is not limited: it may exceed full scale.
 *
 *  Owns its tracks, which hold a reference to their providers; callers keep
 *  their own.  Subscribes to its inputs' notifications and passes them on.
 *
 *  Locks: operations take providerLock, inputs' locks inside it; the NoLock
 *  ones, isSoloOn(), isTrackHeard(), getProviderIndex(), initialize(), clone()
 *  and setDeserializeCallback() do not.  "Notifies" means: after the lock was
 *  released.  An input must never call into a mixer that contains it while it
 *  holds its own lock.
 */
class TOV_API TovAudioMixer : public TovAudioProvider {
public:
  TovAudioMixer();

  /** Copies the gain, the fade times and every track, with clones of the
   *  inputs, to which the copy does not subscribe. */
  TovAudioMixer(const TovAudioMixer& other);

  TovAudioProvider* clone() const override;

  /** Activates every input, whatever they answer; 0. */
  int activate(const TovAudioContext& context) override;
  int activateNoLock(const TovAudioContext& context);

  /** Deactivates every input; 1 when one of them failed, else 0. */
  int deactivate() override;
  int deactivateNoLock();

  /** Mixes the span [t0, t1) of timeline seconds into the first two buffers:
   *  0; 1 a span above 2^28 frames; 4 fewer than two buffers, a null one, or a
   *  context rate below 1; 5 nothing contributed, buffers untouched.  An input
   *  that returns non-zero is left out. */
  int getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
               const TovAudioContext& context, double t0, double t1) override;
  int getAudioNoLock(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
                     const TovAudioContext& context, double t0, double t1);

  /** The "AMXR" blob: tag, version 2, master gain, and each track's settings
   *  with its input's blob. */
  int serialize(void** out) override;

  /** Reads an "AMXR" blob of version 0, 1 or 2; every track gets a new
   *  TovAudioFile.  With @p append the tracks come behind those that are
   *  there, and the master gain stays; without, the mixer is emptied first.
   *  Calls the deserialize callback, then notifies, whatever was read.
   *
   *  Returns the bytes read; 0 for no blob, another tag or another version.  A
   *  track whose blob its file provider rejects empties the mixer, is reported
   *  through TovSys::error() and ends the reading; what was read then ends
   *  where that blob begins. */
  int deserialize(const void* blob, bool append) override;

  /** The same for a blob of @p size bytes: nothing outside them is read.  A
   *  blob that does not lie inside them is reported and changes nothing when
   *  appending, else leaves the mixer empty: 0. */
  int deserializeBounded(const void* blob, std::size_t size, bool append);

  bool isFedBy(const TovAudioProvider* provider) const override;

  // --- The master mixer --------------------------------------------------

  /** The mixer of the process, made by whoever asks first, with one reference
   *  for the caller.  From then on the host's script saves and loads it. */
  static TovAudioMixer* getMasterMixer();

  /** The host script's hooks: write the audio command, load its argument
   *  (null: none; the setting "gui.addScriptFlag" says whether to append), and
   *  give the command as a string. */
  static void saveAudioStatic(TovFile* file);
  static void loadAudioStatic(const char* text);
  static TovString saveAudioStringStatic();

  static TovAudioMixer* _masterMixer; ///< null until it is asked for

  // --- Tracks ------------------------------------------------------------

  /** Adds a track for @p provider at the end and subscribes to it: 0, and
   *  notifies; 4 for null, the mixer itself or what it feeds, and nothing
   *  changes.  Two additions at the same time that only together close a
   *  circle are the host's mistake. */
  int addProvider(TovAudioProvider* provider);

  /** Removes the first track of @p provider: 0, or 1 where it has none.
   *  Notifies in both cases. */
  int removeProvider(TovAudioProvider* provider);

  /** Removes all tracks; the gain is kept.  Notifies. */
  void clear();

  /** Removes all tracks, sets the gain to 1 and the fades to 20 ms.  Takes no
   *  lock, does not notify. */
  void initialize();

  int getNumTracks() const;
  int getNumTracksNoLock() const;

  /** The first track of the provider, or the track at the index; null where
   *  there is none.  Valid until the track is removed. */
  TovAudioTrack* getTrack(TovAudioProvider* provider) const;
  TovAudioTrack* getTrack(int index) const;
  TovAudioTrack* getTrackNoLock(TovAudioProvider* provider) const;
  TovAudioTrack* getTrackNoLock(int index) const;

  /** Index of the provider's first track, or -1. */
  int getProviderIndex(TovAudioProvider* provider) const;

  bool isSoloOn() const;

  /** Whether mute and solo let the track be heard; the host setting
   *  "sys.audioSoloOverridesMute" decides which of the two wins. */
  bool isTrackHeard(const TovAudioTrack* track) const;

  // --- Settings ----------------------------------------------------------

  /** Level factor of all tracks, clamped to [0, 8].  Notifies. */
  void setMasterGain(float gain);
  float getMasterGain() const;

  // Settings of a provider's first track, clamped as TovAudioTrack's.  Setters
  // notify, also where the provider has no track; getters then return the
  // values of a fresh track, and 0.0 for times.
  void setGain(TovAudioProvider* provider, float gain);
  void setPan(TovAudioProvider* provider, float pan);
  void setWide(TovAudioProvider* provider, float wide);
  void setMute(TovAudioProvider* provider, bool mute);
  void setSolo(TovAudioProvider* provider, bool solo);
  void setStartTime(TovAudioProvider* provider, double seconds);
  void setEndTime(TovAudioProvider* provider, double seconds);
  void setTimeShift(TovAudioProvider* provider, double seconds);
  float getGain(TovAudioProvider* provider) const;
  float getPan(TovAudioProvider* provider) const;
  float getWide(TovAudioProvider* provider) const;
  bool getMute(TovAudioProvider* provider) const;
  bool getSolo(TovAudioProvider* provider) const;
  double getStartTime(TovAudioProvider* provider) const;
  double getEndTime(TovAudioProvider* provider) const;
  double getTimeShift(TovAudioProvider* provider) const;

  /** Moves start, end and shift of every track that is heard by @p delta
   *  seconds; deliberate: the others stay.  Notifies, then calls the
   *  deserialize callback.  0. */
  int slideAll(double delta);

  /** Called after slideAll() and after deserialize(); null for none. */
  void setDeserializeCallback(void (*function)(void*), void* data);

  /** Passes an input's notification on to this mixer's listeners. */
  void childNotifyCallback();
  static void childNotifyCallbackStatic(void* mixer);

protected:
  ~TovAudioMixer() override;

private:
  struct Request;
  bool mixTrack(const TovAudioTrack& track, const Request& request, bool isFirst);
  static bool isHeard(const TovAudioTrack& track, bool soloOn);
  void appendTrack(std::unique_ptr<TovAudioTrack> track);
  bool appendTrackOf(const TovMixerTrackBlob& record, bool append);
  void deleteTracks();
  template <typename Value>
  void setTrackValue(TovAudioProvider* provider, void (TovAudioTrack::*setter)(Value), Value value);
  template <typename Value>
  Value trackValue(TovAudioProvider* provider, Value (TovAudioTrack::*getter)() const,
                   Value absent) const;

  TovPArray<TovAudioTrack> tracks; ///< owned; protected by providerLock
  float masterGain;                ///< protected by providerLock
  double fadeInTime;               ///< seconds; protected by providerLock
  double fadeOutTime;              ///< seconds; protected by providerLock
  void (*deserializeCallback)(void*);
  void* deserializeCallbackData;
};
