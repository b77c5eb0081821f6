#include "app/MixerBlob.h"

#include <algorithm>
#include <memory>

namespace {

constexpr std::size_t kTagBytes = 4;
constexpr unsigned int kLatestMixer = 2;
constexpr unsigned int kLatestFile = 0;

/** A position in a blob; reading on behind its end gives zeros. */
class BlobWalk {
public:
  explicit BlobWalk(std::span<const unsigned char> blob) : bytes(blob) {}

  bool isWhole() const { return !isShort; }
  void skip(std::size_t count) { take(count); }

  std::string tag()
  {
    const std::size_t at = take(kTagBytes);
    return isShort ? std::string() : std::string(text(at, kTagBytes));
  }

  unsigned int number(std::size_t count)
  {
    const std::size_t at = take(count);
    unsigned int value = 0;
    for (std::size_t i = 0; i < count && !isShort; ++i) {
      value = value << 8 | bytes[at + i];
    }
    return value;
  }

  std::string_view takeText()
  {
    const std::string_view rest = text(position, bytes.size() - position);
    const std::size_t length = std::min(rest.find('\0'), rest.size());
    skip(length + 1);
    return rest.substr(0, length);
  }

private:
  std::string_view text(std::size_t at, std::size_t count) const
  {
    return std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())
        .substr(at, count);
  }

  std::size_t take(std::size_t count)
  {
    isShort = isShort || bytes.size() - position < count;
    const std::size_t at = position;
    position = isShort ? bytes.size() : position + count;
    return at;
  }

  std::span<const unsigned char> bytes;
  std::size_t position = 0;
  bool isShort = false;
};

/** Mute and solo came with version 2, the time shift with version 1. */
std::size_t recordBytes(unsigned int version)
{
  constexpr std::size_t kLevels = 12;
  constexpr std::size_t kTimes = 16;
  return kLevels + kTimes + (version >= 1 ? 8 : 0) + (version >= 2 ? 2 : 0);
}

/** Goes over a track's record; false where the walk must end there. */
bool walkTrack(BlobWalk& walk, MixerBlobFindings& findings)
{
  walk.skip(recordBytes(findings.version));
  const std::string tag = walk.tag();
  const bool isFile = walk.isWhole() && tag == "AFIL";
  const unsigned int version = isFile ? walk.number(4) : 0;
  if (walk.isWhole() && (!isFile || version > kLatestFile)) {
    findings.kind = MixerBlobFindings::otherInput;
    findings.inputTag = tag;
    return false;
  }
  const std::string_view name = walk.takeText();
  walk.skip(4 + 8 + 8);
  if (walk.isWhole()) {
    ++findings.tracks;
    findings.names.push_back(name);
  }
  return walk.isWhole();
}

/** Writes numbers as a blob has them. */
class BlobText {
public:
  explicit BlobText(const char* tag) : bytes(tag, tag + kTagBytes) {}

  template <typename Value>
  BlobText& add(Value value)
  {
    bytes.resize(bytes.size() + sizeof value);
    unsigned char* cursor = bytes.data() + bytes.size() - sizeof value;
    TovAudioProvider::writeVal(&cursor, value);
    return *this;
  }

  BlobText& addText(const std::string& text)
  {
    bytes.insert(bytes.end(), text.c_str(), text.c_str() + text.size() + 1);
    return *this;
  }

  const BlobBytes& get() const { return bytes; }

private:
  BlobBytes bytes;
};

} // namespace

MixerBlobFindings examineMixerBlob(std::span<const unsigned char> blob)
{
  MixerBlobFindings findings;
  BlobWalk walk(blob);
  const std::string tag = walk.tag();
  if (walk.isWhole() && tag != "AMXR") {
    findings.kind = MixerBlobFindings::noMixer;
    return findings;
  }
  findings.version = walk.number(4);
  if (walk.isWhole() && findings.version > kLatestMixer) {
    findings.kind = MixerBlobFindings::laterVersion;
    return findings;
  }
  walk.skip(sizeof(float));
  const unsigned int count = walk.number(2);
  for (unsigned int i = 0; i < count; ++i) {
    if (!walkTrack(walk, findings)) {
      return findings;
    }
  }
  findings.kind = walk.isWhole() ? MixerBlobFindings::readable : MixerBlobFindings::cutShort;
  return findings;
}

BlobBytes withoutNames(std::span<const unsigned char> blob, const MixerBlobFindings& findings)
{
  BlobBytes bytes;
  const unsigned char* position = blob.data();
  for (const std::string_view name : findings.names) {
    const unsigned char* const begin = reinterpret_cast<const unsigned char*>(name.data());
    bytes.insert(bytes.end(), position, begin);
    position = begin + name.size();
  }
  bytes.insert(bytes.end(), position, blob.data() + blob.size());
  return bytes;
}

BlobBytes blobOf(TovAudioProvider& provider)
{
  void* out = nullptr;
  const int length = provider.serialize(&out);
  const std::unique_ptr<unsigned char[]> owned(static_cast<unsigned char*>(out));
  return length > 0 && out != nullptr ? BlobBytes(owned.get(), owned.get() + length) : BlobBytes();
}

static BlobBytes fileBlob(const std::string& name, int playRate, double srcIn, double srcOut)
{
  BlobText blob("AFIL");
  blob.add(kLatestFile).addText(name).add(static_cast<unsigned int>(playRate));
  return blob.add(srcIn).add(srcOut).get();
}

int KeptInput::serialize(void** out)
{
  const BlobBytes blob = fileBlob(*name, getPlaybackRate(), getSrcIn(), getSrcOut());
  unsigned char* const bytes = new unsigned char[blob.size()]; // the caller's from here on
  std::copy(blob.begin(), blob.end(), bytes);
  *out = bytes;
  return static_cast<int>(blob.size());
}

void setFileSettings(TovAudioFile& file, int playRate, double srcIn, double srcOut)
{
  const BlobBytes blob = fileBlob(std::string(), playRate, srcIn, srcOut);
  file.deserializeBounded(blob.data(), blob.size(), false);
}

void emptyWithGain(TovAudioMixer& mixer, float masterGain)
{
  BlobText blob("AMXR");
  blob.add(kLatestMixer).add(masterGain).add(static_cast<unsigned short>(0));
  mixer.deserializeBounded(blob.get().data(), blob.get().size(), false);
}
