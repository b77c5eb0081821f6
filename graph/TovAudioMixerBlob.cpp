#include <memory>

#include "core/TovSys.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovBlob.h"

namespace {

// Without a severity, and passed as the format itself.
constexpr char kBadData[] =
    "TovAudioMixer: bad data in SetAudio() call, could not load audio settings\n";

} // namespace

int TovAudioMixer::serialize(void** out)
{
  const LockedProvider locked(*this);
  TovBlobWriter writer(TovMixerBlob::kTag, TovMixerBlob::kVersion);
  writer.write(masterGain);
  writer.write(static_cast<unsigned short>(getNumTracksNoLock())); // modulo 65536
  for (int i = 0; i < getNumTracksNoLock(); ++i) {
    const TovAudioTrack& track = *getTrackNoLock(i);
    writer.writeFlag(track.getMute());
    writer.writeFlag(track.getSolo());
    writer.write(track.getGain());
    writer.write(track.getPan());
    writer.write(track.getWide());
    writer.write(track.getStartTime());
    writer.write(track.getEndTime());
    writer.write(track.getTimeShift());
    if (TovAudioProvider* const input = track.getProvider())
      writer.writeBlobOf(*input);
  }
  return writer.finish(out);
}

int TovAudioMixer::deserialize(const void* blob, bool append)
{
  return deserializeBounded(blob, TovBlobReader::kUnbounded, append);
}

int TovAudioMixer::deserializeBounded(const void* data, std::size_t size, bool append)
{
  TovMixerBlob blob{};
  const TovMixerBlob::Verdict verdict = blob.read(data, size);
  const bool isRead = verdict == TovMixerBlob::Good || verdict == TovMixerBlob::Rejected;
  bool isBad = verdict == TovMixerBlob::CutShort;
  {
    const LockedProvider locked(*this);
    if (!append)
      initialize();
    if (isRead) {
      if (!append)
        masterGain = blob.masterGain; // deliberate: not clamped
      for (const TovMixerTrackBlob& record : blob.tracks) {
        if (!appendTrackOf(record, append)) {
          initialize();
          isBad = true;
          break;
        }
      }
    }
  }
  if (isBad)
    TovSys::error(kBadData);
  if (deserializeCallback)
    deserializeCallback(deserializeCallbackData);
  callNotifyCallbacks();
  return isRead ? static_cast<int>(blob.consumed) : 0;
}

/** Appends a track of a new file provider with a record's settings; false
 *  where the file provider rejects its blob. */
bool TovAudioMixer::appendTrackOf(const TovMixerTrackBlob& record, bool append)
{
  TovAudioFile* const file = new TovAudioFile;
  const auto release = [](TovAudioFile* f) { f->dereference(); };
  const std::unique_ptr<TovAudioFile, decltype(release)> creatorsReference(file, release);

  auto track = std::make_unique<TovAudioTrack>(file);
  track->setMute(record.mute);
  track->setSolo(record.solo);
  track->setGain(record.gain);
  track->setPan(record.pan);
  track->setWide(record.wide);
  track->setStartTime(record.startTime);
  track->setEndTime(record.endTime);
  if (record.hasTimeShift)
    track->setTimeShift(record.timeShift);
  appendTrack(std::move(track));

  if (file->deserializeBounded(record.fileBlob, record.fileBlobSize, append) < 0)
    return false;
  file->addCallback(childNotifyCallbackStatic, this);
  return true;
}
