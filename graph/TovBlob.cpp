#include "graph/TovBlob.h"

#include <climits>
#include <cstring>
#include <memory>

#include "graph/TovAudioProvider.h"

namespace {

constexpr std::size_t kTagBytes = 4;

} // namespace

// --- Reading --------------------------------------------------------------

TovBlobReader::TovBlobReader(const void* blob, std::size_t bytes)
    : data(static_cast<const unsigned char*>(blob)), size(bytes)
{
}

std::size_t TovBlobReader::restSize() const
{
  return size == kUnbounded ? kUnbounded : size - position;
}

bool TovBlobReader::startsWith(const char* tag) const
{
  return restSize() >= kTagBytes && std::memcmp(rest(), tag, kTagBytes) == 0;
}

bool TovBlobReader::readTag(const char* tag)
{
  return startsWith(tag) && take(kTagBytes);
}

/** The next bytes, or null where there are not so many. */
unsigned char* TovBlobReader::take(std::size_t bytes)
{
  if (isShort || restSize() < bytes) {
    isShort = true;
    return nullptr;
  }
  // The primitives read through the same kind of cursor as they write.
  unsigned char* const taken = const_cast<unsigned char*>(rest());
  position += bytes;
  return taken;
}

template <typename Value>
Value TovBlobReader::read(Value (*primitive)(unsigned char**), std::size_t bytes)
{
  unsigned char* cursor = take(bytes);
  return cursor ? primitive(&cursor) : Value{};
}

bool TovBlobReader::readFlag()
{
  const unsigned char* const byte = take(1);
  return byte && *byte != 0;
}

unsigned short TovBlobReader::readUShort()
{
  return read(TovAudioProvider::readUShort, 2);
}

unsigned int TovBlobReader::readUInt()
{
  return read(TovAudioProvider::readUInt, 4);
}

float TovBlobReader::readFloat()
{
  return read(TovAudioProvider::readFloat, 4);
}

double TovBlobReader::readDouble()
{
  return read(TovAudioProvider::readDouble, 8);
}

const char* TovBlobReader::readText()
{
  const char* const text = reinterpret_cast<const char*>(rest());
  if (size == kUnbounded)
    return take(std::strlen(text) + 1) ? text : nullptr;
  const void* const end = std::memchr(text, 0, restSize());
  const std::size_t bytes = end ? static_cast<std::size_t>(static_cast<const char*>(end) - text) + 1
                                : restSize() + 1; // one more than there are
  return take(bytes) ? text : nullptr;
}

TovFileBlob::Verdict TovFileBlob::read(TovBlobReader& reader)
{
  if (reader.restSize() < kTagBytes)
    return CutShort;
  if (!reader.readTag(kTag))
    return OtherTag;
  const unsigned int version = reader.readUInt();
  if (!reader.isWhole())
    return CutShort;
  if (version != kVersion)
    return OtherVersion;
  name = reader.readText();
  playbackRate = reader.readUInt();
  srcIn = reader.readDouble();
  srcOut = reader.readDouble();
  return reader.isWhole() ? Good : CutShort;
}

TovMixerBlob::Verdict TovMixerBlob::read(const void* blob, std::size_t size)
{
  if (!blob)
    return Ignored;
  TovBlobReader reader(blob, size);
  if (reader.restSize() < kTagBytes)
    return CutShort;
  if (!reader.readTag(kTag))
    return Ignored;
  const unsigned int version = reader.readUInt();
  if (!reader.isWhole())
    return CutShort;
  if (version > kVersion)
    return Ignored;

  masterGain = reader.readFloat();
  const unsigned int count = reader.readUShort();
  for (unsigned int i = 0; i < count && reader.isWhole(); ++i) {
    TovMixerTrackBlob track{};
    track.mute = version == 2 && reader.readFlag();
    track.solo = version == 2 && reader.readFlag();
    track.gain = reader.readFloat();
    track.pan = reader.readFloat();
    track.wide = reader.readFloat();
    track.startTime = reader.readDouble();
    track.endTime = reader.readDouble();
    track.hasTimeShift = version != 0;
    track.timeShift = track.hasTimeShift ? reader.readDouble() : 0.0;
    if (!reader.isWhole())
      break;
    track.fileBlob = reader.rest();
    track.fileBlobSize = reader.restSize();
    consumed = reader.consumed();
    tracks.push_back(track);

    TovFileBlob file;
    const TovFileBlob::Verdict verdict = file.read(reader);
    if (verdict == TovFileBlob::CutShort)
      return CutShort;
    if (verdict != TovFileBlob::Good)
      return Rejected;
  }
  consumed = reader.consumed();
  return reader.isWhole() ? Good : CutShort;
}

// --- Writing --------------------------------------------------------------

TovBlobWriter::TovBlobWriter(const char* tag, unsigned int version)
{
  write(tag, kTagBytes);
  write(version);
}

template <typename Value>
void TovBlobWriter::writePrimitive(Value value)
{
  bytes.resize(bytes.size() + sizeof value);
  unsigned char* cursor = bytes.data() + bytes.size() - sizeof value;
  TovAudioProvider::writeVal(&cursor, value);
}

void TovBlobWriter::writeFlag(bool value)
{
  bytes.push_back(value ? 1 : 0);
}
void TovBlobWriter::write(unsigned short value)
{
  writePrimitive(value);
}
void TovBlobWriter::write(unsigned int value)
{
  writePrimitive(value);
}
void TovBlobWriter::write(float value)
{
  writePrimitive(value);
}
void TovBlobWriter::write(double value)
{
  writePrimitive(value);
}

void TovBlobWriter::write(const void* source, std::size_t count)
{
  const std::size_t end = bytes.size();
  bytes.resize(end + count);
  std::memcpy(bytes.data() + end, source, count);
}

void TovBlobWriter::writeBlobOf(TovAudioProvider& provider)
{
  void* blob = nullptr;
  const int length = provider.serialize(&blob);
  if (length <= 0 || !blob)
    return;
  const std::unique_ptr<unsigned char[]> owned(static_cast<unsigned char*>(blob));
  write(blob, static_cast<std::size_t>(length));
}

int TovBlobWriter::finish(void** out) const
{
  *out = nullptr;
  if (bytes.size() > INT_MAX)
    return 0; // GCOVR_EXCL_LINE: 2 GiB of settings
  unsigned char* const blob = new unsigned char[bytes.size()];
  std::memcpy(blob, bytes.data(), bytes.size());
  *out = blob;
  return static_cast<int>(bytes.size());
}
