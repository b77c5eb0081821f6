#pragma once

#include "core/TovExport.h"
#include "core/TovName.h"
#include "core/TovPArray.h"

class TovAudioReader;
class TovAudioWriter;
class TovFile;

/** One file format: its name and suffixes, its header check, and the maker of
 *  its readers and writers.
 *
 *  Constructing a translator registers it for the rest of the process; it must
 *  live as long.  The library registers AIFF and WAV, in this order, when it
 *  is loaded.  The registry is built while libraries load and only read
 *  afterwards; then any thread.
 *
 *  A format string is a display name and a brace group of suffixes:
 *  "Audio IFF{aif;aiff}"; several may be joined by '|'.
 */
class TOV_API TovAudioTranslator {
public:
  TovAudioTranslator();
  virtual ~TovAudioTranslator();
  TovAudioTranslator(const TovAudioTranslator&) = delete;
  TovAudioTranslator& operator=(const TovAudioTranslator&) = delete;

  /** The display name; the base has none. */
  virtual TovName getName() const;

  /** The format string for reading; the base has none. */
  virtual TovName getReadableFormats() const;

  /** The format string for writing; the base has none. */
  virtual TovName getWritableFormats() const;

  /** Non-zero when the name's suffix is one of the readable formats'. */
  virtual int isReadable(const TovName& fileName) const;

  /** Deliberate: the same computation, on the readable formats as well. */
  virtual int isWritable(const TovName& fileName) const;

  /** 0 when the file, read from its position, starts as one of this format. */
  virtual int checkHeader(TovFile& file) const;

  /** A new reader, owned by the caller; the base makes none (null). */
  virtual TovAudioReader* createReader() const;

  /** A new writer, owned by the caller; the base makes none (null). */
  virtual TovAudioWriter* createWriter() const;

  /** The translator for @p name, or null; the last registered is asked first.
   *  With @p byFileName, @p name is a path: first by its suffix, then by the
   *  file's header.  Without, it is a display name or a bare suffix.
   *
   *  Deliberate: the header pass takes the first translator whose
   *  checkHeader() is non-zero, that is the first that does *not* recognise
   *  the file.  A name that begins with '|' is nobody's. */
  static TovAudioTranslator* findReader(const TovName& name, int byFileName);

  /** As findReader(), for writing; no header pass. */
  static TovAudioTranslator* findWriter(const TovName& name, int byFileName);

  /** All translators in order of construction; null before the first. */
  static TovPArray<TovAudioTranslator>* _translators;

  /** Joined format strings as the base sees them while it is constructed,
   *  that is none: deliberate, both stay empty. */
  static TovName* _readableFormats;
  static TovName* _writableFormats;
};

/** The suffixes of every brace group of a format string, joined by '|':
 *  "Audio IFF{aif;aiff}" gives "aif|aiff". */
TOV_API TovName getSuffixes(const TovName& formats);

/** 1 when @p name, without regard to case, is one of the names of @p list,
 *  which are separated by '|'; brace groups behind names are passed over. */
TOV_API int checkSuffix(const TovName& list, const TovName& name);
