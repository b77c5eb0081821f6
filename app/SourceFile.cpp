#include "app/SourceFile.h"

#include <limits>

#include <sys/stat.h>

#include "app/Failures.h"
#include "app/FileSuffix.h"
#include "app/ForeignSounds.h"
#include "app/RefusalReason.h"
#include "app/SessionNames.h"
#include "app/SoundExtent.h"
#include "core/TovFile.h"
#include "io/TovAiffReader.h"
#include "io/TovAudioTranslator.h"
#include "io/TovWavReader.h"

/** The library replaces environment variables in a provider's file name.  A
 *  name that is a file as it stands must not turn into another one. */
static std::string resolvedPath(const std::string& name)
{
  const std::string replaced = withVariablesReplaced(name);
  struct stat status = {};
  if (replaced != name && stat(name.c_str(), &status) == 0) {
    throw Failure(name, "its name holds an environment variable, which would be replaced by \"" +
                            shortened(replaced) + "\"; rename the file");
  }
  return replaced;
}

/** What only the header says: bits per sample and where the samples begin. */
static void readHeaderDetails(SourceFile& source)
{
  TovFile file;
  long long soundSize = 0;
  file.open(source.path.c_str(), "r");
  if (source.formatName == "WAV") {
    TovWavFmtChunk fmt = {};
    TovWavReader::getWavDetails(file, &fmt, &source.soundOffset, &soundSize);
    source.bits = fmt.bitsPerSample;
  } else if (source.formatName == "AIFF") {
    TovAiffFmtChunk fmt = {};
    TovAiffReader::getAiffDetails(file, &fmt, &source.soundOffset, &soundSize);
    source.bits = fmt.sampleSize;
  }
}

/** libsndfile would read what is there, without a word. */
static void refuseForeignThatIsCutShort(const SourceFile& source)
{
  const std::string reason = whyCutShort(source.path);
  if (!reason.empty()) {
    throw Failure(source.name, reason);
  }
}

static void refuseWhatIsCutShort(const SourceFile& source)
{
  struct stat status = {};
  if (stat(source.path.c_str(), &status) != 0) {
    throw Failure(source.name, refusalReason(source.path));
  }
  if (status.st_size >= source.neededBytes()) {
    return;
  }
  const long long frameBytes = source.soundBytes() / source.format.frameCount;
  const long long held =
      (status.st_size > source.soundOffset ? status.st_size - source.soundOffset : 0) / frameBytes;
  throw Failure(source.name, "is cut short: its header promises " +
                                 std::to_string(source.format.frameCount) +
                                 " frames, the file holds " + std::to_string(held));
}

std::unique_ptr<TovAudioReader> openReader(const SourceFile& source)
{
  const TovAudioTranslator* format =
      source.isForeign() ? foreignSounds() : formatBySuffix(source.path);
  std::unique_ptr<TovAudioReader> reader(format == nullptr ? nullptr : format->createReader());
  if (!reader || reader->initialize(source.path.c_str()) != 0) {
    throw Failure(source.name, refusalReason(source.path));
  }
  return reader;
}

static std::string ownEncoding(const SourceFile& source)
{
  const std::string bits = std::to_string(source.bits) + "-bit ";
  switch (source.format.encoding) {
  case EncFloat32Scaled16:
    return bits + "scaled float";
  case EncU8:
  case EncU16:
  case EncU24:
  case EncU32:
    return bits + "unsigned integer";
  default:
    return bits + "signed integer";
  }
}

static void describeOwn(SourceFile& source)
{
  source.formatName = formatNameForPeople(*formatBySuffix(source.path));
  source.bits = source.storedBits();
  readHeaderDetails(source);
  source.encoding = ownEncoding(source);
  source.keptBits = source.storedBits();
  refuseWhatIsCutShort(source);
}

static void describeForeign(SourceFile& source)
{
  const ForeignSound sound = describeForeignSound(source.path);
  source.formatName = sound.formatName;
  source.bits = sound.bits;
  source.keptBits = sound.keptBits;
  source.encoding = sound.encoding;
  source.notice = noticeOnForeign(source.path);
  refuseForeignThatIsCutShort(source);
}

static long long sizeOfFile(const SourceFile& source)
{
  struct stat status = {};
  if (stat(source.path.c_str(), &status) != 0) {
    throw Failure(source.name, refusalReason(source.path));
  }
  return status.st_size;
}

SourceFile openSource(const std::string& name)
{
  SourceFile source = {};
  source.name = name;
  source.path = resolvedPath(name);
  source.fileBytes = sizeOfFile(source);
  source.whyForeign = whyForeign(source.path);
  const std::unique_ptr<TovAudioReader> reader = openReader(source);
  if (reader->getFileSpec(&source.format) != 0) {
    throw Failure(name, refusalReason(source.path));
  }
  if (source.format.sampleRate < 1 ||
      source.format.sampleRate > static_cast<unsigned>(std::numeric_limits<int>::max())) {
    throw Failure(name, "a sample rate of " + std::to_string(source.format.sampleRate) +
                            " Hz is not supported");
  }
  if (source.isForeign()) {
    describeForeign(source);
  } else {
    describeOwn(source);
  }
  return source;
}

std::string readerForPeople(const SourceFile& source)
{
  return source.isForeign() ? "libsndfile: " + source.whyForeign
                            : "the library's " + source.formatName + " reader";
}
