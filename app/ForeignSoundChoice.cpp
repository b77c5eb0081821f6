#include "app/ForeignSoundChoice.h"

#include <memory>

#include "app/FileSuffix.h"
#include "app/FirstBytes.h"
#include "app/RefusalReason.h"
#include "app/ScaledFloatInput.h"
#include "app/SoundExtent.h"
#include "core/TovFile.h"
#include "io/TovAiffReader.h"
#include "io/TovAudioTranslator.h"
#include "io/TovWavReader.h"

static std::string withoutEnding(const std::string& text, const std::string& ending)
{
  return text.ends_with(ending) ? text.substr(0, text.size() - ending.size()) : text;
}

/** "32-bit float WAV", where refusals end in that it is not supported. */
static std::string shortRefusal(const std::string& path)
{
  return withoutEnding(withoutEnding(refusalReason(path), ", which is not supported"),
                       " is not supported");
}

static bool isHandledBy(const TovAudioTranslator& format, const std::string& path)
{
  const std::unique_ptr<TovAudioReader> reader(format.createReader());
  TovAudioIOFormat record = {};
  return reader && reader->initialize(path.c_str()) == 0 && reader->getFileSpec(&record) == 0 &&
         record.sampleRate > 0;
}

static std::string sizeFault(long long promised, long long held)
{
  return "its header promises " + std::to_string(promised) + " bytes of sound, the file holds " +
         std::to_string(held);
}

/** The WAV reader goes by the size of the sound chunk. */
static std::string faultOfWav(const std::string& path)
{
  const SoundExtent extent = soundExtentOf(path);
  return extent.verdict == SoundExtent::wrongSize ? sizeFault(extent.stated, extent.held)
                                                  : std::string();
}

/** The AIFF reader goes by the frame count and not by the size of the sound
 *  chunk, which must be wrong as well where the whole file is cut short. */
static std::string faultOfAiff(const std::string& path)
{
  constexpr long long kSoundHeader = 8;
  TovFile file;
  TovAiffFmtChunk format = {};
  long long begin = 0;
  long long counted = 0;
  if (file.open(path.c_str(), "r") != 0 ||
      TovAiffReader::getAiffDetails(file, &format, &begin, &counted) != 0) {
    return std::string();
  }
  counted = static_cast<long long>(format.numSampleFrames) * format.numChannels *
            ((format.sampleSize + 7) / 8);
  const SoundExtent extent = soundExtentOf(path);
  const long long held = extent.held - kSoundHeader;
  const bool isSoundUncounted =
      counted == 0 && (extent.verdict == SoundExtent::wrongSize || extent.stated > kSoundHeader);
  const bool isBeyondEnd = counted > held && extent.verdict != SoundExtent::cutShort;
  const bool isFound = extent.verdict != SoundExtent::unknown;
  return isFound && held > 0 && (isSoundUncounted || isBeyondEnd) ? sizeFault(counted, held)
                                                                  : std::string();
}

static std::string whyNotOwnFormat(const TovAudioTranslator& format, const std::string& path,
                                   bool areIntegersForced)
{
  const std::string name = formatNameForPeople(format);
  const std::string refuses = "the " + name + " reader refuses it: ";
  if (!isHandledBy(format, path)) {
    return refuses + shortRefusal(path);
  }
  if (const std::string fault = name == "WAV" ? faultOfWav(path) : faultOfAiff(path);
      !fault.empty()) {
    return "the " + name + " reader would go by a wrong size: " + fault;
  }
  if (name == "WAV" && !areIntegersForced && holdsIntegers(path)) {
    return "the WAV reader takes 32 bits for floating point, and these are integers by their "
           "values";
  }
  return std::string();
}

static std::string whyNoOwnFormat(const std::string& path)
{
  const std::string suffix = suffixOf(path);
  return suffix.empty() ? "its name has no suffix, by which the library's readers go"
                        : "the library has no reader for ." + suffix + " files";
}

/** Files of the library's 32-bit WAV go through its own reader or none. */
static bool isOwn32BitWav(const std::string& path, bool areIntegersForced)
{
  TovWavReader reader;
  TovAudioIOFormat record = {};
  return reader.initialize(path.c_str()) == 0 && reader.getFileSpec(&record) == 0 &&
         record.encoding == EncFloat32Scaled16 && (areIntegersForced || !holdsIntegers(path));
}

std::string whyNotOwnReader(const std::string& path, bool areIntegersForced)
{
  if (soundFormatByFirstBytes(path).empty()) {
    return std::string();
  }
  if (const TovAudioTranslator* own = formatBySuffix(path)) {
    return whyNotOwnFormat(*own, path, areIntegersForced);
  }
  return isOwn32BitWav(path, areIntegersForced) ? std::string() : whyNoOwnFormat(path);
}

/** Whether the library's reader would take these integers for floats. */
static bool holdsMisreadIntegers(const std::string& path)
{
  TovWavReader reader;
  TovAudioIOFormat record = {};
  return reader.initialize(path.c_str()) == 0 && reader.getFileSpec(&record) == 0 &&
         record.encoding == EncFloat32Scaled16;
}

std::string noticeOnOtherReader(const std::string& path)
{
  if (holdsMisreadIntegers(path)) {
    return "its 32-bit samples are integers by their values and are read as such, not as the "
           "library's floating point (--force reads them so)";
  }
  const SoundExtent extent = soundExtentOf(path);
  return extent.verdict == SoundExtent::wrongSize || !faultOfAiff(path).empty()
             ? "the sizes in its header are wrong; it is read to its end"
             : std::string();
}
