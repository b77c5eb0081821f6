#include "app/ForeignSounds.h"

#include <atomic>

#include "app/FirstBytes.h"
#include "app/ForeignSoundChoice.h"
#include "app/ForeignSoundFile.h"
#include "app/ForeignSoundTranslator.h"
#include "app/Libsndfile.h"

static std::atomic<const TovAudioTranslator*> added = nullptr;
static std::atomic<bool> areIntegersForced = false;

bool hasLibsndfile()
{
  return libsndfile() != nullptr;
}

void addForeignSounds()
{
  // Never destroyed: a thread may still look for readers while the program exits.
  static const ForeignSoundTranslator* const translator = new ForeignSoundTranslator;
  added = translator;
}

void readIntegersAsScaledFloats(bool isForced)
{
  areIntegersForced = isForced;
}

const TovAudioTranslator* foreignSounds()
{
  return added;
}

std::string whyForeign(const std::string& path)
{
  if (foreignSounds() == nullptr) {
    return std::string();
  }
  const std::string reason = whyNotOwnReader(path, areIntegersForced);
  ForeignSoundFile file;
  return !reason.empty() && file.open(path) ? reason : std::string();
}

std::string noticeOnForeign(const std::string& path)
{
  return noticeOnOtherReader(path);
}

static std::string formatNameOf(const SF_INFO& info)
{
  switch (info.format & SF_FORMAT_TYPEMASK) {
  case SF_FORMAT_WAV:
  case SF_FORMAT_WAVEX:
    return "WAV";
  case SF_FORMAT_RF64:
    return "RF64";
  case SF_FORMAT_W64:
    return "W64";
  case SF_FORMAT_CAF:
    return "CAF";
  case SF_FORMAT_AU:
    return "AU";
  case SF_FORMAT_FLAC:
    return "FLAC";
  case SF_FORMAT_OGG:
    return "Ogg";
  default:
    return std::string();
  }
}

/** libsndfile's name for one part of a format. */
static std::string nameBySndfile(int part)
{
  SF_FORMAT_INFO description = {};
  description.format = part;
  const bool isKnown =
      libsndfile()->command(nullptr, SFC_GET_FORMAT_INFO, &description, sizeof description) == 0;
  return isKnown && description.name != nullptr ? description.name : "unknown";
}

/** Fills in what is told of samples that are stored as numbers. */
static bool describeNumbers(ForeignSound& sound, int subformat)
{
  const struct {
    int subformat;
    int bits;
    int keptBits;
    const char* kind;
  } known[] = {{SF_FORMAT_PCM_S8, 8, 8, "signed integer"},
               {SF_FORMAT_PCM_U8, 8, 8, "unsigned integer"},
               {SF_FORMAT_PCM_16, 16, 16, "signed integer"},
               {SF_FORMAT_PCM_24, 24, 24, "signed integer"},
               {SF_FORMAT_PCM_32, 32, 32, "signed integer"},
               {SF_FORMAT_FLOAT, 32, 24, "float"},
               {SF_FORMAT_DOUBLE, 64, 24, "float"},
               {SF_FORMAT_ULAW, 8, 16, "mu-law"},
               {SF_FORMAT_ALAW, 8, 16, "A-law"}};
  for (const auto& numbers : known) {
    if (numbers.subformat == subformat) {
      sound.bits = numbers.bits;
      sound.keptBits = numbers.keptBits;
      sound.encoding = std::to_string(numbers.bits) + "-bit " + numbers.kind;
      return true;
    }
  }
  return false;
}

ForeignSound describeForeignSound(const std::string& path)
{
  ForeignSound sound;
  ForeignSoundFile file;
  if (!file.open(path)) {
    return sound;
  }
  const SF_INFO& info = file.getInfo();
  sound.formatName = formatNameOf(info);
  if (sound.formatName.empty()) { // AIFF or AIFC, MP3 with or without tags
    sound.formatName = soundFormatByFirstBytes(path);
  }
  if (!describeNumbers(sound, info.format & SF_FORMAT_SUBMASK)) {
    sound.encoding = nameBySndfile(info.format & SF_FORMAT_SUBMASK);
  }
  return sound;
}

std::string libsndfileError(const std::string& path)
{
  ForeignSoundFile file;
  const bool isTried = !soundFormatByFirstBytes(path).empty() && !file.open(path);
  return isTried ? file.getError() : std::string();
}
