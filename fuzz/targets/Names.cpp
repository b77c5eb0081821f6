#include "fuzz/RegistryModel.h"
#include "fuzz/Seeds.h"
#include "fuzz/SuffixModel.h"
#include "tests/support/TempFolder.h"

// Suffix lists, format strings and the registry's answers to names.

namespace fuzz {

namespace {

TovName named(const std::string& text)
{
  return TovName::getString(text.c_str());
}

void run(Input& input)
{
  FormatModel formats[2];
  for (FormatModel& format : formats)
    format = {input.text().c_str(), input.text().c_str(), input.below(2)}; // up to a 0
  const std::string name = input.text().c_str();
  for (const FormatModel& format : formats) {
    require(getSuffixes(named(format.readable)).c_str() == suffixesOf(format.readable),
            "the suffixes of a format string");
    require((checkSuffix(named(format.readable), named(name)) != 0) == holds(format.readable, name),
            "whether a list holds a name");
  }

  static const std::string present = scratch().write("present", support::Bytes().text("something"));
  RegistryModel model(present);
  for (const FormatModel& format : formats)
    model.add(format);
  for (const bool byFileName : {false, true}) {
    if (byFileName && name.substr(0, 1) == "|") // a path does not begin with the bar
      continue;
    const std::string asked = byFileName ? scratch().path(name) : name;
    require(TovAudioTranslator::findReader(named(asked), byFileName) ==
                model.readerOf(asked, byFileName),
            "who reads a name");
    require(TovAudioTranslator::findWriter(named(asked), byFileName) ==
                model.writerOf(asked, byFileName),
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
