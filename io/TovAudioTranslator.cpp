#include "io/TovAudioTranslator.h"

#include <cstring>

#include "core/TovFile.h"
#include "core/TovSys.h"

namespace {

const char* endOfToken(const char* text, const char* delimiters)
{
  return text + std::strcspn(text, delimiters);
}

/** Visits the translators from the last registered to the first; the first
 *  that @p matches takes, or null. */
template <typename Matches>
TovAudioTranslator* lastThat(Matches matches)
{
  const TovPArray<TovAudioTranslator>* const all = TovAudioTranslator::_translators;
  for (unsigned long i = all ? all->getCount() : 0; i > 0; --i)
    if (matches(*(*all)[i - 1]))
      return (*all)[i - 1];
  return nullptr;
}

/** Whether @p name is a display name or one of the suffixes of @p formats. */
bool namesFormat(const TovName& formats, const TovName& name)
{
  return checkSuffix(formats, name) || checkSuffix(getSuffixes(formats), name);
}

bool isNobodys(const TovName& name)
{
  return name.c_str()[0] == '|';
}

/** Creates the list where there is none and appends what the base knows of the
 *  formats while it is being constructed: nothing. */
void appendFormats(TovName*& list, const TovName& formats)
{
  if (!list)
    list = new TovName;
  if (list->getLength() > 0)
    *list += TovName::getString("|");
  *list += formats;
}

} // namespace

TovAudioTranslator::TovAudioTranslator()
{
  if (!_translators)
    _translators = new TovPArray<TovAudioTranslator>;
  _translators->append(this);
  appendFormats(_readableFormats, TovAudioTranslator::getReadableFormats());
  appendFormats(_writableFormats, TovAudioTranslator::getWritableFormats());
}

TovAudioTranslator::~TovAudioTranslator() = default;

TovName TovAudioTranslator::getName() const
{
  return TovName::nullName;
}

TovName TovAudioTranslator::getReadableFormats() const
{
  return TovName::nullName;
}

TovName TovAudioTranslator::getWritableFormats() const
{
  return TovName::nullName;
}

int TovAudioTranslator::isReadable(const TovName& fileName) const
{
  return checkSuffix(getSuffixes(getReadableFormats()), fileName.suffix(1, '.'));
}

int TovAudioTranslator::isWritable(const TovName& fileName) const
{
  return checkSuffix(getSuffixes(getReadableFormats()), fileName.suffix(1, '.'));
}

int TovAudioTranslator::checkHeader(TovFile&) const
{
  return 0;
}

TovAudioReader* TovAudioTranslator::createReader() const
{
  return nullptr;
}

TovAudioWriter* TovAudioTranslator::createWriter() const
{
  return nullptr;
}

TovAudioTranslator* TovAudioTranslator::findReader(const TovName& name, int byFileName)
{
  if (isNobodys(name))
    return nullptr;

  TovAudioTranslator* const named = lastThat([&](const TovAudioTranslator& translator) {
    return byFileName ? translator.isReadable(name) != 0
                      : namesFormat(translator.getReadableFormats(), name);
  });
  if (named || !byFileName || !_translators || _translators->getCount() == 0)
    return named;

  TovFile file;
  if (file.open(name.c_str(), "r") != 0)
    return nullptr;
  return lastThat([&](const TovAudioTranslator& translator) {
    // Deliberate: the sense of checkHeader() is reversed here, which decides
    // who gets files without a known suffix.
    if (translator.checkHeader(file) != 0)
      return true;
    file.seek(0, 0);
    return false;
  });
}

TovAudioTranslator* TovAudioTranslator::findWriter(const TovName& name, int byFileName)
{
  if (isNobodys(name))
    return nullptr;
  return lastThat([&](const TovAudioTranslator& translator) {
    return byFileName ? translator.isWritable(name) != 0
                      : namesFormat(translator.getWritableFormats(), name);
  });
}

TovName getSuffixes(const TovName& formats)
{
  TovName suffixes;
  const char* text = formats.c_str();
  while (*(text = endOfToken(text, "{"))) {
    do {
      ++text; // the '{' or the separator
      const char* const end = endOfToken(text, "}|;");
      const TovName suffix = TovName::getString(text, static_cast<unsigned long>(end - text));
      suffixes = suffixes.addSep(suffix, '|');
      text = end;
    } while (*text && *text != '}');
  }
  return suffixes;
}

int checkSuffix(const TovName& list, const TovName& name)
{
  const char* text = list.c_str();
  for (;;) {
    const char* end = endOfToken(text, "|{");
    if (end != text) {
      const TovName token = TovName::getString(text, static_cast<unsigned long>(end - text));
      if (TovSys::strcasecmp(token.c_str(), name.c_str()) == 0)
        return 1;
      if (*end == '{')
        end = endOfToken(end, "}");
    }
    if (*end == '\0')
      return 0;
    text = end + 1; // behind the '|' or the '}'; an empty token's '{' is entered
    if (*text == '\0')
      return 0;
  }
}
