#include "fuzz/Seeds.h"
#include "fuzz/SuffixModel.h"
#include "tests/io/OwnRegistry.h"
#include "tests/support/TempFolder.h"

// Suffix lists, format strings and the registry's answers to names.

namespace fuzz {

namespace {

using support::Bytes;

TovName named(const std::string& text)
{
  return TovName::getString(text.c_str());
}

std::string lastPart(const std::string& name, char separator)
{
  const std::size_t found = name.rfind(separator);
  return found == std::string::npos ? "" : name.substr(found + 1);
}

struct Format {
  std::string readable;
  std::string writable;
  int verdict;

  bool takes(const std::string& formats, const std::string& name, bool byFileName) const
  {
    return byFileName ? holds(suffixesOf(readable), lastPart(name, '.'))
                      : holds(formats, name) || holds(suffixesOf(formats), name);
  }
};

void run(Input& input)
{
  Format formats[2];
  for (Format& format : formats)
    format = {input.text().c_str(), input.text().c_str(), input.below(2)}; // up to a 0
  const std::string name = input.text().c_str();

  const OwnRegistry registry;
  NotingTranslator::Notes notes;
  const NotingTranslator first("1", formats[0].readable.c_str(), formats[0].writable.c_str(),
                               formats[0].verdict, &notes);
  const NotingTranslator last("2", formats[1].readable.c_str(), formats[1].writable.c_str(),
                              formats[1].verdict, &notes);
  const auto chosen = [&](auto isTaken) -> const TovAudioTranslator* {
    return name.substr(0, 1) == "|" ? nullptr
           : isTaken(formats[1])    ? &last
           : isTaken(formats[0])    ? &first
                                    : nullptr;
  };
  const std::string path = scratch().path(name);
  static const std::string present = scratch().write("present", Bytes().text("something"));
  for (const Format& format : formats) {
    require(getSuffixes(named(format.readable)).c_str() == suffixesOf(format.readable),
            "the suffixes of a format string");
    require((checkSuffix(named(format.readable), named(name)) != 0) == holds(format.readable, name),
            "whether a list holds a name");
  }
  for (const bool byFileName : {false, true}) {
    const std::string& asked = byFileName ? path : name;
    const auto reads = [&](const Format& f) { return f.takes(f.readable, asked, byFileName); };
    const auto writes = [&](const Format& f) { return f.takes(f.writable, asked, byFileName); };
    const TovAudioTranslator* reader = chosen(reads);
    if (byFileName && !reader && path == present) // deliberate: the header is not recognised
      reader = chosen([](const Format& f) { return f.verdict != 0; });
    const bool isNobodys = !byFileName && name.substr(0, 1) == "|";
    if (byFileName && name.substr(0, 1) == "|") // a path does not begin with the bar
      continue;
    require(TovAudioTranslator::findReader(named(asked), byFileName) ==
                (isNobodys ? nullptr : reader),
            "who reads a name");
    require(TovAudioTranslator::findWriter(named(asked), byFileName) ==
                (isNobodys ? nullptr : chosen(writes)),
            "who writes a name");
  }
  const TovName joined = named(name).addSep(named(formats[0].readable), '.');
  require(joined.suffix(1, '.').c_str() == lastPart(joined.c_str(), '.'),
          "the last part of a name");
  require(named(name).suffix(2, '.').getLength() <= name.size(), "a part is no longer");
}

} // namespace

extern const Target namesTarget;
const Target namesTarget = {"names", run, namesSeeds,
                            "io/TovAudioTranslator.cpp hostcore/TovName.cpp"};

} // namespace fuzz
