#pragma once

#include <deque>
#include <functional>
#include <string>

#include "tests/io/OwnRegistry.h"

namespace fuzz {

/** A file format as its translator tells of it. */
struct FormatModel {
  std::string readable = {}; ///< format strings
  std::string writable = {};
  int headerVerdict = 0; ///< on any file's header
};

/** A registry of its own for the library while it lives, and who must answer
 *  there for a name: of the translators that take it, the one added last. */
class RegistryModel {
public:
  /** @p present is the one path at which there is a file. */
  explicit RegistryModel(std::string present);

  /** Registers a translator of the format. */
  void add(const FormatModel& format);

  const TovAudioTranslator* readerOf(const std::string& name, bool byFileName) const;
  const TovAudioTranslator* writerOf(const std::string& name, bool byFileName) const;

private:
  struct Entry {
    Entry(const FormatModel& model, NotingTranslator::Notes& notes);

    const FormatModel format;
    const NotingTranslator translator; ///< refers to the format's texts
  };

  const TovAudioTranslator* lastThat(const std::function<bool(const FormatModel&)>& isTaken) const;

  std::string present;
  OwnRegistry registry;
  NotingTranslator::Notes notes;
  std::deque<Entry> entries;
};

} // namespace fuzz
