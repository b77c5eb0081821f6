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

/** ".wav, .wave, .aif" of the format strings that @p formatsOf gives. */
template <typename FormatsOf>
static std::string suffixesBy(FormatsOf formatsOf)
{
  std::string suffixes;
  // The format that was registered last is asked first; it is named first too.
  for (unsigned long i = TovAudioTranslator::_translators->getCount(); i > 0; --i) {
    const TovName list = getSuffixes(formatsOf(*(*TovAudioTranslator::_translators)[i - 1]));
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

std::string knownSuffixes()
{
  return suffixesBy([](const TovAudioTranslator& format) { return format.getWritableFormats(); });
}

std::string readableSuffixes()
{
  return suffixesBy([](const TovAudioTranslator& format) { return format.getReadableFormats(); });
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
