#include "app/RefusalReason.h"

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>

#include <sys/resource.h>
#include <sys/stat.h>

#include "app/FileSuffix.h"
#include "app/FirstBytes.h"
#include "app/ForeignSounds.h"
#include "app/HeaderChunks.h"
#include "app/LibraryMessages.h"
#include "io/TovAudioTranslator.h"

static std::string notSupported(const std::string& what)
{
  return what + " is not supported";
}

static std::string quotedId(const std::string& id)
{
  std::string shown = "\"";
  for (const char c : id) {
    shown += c >= ' ' && c <= '~' ? c : '?';
  }
  return shown + "\"";
}

/** What a file that is neither RIFF nor FORM is known to be by its first bytes. */
static std::string otherFormatByFirstBytes(const std::string& start)
{
  const struct {
    const char* bytes;
    const char* name;
  } known[] = {{"fLaC", "a FLAC file"},     {"OggS", "an Ogg file"},  {"ID3", "an MP3 file"},
               {"\xFF\xFB", "an MP3 file"}, {"caff", "a CAF file"},   {".snd", "an AU file"},
               {"RIFF", "a RIFF file"},     {"FORM", "an AIFF file"}, {"wvpk", "a WavPack file"},
               {"MThd", "a MIDI file"}};
  for (const auto& format : known) {
    if (start.compare(0, std::strlen(format.bytes), format.bytes) == 0) {
      return format.name;
    }
  }
  return std::string();
}

static std::string notOfFormat(const std::string& start, const std::string& formatName)
{
  const bool isWav = start.substr(0, 4) == "RIFF" && start.substr(8) == "WAVE";
  const std::string other = isWav ? "a WAV file" : otherFormatByFirstBytes(start);
  return other.empty() ? "is no " + formatName + " file"
                       : "is " + other + " with the suffix of " + formatName;
}

static std::string missingChunk(HeaderBytes& bytes, const char* descriptionId, const char* soundId,
                                const ChunkPlaces& places)
{
  if (places.isAnyRepeated) {
    return std::string("holds its \"") + descriptionId + "\" or \"" + soundId +
           "\" chunk more than once";
  }
  if (findChunks(bytes, descriptionId, soundId, true).areComplete()) {
    return "holds a pad byte behind a chunk of odd size, which is not supported";
  }
  return std::string("holds no \"") + (places.description < 0 ? descriptionId : soundId) +
         "\" chunk";
}

static std::string badNumbers(const std::string& formatName, std::uint32_t bits,
                              std::uint32_t channels)
{
  if (bits == 0 || bits > 32) {
    return notSupported(std::to_string(bits) + "-bit " + formatName);
  }
  if (channels == 0) {
    return notSupported(formatName + " with 0 channels");
  }
  return std::string();
}

static std::string wavCoding(std::uint32_t formatTag, std::uint32_t bits)
{
  const std::string width = std::to_string(bits) + "-bit ";
  switch (formatTag) {
  case 0x0002:
    return "Microsoft ADPCM WAV";
  case 0x0003:
    return width + "float WAV";
  case 0x0006:
    return "A-law WAV";
  case 0x0007:
    return "mu-law WAV";
  case 0x0011:
    return "IMA ADPCM WAV";
  case 0x0031:
    return "GSM 6.10 WAV";
  case 0x0050:
    return "MPEG WAV";
  case 0x0055:
    return "MP3 WAV";
  case 0xFFFE:
    return width + "extensible WAV";
  default:
    break;
  }
  char text[48];
  (void)std::snprintf(text, sizeof text, "WAV with the format tag 0x%04X", formatTag);
  return text;
}

/** An extensible file says what it holds in a code behind the usual fields. */
static std::string extensibleCoding(HeaderBytes& bytes, const ChunkPlaces& places,
                                    std::uint32_t bits)
{
  constexpr std::uint32_t kInteger = 1;
  constexpr std::uint32_t kSizeWithCode = 26;
  const std::uint32_t code =
      places.descriptionSize >= kSizeWithCode ? bytes.number(places.description + 24, 2) : kInteger;
  if (code == kInteger) {
    return wavCoding(0xFFFE, bits);
  }
  return wavCoding(code, bits) + " (extensible)";
}

static std::string wavReason(HeaderBytes& bytes)
{
  const std::string start = bytes.text(0, 12);
  const std::string id = start.substr(0, 4);
  if (id == "RF64" || id == "BW64") {
    return notSupported(id + " (WAV above 4 GB)");
  }
  if (id == "riff") {
    return notSupported("Wave64 (W64)");
  }
  if (id == "RIFX") {
    return notSupported("big-endian WAV (RIFX)");
  }
  if (id != "RIFF") {
    return notOfFormat(start, "WAV");
  }
  if (start.substr(8) != "WAVE") {
    return "is a RIFF file of type " + quotedId(start.substr(8)) + ", not a WAV file";
  }
  const ChunkPlaces places = findChunks(bytes, "fmt ", "data", false);
  if (!places.areComplete()) {
    return missingChunk(bytes, "fmt ", "data", places);
  }
  if (places.descriptionSize < 16) {
    return "holds a \"fmt \" chunk of " + std::to_string(places.descriptionSize) +
           " bytes, which is too short";
  }
  const std::uint32_t formatTag = bytes.number(places.description, 2);
  const std::uint32_t bits = bytes.number(places.description + 14, 2);
  if (formatTag == 0xFFFE) {
    return notSupported(extensibleCoding(bytes, places, bits));
  }
  if (formatTag != 1) {
    return notSupported(wavCoding(formatTag, bits));
  }
  return badNumbers("WAV", bits, bytes.number(places.description + 2, 2));
}

