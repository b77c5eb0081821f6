#pragma once

#include <string>
#include <vector>

#include "core/TovFile.h"
#include "io/TovAudioReader.h"
#include "io/TovAudioTranslator.h"
#include "io/TovAudioWriter.h"

/** Puts a registry of its own in the place of the library's while it lives:
 *  translators that a test constructs register here, and no other test sees
 *  them. */
class OwnRegistry {
public:
  OwnRegistry()
      : savedTranslators(TovAudioTranslator::_translators),
        savedReadable(TovAudioTranslator::_readableFormats),
        savedWritable(TovAudioTranslator::_writableFormats)
  {
    TovAudioTranslator::_translators = &translators;
    TovAudioTranslator::_readableFormats = &readable;
    TovAudioTranslator::_writableFormats = &writable;
  }
  ~OwnRegistry()
  {
    TovAudioTranslator::_translators = savedTranslators;
    TovAudioTranslator::_readableFormats = savedReadable;
    TovAudioTranslator::_writableFormats = savedWritable;
  }
  OwnRegistry(const OwnRegistry&) = delete;
  OwnRegistry& operator=(const OwnRegistry&) = delete;

  TovPArray<TovAudioTranslator> translators;
  TovName readable;
  TovName writable;

private:
  TovPArray<TovAudioTranslator>* savedTranslators;
  TovName* savedReadable;
  TovName* savedWritable;
};

/** A translator of chosen formats and a chosen header verdict, which notes
 *  what it is asked. */
class NotingTranslator : public TovAudioTranslator {
public:
  using Notes = std::vector<std::string>;

  NotingTranslator(const char* label, const char* readableFormats, const char* writableFormats,
                   int headerVerdict, Notes* notebook)
      : name(label), readable(readableFormats), writable(writableFormats), verdict(headerVerdict),
        notes(notebook)
  {
  }

  TovName getName() const override { return TovName::getString(name); }
  TovName getReadableFormats() const override
  {
    notes->push_back(std::string(name) + " readable");
    return TovName::getString(readable);
  }
  TovName getWritableFormats() const override
  {
    notes->push_back(std::string(name) + " writable");
    return TovName::getString(writable);
  }

  /** Notes where the file stands, and moves it. */
  int checkHeader(TovFile& file) const override
  {
    notes->push_back(std::string(name) + " header at " + std::to_string(file.tell()));
    char bytes[5];
    file.read(bytes, sizeof bytes);
    return verdict;
  }

private:
  const char* name;
  const char* readable;
  const char* writable;
  int verdict;
  Notes* notes;
};
