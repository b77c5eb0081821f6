#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "io/TovAiffReader.h"
#include "io/TovAiffTranslator.h"
#include "io/TovAiffWriter.h"
#include "io/TovWavReader.h"
#include "io/TovWavTranslator.h"
#include "io/TovWavWriter.h"
#include "tests/io/OwnRegistry.h"
#include "tests/support/Bytes.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;

TovName named(const std::string& text) { return TovName::getString(text.c_str()); }

/** What a translator says of the header at @p position of a file. */
int verdict(const TovAudioTranslator& translator, const Bytes& content, long long position = 0)
{
  const support::TempFolder folder;
  TovFile file;
  EXPECT_EQ(file.open(folder.write("header.dat", content).c_str(), "r"), 0);
  EXPECT_NE(file.seek(position, 0), 0);
  return translator.checkHeader(file);
}

Bytes wavWithTag(unsigned int tag, unsigned int channels, unsigned int bits)
{
  return Bytes().text("RIFF").u32le(36).text("WAVE").text("fmt ").u32le(16)
      .u16le(tag).u16le(channels).u32le(8000).u32le(8000).u16le(1).u16le(bits)
      .text("data").u32le(0);
}

TEST(TranslatorBase, NamesNothingMakesNothingAndRefusesNoHeader)
{
  const OwnRegistry registry;
  const TovAudioTranslator base;
  EXPECT_TRUE(base.getName() == TovName::nullName);
  EXPECT_TRUE(base.getReadableFormats() == TovName::nullName);
  EXPECT_TRUE(base.getWritableFormats() == TovName::nullName);
  EXPECT_EQ(base.createReader(), nullptr);
  EXPECT_EQ(base.createWriter(), nullptr);
  EXPECT_EQ(base.isReadable(named("a.wav")), 0);
  EXPECT_EQ(base.isWritable(named("a.wav")), 0);
  EXPECT_EQ(base.isReadable(named("")), 0);
  TovFile closed;
  EXPECT_EQ(base.checkHeader(closed), 0);
}

TEST(TranslatorBase, RegistersItselfAtTheEnd)
{
  const OwnRegistry registry;
  EXPECT_EQ(registry.translators.getCount(), 0u);
  TovAudioTranslator first;
  TovAudioTranslator second;
  TovWavTranslator third;
  ASSERT_EQ(registry.translators.getCount(), 3u);
  EXPECT_EQ(registry.translators[0], &first);
  EXPECT_EQ(registry.translators[1], &second);
  EXPECT_EQ(registry.translators[2], &third);
}

TEST(TranslatorBase, CreatesTheRegistryAndBothListsWhereThereAreNone)
{
  const OwnRegistry registry;
  TovAudioTranslator::_translators = nullptr;
  TovAudioTranslator::_readableFormats = nullptr;
  TovAudioTranslator::_writableFormats = nullptr;
  const TovAudioTranslator first;
  const std::unique_ptr<TovPArray<TovAudioTranslator>> made(TovAudioTranslator::_translators);
  const std::unique_ptr<TovName> readable(TovAudioTranslator::_readableFormats);
  const std::unique_ptr<TovName> writable(TovAudioTranslator::_writableFormats);
  ASSERT_TRUE(made && readable && writable);
  EXPECT_EQ(made->getCount(), 1u);
  EXPECT_EQ((*made)[0], &first);
  EXPECT_TRUE(*readable == TovName::nullName);
  EXPECT_TRUE(*writable == TovName::nullName);

  const TovAudioTranslator second;
  EXPECT_EQ(TovAudioTranslator::_translators, made.get());
  EXPECT_EQ(TovAudioTranslator::_readableFormats, readable.get());
  EXPECT_EQ(made->getCount(), 2u);
}

TEST(TranslatorBase, TheListsOfFormatsStayEmpty)
{
  // While the base is constructed, the formats of the derived class are not
  // there yet.
  OwnRegistry registry;
  const TovWavTranslator wav;
  const TovAiffTranslator aiff;
  EXPECT_STREQ(registry.readable.c_str(), "");
  EXPECT_STREQ(registry.writable.c_str(), "");
}

TEST(TranslatorBase, ListsThatHoldSomethingGrowByABar)
{
  OwnRegistry registry;
  registry.readable = named("X{x}");
  registry.writable = named("Y");
  const TovWavTranslator wav;
  EXPECT_STREQ(registry.readable.c_str(), "X{x}|");
  EXPECT_STREQ(registry.writable.c_str(), "Y|");
  const TovAudioTranslator base;
  EXPECT_STREQ(registry.readable.c_str(), "X{x}||");
  EXPECT_STREQ(registry.writable.c_str(), "Y||");
}

