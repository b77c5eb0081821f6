#include "app/ForeignSounds.h"

bool hasLibsndfile()
{
  return false;
}

void addForeignSounds() {}

const TovAudioTranslator* foreignSounds()
{
  return nullptr;
}

std::string noticeOnForeign(const std::string&)
{
  return std::string();
}

std::string whyForeign(const std::string&)
{
  return std::string();
}

ForeignSound describeForeignSound(const std::string&)
{
  return ForeignSound();
}

std::string libsndfileError(const std::string&)
{
  return std::string();
}

void readIntegersAsScaledFloats(bool) {}
