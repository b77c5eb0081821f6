#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "io/TovAiffTranslator.h"
#include "io/TovWavTranslator.h"
#include "tests/io/OwnRegistry.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

namespace {

using Notes = NotingTranslator::Notes;

TovName named(const std::string& text) { return TovName::getString(text.c_str()); }

/** The display name of the translator that the library finds, "" for none. */
std::string reader(const std::string& name, int byFileName)
{
  const TovAudioTranslator* const found = TovAudioTranslator::findReader(named(name), byFileName);
  return found ? found->getName().c_str() : "";
}

std::string writer(const std::string& name, int byFileName)
{
  const TovAudioTranslator* const found = TovAudioTranslator::findWriter(named(name), byFileName);
  return found ? found->getName().c_str() : "";
}

TEST(Registry, HoldsAiffThenWavSinceTheLibraryWasLoaded)
{
  ASSERT_NE(TovAudioTranslator::_translators, nullptr);
  ASSERT_EQ(TovAudioTranslator::_translators->getCount(), 2u);
  EXPECT_NE(dynamic_cast<TovAiffTranslator*>((*TovAudioTranslator::_translators)[0]), nullptr);
  EXPECT_NE(dynamic_cast<TovWavTranslator*>((*TovAudioTranslator::_translators)[1]), nullptr);
}

TEST(Registry, HasEmptyListsOfFormats)
{
  ASSERT_NE(TovAudioTranslator::_readableFormats, nullptr);
  ASSERT_NE(TovAudioTranslator::_writableFormats, nullptr);
  EXPECT_TRUE(*TovAudioTranslator::_readableFormats == TovName::nullName);
  EXPECT_TRUE(*TovAudioTranslator::_writableFormats == TovName::nullName);
}

TEST(FindReader, GoesByTheSuffixWhetherOrNotTheFileExists)
{
  const support::TempFolder folder;
  EXPECT_EQ(reader("take.AIFF", 1), "Audio IFF");
  EXPECT_EQ(reader("take.aif", 1), "Audio IFF");
  EXPECT_EQ(reader("take.wav", 1), "Wav");
  EXPECT_EQ(reader(folder.path("nosuch.Wave"), 1), "Wav");
  EXPECT_EQ(reader("a|b.wav", 1), "Wav");
}

TEST(FindReader, AnyOtherNumberThanZeroMeansByFileName)
{
  EXPECT_EQ(reader("take.wav", -1), "Wav");
  EXPECT_EQ(reader("take.wav", 256), "Wav");
}

TEST(FindReader, TheSuffixIsBelievedMoreThanTheHeader)
{
  const support::TempFolder folder;
  const std::string path = folder.write("a.aiff", support::wavFile(1, 8000, 8, support::Bytes()));
  EXPECT_EQ(reader(path, 1), "Audio IFF");
}

TEST(FindReader, WithoutFileNameTakesDisplayNamesAndBareSuffixes)
{
  EXPECT_EQ(reader("wav", 0), "Wav");
  EXPECT_EQ(reader("WAVE", 0), "Wav");
  EXPECT_EQ(reader("Audio IFF", 0), "Audio IFF");
  EXPECT_EQ(reader("audio iff", 0), "Audio IFF");
  EXPECT_EQ(reader("aif", 0), "Audio IFF");
  EXPECT_EQ(reader("AIFF", 0), "Audio IFF");
}

TEST(FindReader, WithoutFileNameTakesNothingElse)
{
  for (const char* name : {"", "take.wav", ".wav", "wav;wave", "Wav{wav;wave}", "mp3", "|", "|wav",
                           "wav|wave", "IFF"})
    EXPECT_EQ(reader(name, 0), "") << name;
}

TEST(FindReader, WithoutFileNameOpensNoFile)
{
  const support::TempFolder folder;
  EXPECT_EQ(reader(folder.write("noise", support::Bytes().text("noise")), 0), "");
}

TEST(FindReader, TheLastRegisteredIsAskedFirst)
{
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator first("A", "Same{sfx}", "", 0, &notes);
  const NotingTranslator second("B", "Same{sfx}", "", 0, &notes);
  const NotingTranslator third("C", "Other{other}", "", 0, &notes);
  EXPECT_EQ(TovAudioTranslator::findReader(named("a.sfx"), 1), &second);
  EXPECT_EQ(notes, (Notes{"C readable", "B readable"}));
  EXPECT_EQ(TovAudioTranslator::findReader(named("same"), 0), &second);
  EXPECT_EQ(TovAudioTranslator::findReader(named("sfx"), 0), &second);
}

TEST(FindReader, EachTranslatorIsAskedForItsNameAndSuffixesBeforeTheNext)
{
  // One's suffix is the other's display name; whoever registered last wins.
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator first("A", "clash{a}", "", 0, &notes);
  const NotingTranslator second("B", "B{clash}", "", 0, &notes);
  EXPECT_EQ(TovAudioTranslator::findReader(named("clash"), 0), &second);
  const NotingTranslator third("C", "Clash{c}", "", 0, &notes);
  EXPECT_EQ(TovAudioTranslator::findReader(named("clash"), 0), &third);
}

TEST(FindReader, ATranslatorMayStateSeveralFormats)
{
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator several("A", "One{a;b}|Two{c}", "", 0, &notes);
  for (const char* name : {"one", "Two", "a", "B", "c"})
    EXPECT_EQ(TovAudioTranslator::findReader(named(name), 0), &several) << name;
  for (const char* name : {"x.a", "x.B", "x.c"})
    EXPECT_EQ(TovAudioTranslator::findReader(named(name), 1), &several) << name;
}

TEST(FindReader, AsksATranslatorsOwnVerdictOnFileNames)
{
  class Greedy : public TovAudioTranslator {
  public:
    int isReadable(const TovName& name) const override
    {
      return std::strstr(name.c_str(), "mine") ? -5 : 0;
    }
    int isWritable(const TovName& name) const override
    {
      return std::strstr(name.c_str(), "yours") ? 7 : 0;
    }
  };
  const OwnRegistry registry;
  const Greedy greedy;
  EXPECT_EQ(TovAudioTranslator::findReader(named("mine"), 1), &greedy);
  EXPECT_EQ(TovAudioTranslator::findWriter(named("yours"), 1), &greedy);
  EXPECT_EQ(TovAudioTranslator::findWriter(named("mine"), 1), nullptr);
  EXPECT_EQ(TovAudioTranslator::findReader(named("mine"), 0), nullptr);
}

TEST(FindReader, ANameThatBeginsWithABarAsksNobody)
{
  const support::TempFolder folder;
  folder.write("|noise", support::Bytes().text("noise"));
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator first("A", "|{|x;x}", "|{|x;x}", 1, &notes);
  for (const char* name : {"|x.x", "|", "|x", "|noise"})
    for (const int byFileName : {0, 1}) {
      EXPECT_EQ(TovAudioTranslator::findReader(named(name), byFileName), nullptr) << name;
      EXPECT_EQ(TovAudioTranslator::findWriter(named(name), byFileName), nullptr) << name;
    }
  EXPECT_EQ(notes, Notes());
}

TEST(FindReader, ABarInFrontHidesAFileThatExists)
{
  const support::TempFolder folder;
  folder.write("|x.wav", support::wavFile(1, 8000, 8, support::Bytes()));
  folder.write("|noise", support::Bytes().text("noise"));
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.folder());
  EXPECT_EQ(reader("|x.wav", 1), "");
  EXPECT_EQ(reader("|noise", 1), "");
  EXPECT_EQ(reader("./|noise", 1), "Wav");
  std::filesystem::current_path(before);
}