TEST(TranslatorBase, DestructionLeavesTheRegistryAlone)
{
  const OwnRegistry registry;
  TovAudioTranslator kept;
  delete new TovWavTranslator;
  delete new TovAiffTranslator;
  EXPECT_EQ(registry.translators.getCount(), 3u);
  EXPECT_EQ(registry.translators[0], &kept);
}

TEST(TranslatorBase, ReadabilityGoesByTheTextBehindTheLastDot)
{
  const OwnRegistry registry;
  const TovWavTranslator wav;
  for (const char* name :
       {"a.wav", "a.WAVE", ".wav", "take.aiff.wav", "/folder.x/a.Wav", "|x.wav"}) {
    EXPECT_NE(wav.isReadable(named(name)), 0) << name;
    EXPECT_NE(wav.isWritable(named(name)), 0) << name;
  }
  for (const char* name : {"wav", "", "a.wav.", "a.wav.aif", "a.wa", "a.wavee", "a.", "a.wav/b",
                           "a.Audio IFF", "a.wav;wave", "a.wav|wave"}) {
    EXPECT_EQ(wav.isReadable(named(name)), 0) << name;
    EXPECT_EQ(wav.isWritable(named(name)), 0) << name;
  }
}

TEST(TranslatorBase, DisplayNamesAreNoSuffixes)
{
  const OwnRegistry registry;
  NotingTranslator::Notes notes;
  const NotingTranslator other("T", "Name{sfx}", "", 0, &notes);
  EXPECT_EQ(other.isReadable(named("a.Name")), 0);
  EXPECT_NE(other.isReadable(named("a.sfx")), 0);
}

TEST(TranslatorBase, WritabilityAsksTheReadableFormats)
{
  const OwnRegistry registry;
  NotingTranslator::Notes notes;
  const NotingTranslator readOnly("R", "X{xx}", "", 0, &notes);
  EXPECT_NE(readOnly.isWritable(named("a.xx")), 0);
  const NotingTranslator writeOnly("W", "", "Y{yy}", 0, &notes);
  EXPECT_EQ(writeOnly.isWritable(named("a.yy")), 0);
  EXPECT_EQ(notes, (NotingTranslator::Notes{"R readable", "W readable"}));
}

TEST(WavTranslator, StatesItsNameAndFormats)
{
  const OwnRegistry registry;
  const TovWavTranslator wav;
  EXPECT_STREQ(wav.getName().c_str(), "Wav");
  EXPECT_STREQ(wav.getReadableFormats().c_str(), "Wav{wav;wave}");
  EXPECT_STREQ(wav.getWritableFormats().c_str(), "Wav{wav;wave}");
}

TEST(AiffTranslator, StatesItsNameAndFormats)
{
  const OwnRegistry registry;
  const TovAiffTranslator aiff;
  EXPECT_STREQ(aiff.getName().c_str(), "Audio IFF");
  EXPECT_STREQ(aiff.getReadableFormats().c_str(), "Audio IFF{aif;aiff}");
  EXPECT_STREQ(aiff.getWritableFormats().c_str(), "Audio IFF{aif;aiff}");
}

TEST(WavTranslator, MakesANewReaderAndWriterEachTime)
{
  const OwnRegistry registry;
  const TovWavTranslator wav;
  const std::unique_ptr<TovAudioReader> one(wav.createReader()), two(wav.createReader());
  EXPECT_NE(dynamic_cast<TovWavReader*>(one.get()), nullptr);
  EXPECT_NE(one, two);
  const std::unique_ptr<TovAudioWriter> three(wav.createWriter()), four(wav.createWriter());
  EXPECT_NE(dynamic_cast<TovWavWriter*>(three.get()), nullptr);
  EXPECT_NE(three, four);
}

TEST(AiffTranslator, MakesANewReaderAndWriterEachTime)
{
  const OwnRegistry registry;
  const TovAiffTranslator aiff;
  const std::unique_ptr<TovAudioReader> one(aiff.createReader()), two(aiff.createReader());
  EXPECT_NE(dynamic_cast<TovAiffReader*>(one.get()), nullptr);
  EXPECT_NE(one, two);
  const std::unique_ptr<TovAudioWriter> three(aiff.createWriter()), four(aiff.createWriter());
  EXPECT_NE(dynamic_cast<TovAiffWriter*>(three.get()), nullptr);
  EXPECT_NE(three, four);
}

