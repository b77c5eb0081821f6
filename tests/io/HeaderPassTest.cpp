#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/io/OwnRegistry.h"
#include "tests/support/Messages.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

// The header pass of findReader() takes the first translator that does *not*
// recognise the file; what the host gets of unknown suffixes depends on it.

namespace {

using Notes = NotingTranslator::Notes;
using support::Bytes;

TovAudioTranslator* find(const std::string& path)
{
  return TovAudioTranslator::findReader(TovName::getString(path.c_str()), 1);
}

std::string nameFor(const Bytes& content)
{
  const support::TempFolder folder;
  const TovAudioTranslator* const found = find(folder.write("noise.dat", content));
  return found ? found->getName().c_str() : "";
}

TEST(HeaderPass, GivesAPcmWavFileToAiff)
{
  EXPECT_EQ(nameFor(support::wavFile(2, 44100, 16, Bytes().zeros(8))), "Audio IFF");
}

TEST(HeaderPass, GivesAnAiffFileToWav)
{
  EXPECT_EQ(nameFor(support::aiffFile(2, 2, 44100, 16, Bytes().zeros(8))), "Wav");
}

TEST(HeaderPass, GivesAnythingElseToWav)
{
  EXPECT_EQ(nameFor(Bytes()), "Wav");
  EXPECT_EQ(nameFor(Bytes().text("RIFF")), "Wav");
  EXPECT_EQ(nameFor(Bytes().text("no audio in here at all, but some more bytes than a header")),
            "Wav");
}

TEST(HeaderPass, GivesAWavFileOfAnotherFormatTagToWav)
{
  const Bytes floats = Bytes().text("RIFF").u32le(36).text("WAVE").text("fmt ").u32le(16)
      .u16le(3).u16le(1).u32le(8000).u32le(32000).u16le(4).u16le(32)
      .text("data").u32le(0);
  EXPECT_EQ(nameFor(floats), "Wav");
}

TEST(HeaderPass, HappensForNamesWithoutAnySuffixToo)
{
  const support::TempFolder folder;
  EXPECT_NE(find(folder.write("noise", Bytes().text("noise"))), nullptr);
}

TEST(HeaderPass, FindsNoneForAFileThatCannotBeOpened)
{
  const support::TempFolder folder;
  support::Messages messages;
  EXPECT_EQ(find(folder.path("nosuch.dat")), nullptr);
  EXPECT_EQ(find(folder.folder()), nullptr);
  EXPECT_EQ(find(""), nullptr);
  EXPECT_EQ(messages.take(), std::vector<std::string>());
}

TEST(HeaderPass, AsksNoHeaderOfAFileThatCannotBeOpened)
{
  const support::TempFolder folder;
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator any("A", "A{a}", "", 1, &notes);
  EXPECT_EQ(find(folder.path("nosuch.dat")), nullptr);
  EXPECT_EQ(notes, Notes{"A readable"});
}

TEST(HeaderPass, ComesAfterEverySuffixWasAsked)
{
  const support::TempFolder folder;
  const std::string path = folder.write("a.first", Bytes().text("content"));
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator first("A", "A{first}", "", 1, &notes);
  const NotingTranslator second("B", "B{second}", "", 1, &notes);
  EXPECT_EQ(find(path), &first);
  EXPECT_EQ(notes, (Notes{"B readable", "A readable"}));
}

TEST(HeaderPass, TakesTheFirstThatDoesNotRecogniseFromTheLastOn)
{
  const support::TempFolder folder;
  const std::string path = folder.write("noise.dat", Bytes().text("content"));
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator first("A", "", "", 1, &notes);
  const NotingTranslator second("B", "", "", 1, &notes);
  const NotingTranslator third("C", "", "", 0, &notes);
  EXPECT_EQ(find(path), &second);
  EXPECT_EQ(notes,
            (Notes{"C readable", "B readable", "A readable", "C header at 0", "B header at 0"}));
}

TEST(HeaderPass, AnyVerdictButZeroTakesTheTranslator)
{
  const support::TempFolder folder;
  const std::string path = folder.write("noise.dat", Bytes().text("content"));
  for (const int verdict : {1, -1, 2, 256}) {
    const OwnRegistry registry;
    Notes notes;
    const NotingTranslator first("A", "", "", verdict, &notes);
    EXPECT_EQ(find(path), &first) << verdict;
  }
}

TEST(HeaderPass, ShowsEachTranslatorTheFileFromItsStart)
{
  const support::TempFolder folder;
  const std::string path = folder.write("noise.dat", Bytes().text("content"));
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator first("A", "", "", 0, &notes);
  const NotingTranslator second("B", "", "", 0, &notes);
  const NotingTranslator third("C", "", "", 0, &notes);
  find(path);
  notes.erase(notes.begin(), notes.begin() + 3);
  EXPECT_EQ(notes, (Notes{"C header at 0", "B header at 0", "A header at 0"}));
}

TEST(HeaderPass, FindsNoneWhereEveryTranslatorRecognisesTheFile)
{
  const support::TempFolder folder;
  const std::string path = folder.write("noise.dat", Bytes().text("content"));
  const OwnRegistry registry;
  Notes notes;
  const NotingTranslator first("A", "", "", 0, &notes);
  const NotingTranslator second("B", "", "", 0, &notes);
  EXPECT_EQ(find(path), nullptr);
  EXPECT_EQ(notes.size(), 4u);
}

TEST(HeaderPass, ClosesTheFile)
{
  const support::TempFolder folder;
  const std::string noise = folder.write("noise.dat", Bytes().text("content"));
  const std::string wav = folder.write("wav.dat", support::wavFile(1, 8000, 8, Bytes()));
  const int before = support::openDescriptors();
  for (int i = 0; i < 3; ++i) {
    EXPECT_NE(find(noise), nullptr);
    EXPECT_NE(find(wav), nullptr);
  }
  EXPECT_EQ(support::openDescriptors(), before);
}

TEST(HeaderPass, ReportsWhatTheChunkWalksFindOnce)
{
  const Bytes twoFormats = Bytes().text("RIFF").u32le(0).text("WAVE")
      .text("fmt ").u32le(16).u16le(1).u16le(1).u32le(8000).u32le(8000).u16le(1).u16le(8)
      .text("fmt ").u32le(16).u16le(1).u16le(1).u32le(8000).u32le(8000).u16le(1).u16le(8)
      .text("data").u32le(0);
  support::Messages messages;
  EXPECT_EQ(nameFor(twoFormats), "Wav");
  EXPECT_EQ(messages.take(),
            (std::vector<std::string>{"E TovWav: duplicate \"fmt \" chunk found\n"}));
}

} // namespace
