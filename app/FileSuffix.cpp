#include "app/FileSuffix.h"

#include "io/TovAiffTranslator.h"
#include "io/TovAudioTranslator.h"
#include "io/TovWavTranslator.h"

std::string suffixOf(const std::string& path)
{
  const std::size_t slash = path.rfind('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const std::size_t dot = name.rfind('.');
  return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

TovAudioTranslator* formatBySuffix(const std::string& path)
{
  // Only the suffix is handed over: a path may begin with a character that the
  // search takes for a list.
  const std::string name = "name." + suffixOf(path);
  return TovAudioTranslator::findWriter(TovName::getString(name.c_str()), 1);
}

std::string knownSuffixes()
{
  std::string suffixes;
  // The format that was registered last is asked first; it is named first too.
  for (unsigned long i = TovAudioTranslator::_translators->getCount(); i-- > 0;) {
    const TovName formats = (*TovAudioTranslator::_translators)[i]->getReadableFormats();
    const TovName list = getSuffixes(formats);
    bool startsSuffix = true;
    for (const char* c = list.c_str(); *c != '\0'; ++c) {
      if (startsSuffix) {
        suffixes += suffixes.empty() ? "." : ", .";
      }
      startsSuffix = *c == '|';
      if (!startsSuffix) {
        suffixes += *c;
      }
    }
  }
  return suffixes;
}

std::string formatNameForPeople(const TovAudioTranslator& format)
{
  if (dynamic_cast<const TovWavTranslator*>(&format) != nullptr) {
    return "WAV";
  }
  if (dynamic_cast<const TovAiffTranslator*>(&format) != nullptr) {
    return "AIFF";
  }
  return format.getName().c_str();
}