TEST(FindReader, WithoutTranslatorsFindsNone)
{
  const OwnRegistry registry;
  const support::TempFolder folder;
  const std::string path = folder.write("a.wav", support::wavFile(1, 8000, 8, support::Bytes()));
  for (const int byFileName : {0, 1}) {
    EXPECT_EQ(TovAudioTranslator::findReader(named(path), byFileName), nullptr);
    EXPECT_EQ(TovAudioTranslator::findWriter(named(path), byFileName), nullptr);
  }
  TovAudioTranslator::_translators = nullptr;
  for (const int byFileName : {0, 1}) {
    EXPECT_EQ(TovAudioTranslator::findReader(named(path), byFileName), nullptr);
    EXPECT_EQ(TovAudioTranslator::findWriter(named(path), byFileName), nullptr);
  }
}

TEST(FindWriter, GoesByTheSuffixOrByNames)
{
  EXPECT_EQ(writer("take.AIFF", 1), "Audio IFF");
  EXPECT_EQ(writer("take.wav", 1), "Wav");
  EXPECT_EQ(writer("wave", 0), "Wav");
  EXPECT_EQ(writer("Audio IFF", 0), "Audio IFF");
  EXPECT_EQ(writer("aif", 0), "Audio IFF");
  for (const char* name : {"", "take.wav", ".wav", "mp3", "Wav{wav;wave}", "|wav"})
    EXPECT_EQ(writer(name, 0), "") << name;
}

TEST(FindWriter, LooksIntoNoFile)
{
  const support::TempFolder folder;
  const std::string path = folder.write("noise.dat", support::Bytes().text("noise"));
  EXPECT_EQ(reader(path, 1), "Wav");
  EXPECT_EQ(writer(path, 1), "");

  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator any("A", "A{a}", "A{a}", 1, &notes);
  EXPECT_EQ(TovAudioTranslator::findWriter(named(path), 1), nullptr);
  EXPECT_EQ(notes, Notes{"A readable"});
}

TEST(FindWriter, TakesReadableSuffixesOfFileNamesButWritableNames)
{
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator other("A", "In{in}", "Out{out}", 0, &notes);
  EXPECT_EQ(TovAudioTranslator::findWriter(named("a.in"), 1), &other);
  EXPECT_EQ(TovAudioTranslator::findWriter(named("a.out"), 1), nullptr);
  EXPECT_EQ(TovAudioTranslator::findWriter(named("Out"), 0), &other);
  EXPECT_EQ(TovAudioTranslator::findWriter(named("out"), 0), &other);
  EXPECT_EQ(TovAudioTranslator::findWriter(named("In"), 0), nullptr);
  EXPECT_EQ(TovAudioTranslator::findReader(named("In"), 0), &other);
  EXPECT_EQ(TovAudioTranslator::findReader(named("Out"), 0), nullptr);
}

TEST(FindWriter, TheLastRegisteredIsAskedFirst)
{
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator first("A", "Same{sfx}", "Same{sfx}", 0, &notes);
  const NotingTranslator second("B", "Same{sfx}", "Same{sfx}", 0, &notes);
  EXPECT_EQ(TovAudioTranslator::findWriter(named("a.sfx"), 1), &second);
  EXPECT_EQ(TovAudioTranslator::findWriter(named("same"), 0), &second);
  EXPECT_EQ(TovAudioTranslator::findWriter(named("sfx"), 0), &second);
}

} // namespace