TEST(WavTranslator, ChecksTheHeaderAndTheFormatTagOnly)
{
  const OwnRegistry registry;
  const TovWavTranslator wav;
  EXPECT_EQ(verdict(wav, wavWithTag(1, 2, 16)), 0);
  // Formats that no reader handles are recognised all the same.
  EXPECT_EQ(verdict(wav, wavWithTag(1, 2, 0)), 0);
  EXPECT_EQ(verdict(wav, wavWithTag(1, 2, 64)), 0);
  EXPECT_EQ(verdict(wav, wavWithTag(1, 0, 16)), 0);
  for (const unsigned int tag : {0u, 2u, 3u, 0x101u, 0x100u, 0xfffeu})
    EXPECT_EQ(verdict(wav, wavWithTag(tag, 2, 16)), 1) << tag;
  EXPECT_EQ(verdict(wav, Bytes()), 1);
  EXPECT_EQ(verdict(wav, support::aiffFile(1, 0, 8000, 16, Bytes())), 1);
}

TEST(WavTranslator, ReportsWhatTheChunkWalkFinds)
{
  const OwnRegistry registry;
  const TovWavTranslator wav;
  support::Messages messages;
  EXPECT_EQ(verdict(wav, Bytes().text("RIFF").u32le(0).text("WAVE").text("fmt ").u32le(4).u32le(0)),
            1);
  EXPECT_EQ(messages.take(),
            (std::vector<std::string>{"E TovWav: Unrecognized \"fmt \" chunk found...\n"}));
}

TEST(AiffTranslator, ChecksTheHeaderOnly)
{
  const OwnRegistry registry;
  const TovAiffTranslator aiff;
  EXPECT_EQ(verdict(aiff, support::aiffFile(1, 0, 8000, 16, Bytes())), 0);
  EXPECT_EQ(verdict(aiff, support::aiffFile(1, 0, 8000, 0, Bytes())), 0);
  EXPECT_EQ(verdict(aiff, support::aiffFile(1, 0, 8000, 33, Bytes())), 0);
  EXPECT_EQ(verdict(aiff, support::aiffFile(0, 0, 8000, 16, Bytes())), 0);
  EXPECT_EQ(verdict(aiff, Bytes()), 1);
  EXPECT_EQ(verdict(aiff, wavWithTag(1, 2, 16)), 1);
}

TEST(AiffTranslator, ReportsWhatTheChunkWalkFinds)
{
  const OwnRegistry registry;
  const TovAiffTranslator aiff;
  support::Messages messages;
  EXPECT_EQ(
      verdict(aiff, Bytes().text("FORM").u32be(0).text("AIFF").text("COMM").u32be(4).u32be(0)), 1);
  EXPECT_EQ(messages.take(),
            (std::vector<std::string>{"E TovAiff: Unrecognized \"COMM\" chunk found...\n"}));
}

TEST(WavTranslator, ChecksFromWhereTheFileStands)
{
  const OwnRegistry registry;
  const TovWavTranslator wav;
  const Bytes shifted = Bytes().text("noise").append(wavWithTag(1, 1, 8));
  EXPECT_EQ(verdict(wav, shifted), 1);
  EXPECT_EQ(verdict(wav, shifted, 5), 0);
}

TEST(AiffTranslator, ChecksFromWhereTheFileStands)
{
  const OwnRegistry registry;
  const TovAiffTranslator aiff;
  const Bytes shifted = Bytes().text("noise").append(support::aiffFile(1, 0, 8000, 8, Bytes()));
  EXPECT_EQ(verdict(aiff, shifted), 1);
  EXPECT_EQ(verdict(aiff, shifted, 5), 0);
}

TEST(Translators, LeaveTheCheckedFileOpen)
{
  const OwnRegistry registry;
  const TovWavTranslator wav;
  const support::TempFolder folder;
  TovFile file;
  ASSERT_EQ(file.open(folder.write("a.wav", wavWithTag(1, 2, 16)).c_str(), "r"), 0);
  ASSERT_EQ(wav.checkHeader(file), 0);
  ASSERT_NE(file.seek(0, 0), 0);
  EXPECT_EQ(wav.checkHeader(file), 0);
}

} // namespace
