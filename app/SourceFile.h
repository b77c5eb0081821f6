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
  std::string formatName;  ///< "WAV" or "AIFF"; "FLAC" and others of libsndfile's
  TovAudioIOFormat format; ///< always valid, with at least one frame per second
  int bits;                ///< per sample, as the header says; 0 where the coding has none
  int keptBits;            ///< that a conversion keeps unless told otherwise
  long long soundOffset;   ///< byte position of the first sample
  std::string encoding;    ///< "16-bit signed integer", "Vorbis"
  std::string whyForeign;  ///< why libsndfile reads it; empty for the library's own readers
  std::string notice;      ///< what the user should know of how it is read; mostly empty
  long long fileBytes;     ///< of the whole file when it was opened

  int channels() const { return static_cast<int>(format.channels); }
  int rate() const { return static_cast<int>(format.sampleRate); }
  int storedBits() const { return static_cast<int>(format.bytesPerSample) * 8; }
  double seconds() const { return static_cast<double>(format.frameCount) / rate(); }
  bool isForeign() const { return !whyForeign.empty(); }
  bool hasScaledFloatSamples() const { return format.encoding == EncFloat32Scaled16; }

  /** Bytes that the samples take. */
  long long soundBytes() const
  {
    return format.frameCount * static_cast<long long>(format.channels) *
           static_cast<long long>(format.bytesPerSample);
  }

  /** Bytes that the file needs for all its samples. */
  long long neededBytes() const { return isForeign() ? fileBytes : soundOffset + soundBytes(); }
};

/** Opens the file once and describes it.  Throws Failure, with the reason,
 *  where the library refuses it or where it is cut short. */
SourceFile openSource(const std::string& name);

/** A reader that stands open on the file.  Throws Failure. */
std::unique_ptr<TovAudioReader> openReader(const SourceFile& source);

/** "libsndfile: the WAV reader refuses it: 32-bit float WAV". */
std::string readerForPeople(const SourceFile& source);
