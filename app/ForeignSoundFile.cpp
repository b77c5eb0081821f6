#include "app/ForeignSoundFile.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <mutex>
#include <vector>

#include <sys/stat.h>

#include "app/Libsndfile.h"
#include "app/SoundExtent.h"
#include "app/StreamEnd.h"

/** The bytes of a size that reaches to the end of the file. */
static std::string bytesOfSize(const SoundExtent& extent)
{
  std::string bytes(4, '\0');
  const auto size = static_cast<unsigned long>(std::min(extent.held, 0xFFFFFFFFLL));
  for (int i = 0; i < 4; ++i) {
    const int shift = 8 * (extent.isBigEndian ? 3 - i : i);
    bytes[static_cast<std::size_t>(i)] = static_cast<char>(size >> shift & 0xFF);
  }
  return bytes;
}

/** A sentence of libsndfile's without its end. */
static std::string wordsOf(std::string sentence)
{
  // It says so of any stream that its MP3 decoder cannot start on.
  if (sentence.find("not a regular file") != std::string::npos) {
    return "its decoder finds no stream that it could start on";
  }
  while (sentence.ends_with('.') || sentence.ends_with('\n')) {
    sentence.pop_back();
  }
  return sentence;
}

ForeignSoundFile::ForeignSoundFile() = default;

ForeignSoundFile::~ForeignSoundFile()
{
  close();
}

ForeignSoundFile::Identity ForeignSoundFile::identityOf(const std::string& path)
{
  struct stat status = {};
  stat(path.c_str(), &status);
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
          status.st_mtim.tv_nsec};
}

bool ForeignSoundFile::isOpenOn(const std::string& name) const
{
  return isOpen() && path == name && identity == identityOf(name);
}

SF_VIRTUAL_IO ForeignSoundFile::callbacks()
{
  SF_VIRTUAL_IO io = {};
  io.get_filelen = [](void* data) -> sf_count_t { return static_cast<View*>(data)->length; };
  io.seek = [](sf_count_t offset, int whence, void* data) -> sf_count_t {
    View& seen = *static_cast<View*>(data);
    const sf_count_t base = whence == SEEK_SET   ? 0
                            : whence == SEEK_CUR ? seen.position
                                                 : seen.length;
    sf_count_t target = 0;
    if (__builtin_add_overflow(base, offset, &target) || target < 0) {
      return -1;
    }
    return seen.position = target;
  };
  io.read = [](void* bytes, sf_count_t count, void* data) -> sf_count_t {
    View& seen = *static_cast<View*>(data);
    if (count <= 0 || seen.file.seek(seen.position, 0) == 0) {
      return 0;
    }
    const auto got =
        static_cast<sf_count_t>(seen.file.read(bytes, static_cast<unsigned long>(count)));
    for (std::size_t i = 0; i < seen.patch.size(); ++i) {
      const sf_count_t at = seen.patchAt + static_cast<sf_count_t>(i) - seen.position;
      if (at >= 0 && at < got) {
        static_cast<char*>(bytes)[at] = seen.patch[i];
      }
    }
    seen.position += got;
    return got;
  };
  io.write = [](const void*, sf_count_t, void*) -> sf_count_t { return 0; };
  io.tell = [](void* data) -> sf_count_t { return static_cast<View*>(data)->position; };
  return io;
}

bool ForeignSoundFile::fail(const std::string& why)
{
  close();
  error = why;
  return false;
}

bool ForeignSoundFile::openView()
{
  view = std::make_unique<View>();
  if (view->file.open(path.c_str(), "r") != 0 || view->file.seek(0, 2) == 0) {
    return fail("cannot be opened");
  }
  view->length = view->file.tell();
  if (const std::string reason = whyStreamCutShort(path); !reason.empty()) {
    return fail(reason);
  }
  const SoundExtent extent = soundExtentOf(path);
  if (extent.verdict == SoundExtent::wrongSize && extent.sizeBytes == 4) {
    view->patchAt = extent.sizeAt;
    view->patch = bytesOfSize(extent);
  }
  return true;
}

