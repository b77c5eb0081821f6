#pragma once

#include <cstddef>
#include <vector>

class TovAudioProvider;

/** A position in a blob of known length, or, for the interface that carries no
 *  length, of unknown length.  Reading on past the end gives zeros and is
 *  remembered: nothing outside the blob is touched. */
class TovBlobReader {
public:
  static constexpr std::size_t kUnbounded = static_cast<std::size_t>(-1);

  TovBlobReader(const void* blob, std::size_t size);

  /** Whether everything read so far lay inside the blob. */
  bool isWhole() const { return !isShort; }

  /** Bytes read so far. */
  std::size_t consumed() const { return position; }

  /** Whether the next four bytes are @p tag; does not move. */
  bool startsWith(const char* tag) const;

  /** The same, and moves behind the tag where it is there. */
  bool readTag(const char* tag);

  bool readFlag(); ///< one byte; any but 0 is true
  unsigned short readUShort();
  unsigned int readUInt();
  float readFloat();
  double readDouble();

  /** The text up to and with its closing 0; null where it does not end. */
  const char* readText();

  /** What follows, and how many bytes of it there are. */
  const unsigned char* rest() const { return data + position; }
  std::size_t restSize() const;

private:
  unsigned char* take(std::size_t bytes);
  template <typename Value>
  Value read(Value (*primitive)(unsigned char**), std::size_t bytes);

  const unsigned char* data;
  std::size_t size;
  std::size_t position = 0;
  bool isShort = false;
};

/** A blob being written; grows as needed. */
class TovBlobWriter {
public:
  TovBlobWriter(const char* tag, unsigned int version);

  void writeFlag(bool value);
  void write(unsigned short value);
  void write(unsigned int value);
  void write(float value);
  void write(double value);
  void write(const void* bytes, std::size_t count);

  /** Appends the provider's own blob; nothing where it gives none. */
  void writeBlobOf(TovAudioProvider& provider);

  /** Hands the finished blob to the caller of serialize(): *out receives an
   *  array to be freed with array delete; returns its length.  Null and 0
   *  where the length is no int. */
  int finish(void** out) const;

private:
  template <typename Value>
  void writePrimitive(Value value);

  std::vector<unsigned char> bytes;
};

/** An "AFIL" blob: what a file provider keeps. */
struct TovFileBlob {
  static constexpr char kTag[] = "AFIL";
  static constexpr unsigned int kVersion = 0;

  const char* name; ///< stands in the blob
  unsigned int playbackRate;
  double srcIn;
  double srcOut;

  enum Verdict { Good, OtherTag, OtherVersion, CutShort };
  Verdict read(TovBlobReader& reader);
};

/** One track of an "AMXR" blob. */
struct TovMixerTrackBlob {
  bool mute;
  bool solo;
  float gain;
  float pan;
  float wide;
  double startTime;
  double endTime;
  bool hasTimeShift;
  double timeShift;
  const unsigned char* fileBlob; ///< stands in the blob
  std::size_t fileBlobSize;      ///< bytes that the file provider may read
};

/** An "AMXR" blob: what a mixer keeps.  This is the one description of the
 *  format, for the walk that checks a blob and for the reader alike. */
struct TovMixerBlob {
  static constexpr char kTag[] = "AMXR";
  static constexpr unsigned int kVersion = 2; ///< what is written; 0 and 1 are read

  float masterGain;
  std::vector<TovMixerTrackBlob> tracks; ///< the last one is rejected where the verdict says so
  std::size_t consumed;                  ///< bytes up to the end, or to the rejected file blob

  enum Verdict {
    Good,
    Ignored,  ///< no blob, another tag, or a version of 3 or more
    Rejected, ///< the last track's file blob has another tag or version
    CutShort  ///< what it promises does not lie inside it
  };
  Verdict read(const void* blob, std::size_t size);
};
