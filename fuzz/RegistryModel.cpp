#include "fuzz/RegistryModel.h"

#include <algorithm>
#include <utility>

#include "fuzz/SuffixModel.h"

namespace fuzz {

namespace {

bool namesFormat(const std::string& formats, const std::string& name)
{
  return name.substr(0, 1) != "|" && (holds(formats, name) || holds(suffixesOf(formats), name));
}

/** Deliberate: for writers as well the readable formats decide. */
bool hasSuffix(const FormatModel& format, const std::string& path)
{
  return holds(suffixesOf(format.readable), lastPart(path, '.'));
}

} // namespace

RegistryModel::Entry::Entry(const FormatModel& model, NotingTranslator::Notes& notes)
    : format(model),
      translator("", format.readable.c_str(), format.writable.c_str(), format.headerVerdict, &notes)
{
}

RegistryModel::RegistryModel(std::string presentPath) : present(std::move(presentPath)) {}

void RegistryModel::add(const FormatModel& format)
{
  entries.emplace_back(format, notes);
}

const TovAudioTranslator*
RegistryModel::lastThat(const std::function<bool(const FormatModel&)>& isTaken) const
{
  const auto found = std::find_if(entries.rbegin(), entries.rend(),
                                  [&](const Entry& entry) { return isTaken(entry.format); });
  return found == entries.rend() ? nullptr : &found->translator;
}

const TovAudioTranslator* RegistryModel::readerOf(const std::string& name, bool byFileName) const
{
  const TovAudioTranslator* const named = lastThat([&](const FormatModel& format) {
    return byFileName ? hasSuffix(format, name) : namesFormat(format.readable, name);
  });
  if (named || !byFileName || name != present)
    return named;
  return lastThat([](const FormatModel& format) { // deliberate: the header is not recognised
    return format.headerVerdict != 0;
  });
}

const TovAudioTranslator* RegistryModel::writerOf(const std::string& name, bool byFileName) const
{
  return lastThat([&](const FormatModel& format) {
    return byFileName ? hasSuffix(format, name) : namesFormat(format.writable, name);
  });
}

} // namespace fuzz
