#pragma once

#include <string>

class TovAudioTranslator;

/** The text behind the last dot of the path's last part, without the dot;
 *  empty where there is none. */
std::string suffixOf(const std::string& path);

/** The format that goes by the path's suffix; null where there is none.  Asked
 *  before the library's own search, whose second pass looks into the file and
 *  takes a format that did not recognise it. */
TovAudioTranslator* formatBySuffix(const std::string& path);

/** ".wav, .wave, .aif, .aiff": the suffixes of all formats that are written. */
std::string knownSuffixes();

/** The same of all that are read; others may be read too, by what they hold. */
std::string readableSuffixes();

/** "WAV" or "AIFF", or the format's own name where it is another. */
std::string formatNameForPeople(const TovAudioTranslator& format);