bool ForeignSoundFile::openSound()
{
  SF_VIRTUAL_IO io = callbacks();
  view->position = 0;
  info = {};
  if (libsndfile() == nullptr) {
    return fail("is read by libsndfile, which is not on this machine");
  }
  sound = libsndfile()->open_virtual(&io, SFM_READ, &info, view.get());
  if (sound == nullptr) {
    return fail("is not read by libsndfile: " + wordsOf(libsndfile()->strerror(nullptr)));
  }
  const bool isUsable = info.channels > 0 && info.samplerate > 0 && info.frames >= 0;
  return isUsable || fail("its header makes no sense");
}

bool ForeignSoundFile::open(const std::string& name)
{
  close();
  path = name;
  identity = identityOf(name);
  const int before = errno; // libsndfile leaves some that mean nothing
  const bool isGood = openView() && openSound() && findLength();
  errno = before;
  return isGood;
}

void ForeignSoundFile::close()
{
  if (sound != nullptr) {
    libsndfile()->close(sound);
  }
  sound = nullptr;
  view.reset();
  frames = 0;
  error.clear();
}

bool ForeignSoundFile::isSeekExact() const
{
  switch (info.format & SF_FORMAT_SUBMASK) {
  case SF_FORMAT_PCM_S8:
  case SF_FORMAT_PCM_U8:
  case SF_FORMAT_PCM_16:
  case SF_FORMAT_PCM_24:
  case SF_FORMAT_PCM_32:
  case SF_FORMAT_FLOAT:
  case SF_FORMAT_DOUBLE:
  case SF_FORMAT_ULAW:
  case SF_FORMAT_ALAW:
    return info.seekable != 0;
  default:
    return false;
  }
}

long long ForeignSoundFile::read(float* samples, long long count)
{
  const int before = errno;
  const long long got = sound == nullptr ? 0 : libsndfile()->readf_float(sound, samples, count);
  errno = before;
  return std::clamp(got, 0LL, count);
}

bool ForeignSoundFile::seek(long long frame)
{
  const int before = errno;
  const bool isThere = sound != nullptr && libsndfile()->seek(sound, frame, SEEK_SET) == frame;
  errno = before;
  return isThere;
}

bool ForeignSoundFile::restart()
{
  if (!view) {
    return false;
  }
  const long long length = frames;
  if (sound != nullptr) {
    libsndfile()->close(sound);
  }
  sound = nullptr;
  const int before = errno;
  const bool isGood = openSound();
  errno = before;
  frames = isGood ? length : 0;
  return isGood;
}

/** Decodes the whole file. */
long long ForeignSoundFile::countFrames()
{
  constexpr long long kSamples = 1 << 16;
  const long long atOnce = std::max(kSamples / info.channels, 1LL);
  std::vector<float> samples(static_cast<std::size_t>(atOnce * info.channels));
  long long counted = 0;
  while (const long long got = read(samples.data(), atOnce)) {
    counted += got;
  }
  return counted;
}

bool ForeignSoundFile::findLength()
{
  static std::mutex lengthMutex;
  static std::map<Identity, long long> countedLengths; // protected by lengthMutex
  const bool isMpeg = (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG;
  const bool isEstimate = isMpeg && !hasStatedMpegLength(path);
  frames = info.frames;
  if (!isEstimate && info.frames != SF_COUNT_MAX) {
    return true;
  }
  const std::lock_guard<std::mutex> guard(lengthMutex);
  const auto known = countedLengths.find(identity);
  if (known != countedLengths.end()) {
    frames = known->second;
    return true;
  }
  frames = countFrames();
  // libsndfile stops where it expects the end, and its guess may be too short.
  if (isEstimate && frames == info.frames) {
    return fail(
        "says nowhere how long it is (no Xing header), and libsndfile's guess is too short");
  }
  countedLengths[identity] = frames;
  return restart();
}
