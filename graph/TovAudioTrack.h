#pragma once

#include "core/TovExport.h"

class TovAudioProvider;

/** One input of a mixer: the provider and its place, level and position in the
 *  mix.
 *
 *  Holds one reference to its provider.  Locks nothing and notifies nobody:
 *  the mixer's own operations do; whoever holds a track of a mixer changes it
 *  at its own risk.
 */
class TOV_API TovAudioTrack {
public:
  /** References @p provider.  The track starts one frame of the host's
   *  timeline in ("script.framesPerSecond") and has no end. */
  explicit TovAudioTrack(TovAudioProvider* provider);

  /** Copies all settings and clones the provider: copies share no input. */
  TovAudioTrack(const TovAudioTrack& other);
  TovAudioTrack& operator=(const TovAudioTrack&) = delete;

  virtual ~TovAudioTrack(); ///< drops the reference

  TovAudioProvider* getProvider() const;

  bool getMute() const;
  bool getSolo() const;
  float getGain() const;       ///< linear level factor, 0 to 8
  float getPan() const;        ///< -1 (left) to 1 (right)
  float getWide() const;       ///< stereo width, -1 (swapped) to 1 (full)
  double getStartTime() const; ///< timeline seconds at which the input's time 0 falls
  double getEndTime() const;   ///< timeline seconds; not above the start: no end
  double getTimeShift() const; ///< seconds; kept and moved along, not used in mixing

  void setMute(bool mute);
  void setSolo(bool solo);
  void setGain(float gain); ///< clamped to [0, 8]
  void setPan(float pan);   ///< clamped to [-1, 1]
  void setWide(float wide); ///< clamped to [-1, 1]
  void setStartTime(double seconds);
  void setEndTime(double seconds);
  void setTimeShift(double seconds);

private:
  TovAudioProvider* provider;
  bool mute;
  bool solo;
  float gain;
  float pan;
  float wide;
  double startTime;
  double endTime;
  double timeShift;
};