static std::string compressedAiffReason(HeaderBytes& bytes)
{
  const ChunkPlaces places = findChunks(bytes, "COMM", "SSND", true);
  if (places.description < 0 || places.descriptionSize < 22) {
    return notSupported("compressed AIFF (AIFC)");
  }
  return notSupported("compressed AIFF (AIFC, type " +
                      quotedId(bytes.text(places.description + 18, 4)) + ")");
}

static std::string aiffReason(HeaderBytes& bytes)
{
  const std::string start = bytes.text(0, 12);
  if (start.substr(0, 4) != "FORM") {
    return notOfFormat(start, "AIFF");
  }
  if (start.substr(8) == "AIFC") {
    return compressedAiffReason(bytes);
  }
  if (start.substr(8) != "AIFF") {
    return "is a FORM file of type " + quotedId(start.substr(8)) + ", not an AIFF file";
  }
  const ChunkPlaces places = findChunks(bytes, "COMM", "SSND", false);
  if (!places.areComplete()) {
    return missingChunk(bytes, "COMM", "SSND", places);
  }
  if (places.descriptionSize < 18) {
    return "holds a \"COMM\" chunk of " + std::to_string(places.descriptionSize) +
           " bytes, which is too short";
  }
  return badNumbers("AIFF", bytes.number(places.description + 6, 2),
                    bytes.number(places.description, 2));
}

std::string openFilesForPeople()
{
  struct rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  return "the system lets this program have " + std::to_string(limit.rlim_cur) +
         " (\"ulimit -n\" sets how many)";
}

static std::string systemReason(int errorNumber)
{
  if (errorNumber == ENOENT) {
    return "no such file";
  }
  std::string text = std::strerror(errorNumber);
  text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return errorNumber == EMFILE ? text + " at once: " + openFilesForPeople() : text;
}

/** What keeps any program from reading the file; empty where nothing does. */
static std::string fileReason(const std::string& path)
{
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) {
    return systemReason(errno);
  }
  if (S_ISDIR(status.st_mode)) {
    return "is a folder, not a sound file";
  }
  if (!S_ISREG(status.st_mode)) {
    return "is a pipe or a device; only regular files can be read";
  }
  errno = 0;
  if (!std::ifstream(path, std::ios::binary)) {
    return systemReason(errno == 0 ? EIO : errno);
  }
  return status.st_size == 0 ? "is empty" : "";
}

/** Why libsndfile does not help with a file of one of its formats. */
static std::string foreignReason(const std::string& path)
{
  const std::string format = soundFormatByFirstBytes(path);
  if (format.empty()) {
    return std::string();
  }
  if (!hasLibsndfile()) {
    return "begins as " + format + ", and libsndfile, which would read it, is not there";
  }
  return libsndfileError(path);
}

static std::string suffixReason(const std::string& path)
{
  if (formatBySuffix(path) != nullptr) {
    return std::string();
  }
  if (const std::string reason = foreignReason(path); !reason.empty()) {
    return reason;
  }
  const std::string suffix = suffixOf(path);
  if (TovAudioTranslator::findReader(TovName::getString(suffix.c_str()), 0) != nullptr) {
    return "does not begin as a sound file of any kind that is known";
  }
  return (suffix.empty() ? "has no suffix" : "the suffix ." + suffix + " is not supported") +
         "; files end in " + readableSuffixes();
}

static std::string ownContentReason(const std::string& path)
{
  const std::string format = formatNameForPeople(*formatBySuffix(path));
  if (format == "WAV") {
    HeaderBytes bytes(path, false);
    return wavReason(bytes);
  }
  if (format == "AIFF") {
    HeaderBytes bytes(path, true);
    return aiffReason(bytes);
  }
  return std::string();
}

static std::string contentReason(const std::string& path)
{
  const std::string reason = ownContentReason(path);
  const bool couldBeRead = !hasLibsndfile() && !soundFormatByFirstBytes(path).empty();
  return reason.empty() || !couldBeRead
             ? reason
             : reason + "; libsndfile, which might read it, is not there";
}

std::string refusalReason(const std::string& path)
{
  std::string reason = fileReason(path);
  if (reason.empty()) {
    reason = suffixReason(path);
  }
  if (reason.empty()) {
    reason = contentReason(path);
  }
  if (reason.empty()) {
    reason = lastLibraryError();
  }
  return reason.empty() ? "cannot be read" : reason;
}
