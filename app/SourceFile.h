#pragma once

#include <memory>
#include <string>

#include "io/TovAudioIOFormat.h"
#include "io/TovAudioReader.h"

class Notices;

/** An input that the library can read, as its header describes it. */
struct SourceFile {
  std::string name;        ///< as the user wrote it, for messages
  std::string path;        ///< what is opened
  std::string formatName;  ///< "WAV" or "AIFF"
  TovAudioIOFormat format; ///< always valid, with at least one frame per second
  int bits;                ///< per sample, as the header says
  long long soundOffset;   ///< byte position of the first sample

  int channels() const { return static_cast<int>(format.channels); }
  int rate() const { return static_cast<int>(format.sampleRate); }
  int storedBits() const { return static_cast<int>(format.bytesPerSample) * 8; }
  double seconds() const { return static_cast<double>(format.frameCount) / rate(); }
  bool hasScaledFloatSamples() const { return format.encoding == EncFloat32Scaled16; }

  /** Bytes that the samples take. */
  long long soundBytes() const
  {
    return format.frameCount * static_cast<long long>(format.channels) *
           static_cast<long long>(format.bytesPerSample);
  }

  /** Bytes that the file needs for all its samples. */
  long long neededBytes() const { return soundOffset + soundBytes(); }
};

/** Opens the file once and describes it.  Throws Failure, with the reason,
 *  where the library refuses it or where it is cut short. */
SourceFile openSource(const std::string& name);

/** A reader that stands open on the file.  Throws Failure. */
std::unique_ptr<TovAudioReader> openReader(const SourceFile& source);

/** "16-bit integer", "32-bit scaled float". */
std::string encodingForPeople(const SourceFile& source);
