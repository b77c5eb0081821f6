// Who gets which file once the translator on libsndfile is in the registry.
#include <memory>

#include <gtest/gtest.h>

#include "app/ForeignSoundReader.h"
#include "app/ForeignSoundTranslator.h"
#include "app/ForeignSounds.h"
#include "graph/TovAudioFile.h"
#include "io/TovAiffReader.h"
#include "io/TovWavReader.h"
#include "tests/app/ForeignFiles.h"
#include "tests/support/IntegerSound.h"
#include "tests/support/Owned.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;

class ForeignRegistry : public testing::Test {
protected:
  ForeignRegistry() { addForeignSounds(); }

  static TovName nameOf(const std::string& text) { return TovName::getString(text.c_str()); }

  /** The reader that the registry comes to by the path. */
  template <typename Reader>
  void expectReader(const std::string& name) const
  {
    SCOPED_TRACE(name);
    TovAudioTranslator* const found = TovAudioTranslator::findReader(nameOf(folder.path(name)), 1);
    ASSERT_NE(found, nullptr);
    const std::unique_ptr<TovAudioReader> reader(found->createReader());
    EXPECT_NE(dynamic_cast<Reader*>(reader.get()), nullptr);
  }

  support::TempFolder folder;
};

TEST_F(ForeignRegistry, KeepsTheLibrarysFilesForItsReaders)
{
  for (const int bits : {8, 16, 24}) {
    const support::IntegerSound sound = support::randomSound(2, 100, 48000, bits, 1);
    folder.write("a.wav", support::wavOf(sound));
    folder.write("a.WAVE", support::wavOf(sound));
    folder.write("a.aiff", support::aiffOf(sound));
    folder.write("a.aif", support::aiffOf(sound));
    expectReader<TovWavReader>("a.wav");
    expectReader<TovWavReader>("a.WAVE");
    expectReader<TovAiffReader>("a.aiff");
    expectReader<TovAiffReader>("a.aif");
  }
}

TEST_F(ForeignRegistry, LeavesWhatNobodyReadsToTheLibrary)
{
  folder.write("letter.wav", Bytes().text("Hello, this is a letter."));
  folder.write("letter.aiff", Bytes().text("Hello, this is a letter."));
  folder.write("letter", Bytes().text("Hello, this is a letter."));
  folder.write("empty.wav", Bytes());
  expectReader<TovWavReader>("letter.wav");
  expectReader<TovAiffReader>("letter.aiff");
  expectReader<TovWavReader>("letter");
  expectReader<TovWavReader>("empty.wav");
  expectReader<TovWavReader>("gone.wav");
  EXPECT_EQ(TovAudioTranslator::findReader(nameOf(folder.path("gone")), 1), nullptr);
}

TEST_F(ForeignRegistry, GivesEveryOtherFormToLibsndfile)
{
  for (const support::ForeignForm& form : support::foreignForms()) {
    support::writeForeign(folder.path(form.file), form.format, support::foreignSound(2, 5000));
    expectReader<ForeignSoundReader>(form.file);
  }
}

TEST_F(ForeignRegistry, GoesByWhatAFileHoldsWhereTheSuffixSaysNothing)
{
  support::writeForeign(folder.path("a.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
                        support::foreignSound(1, 5000));
  for (const char* const name : {"a", "a.sound", "a.wav", "a.aiff", "a.mp3", ".flac"}) {
    folder.write(name, folder.read("a.flac"));
    expectReader<ForeignSoundReader>(name);
  }
  folder.write("plain", support::wavOf(support::randomSound(1, 100, 48000, 16, 1)));
  expectReader<ForeignSoundReader>("plain");
}

TEST_F(ForeignRegistry, AnswersByNameAsBefore)
{
  EXPECT_STREQ(TovAudioTranslator::findReader(nameOf("wav"), 0)->getName().c_str(), "Wav");
  EXPECT_STREQ(TovAudioTranslator::findReader(nameOf("aif"), 0)->getName().c_str(), "Audio IFF");
  EXPECT_STREQ(TovAudioTranslator::findReader(nameOf("flac"), 0)->getName().c_str(), "libsndfile");
}

TEST_F(ForeignRegistry, WritesNothing)
{
  for (const char* const name : {"a.flac", "a.ogg", "a.mp3", "a.caf", "a.aifc", "a"})
    EXPECT_EQ(TovAudioTranslator::findWriter(nameOf(name), 1), nullptr) << name;
  EXPECT_EQ(TovAudioTranslator::findWriter(nameOf("flac"), 0), nullptr);
  EXPECT_STREQ(TovAudioTranslator::findWriter(nameOf("a.wav"), 1)->getName().c_str(), "Wav");
}

TEST_F(ForeignRegistry, ReachesTheProviderOfFiles)
{
  const support::ForeignSamples sound = support::foreignSound(2, 48000);
  support::writeForeign(folder.path("a.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_24, sound);
  const support::Owned<TovAudioFile> file(new TovAudioFile);
  ASSERT_EQ(file->initialize(folder.path("a.flac").c_str()), 0);
  EXPECT_EQ(file->getSrcOut(), 1.0);
  EXPECT_EQ(file->getPlaybackRate(), 48000);
  const TovAudioContext context(48000, 2, 24.0, 0.0);
  ASSERT_EQ(file->activate(context), 0);
  std::vector<float> right(24000);
  TovNLPArray<float> buffers;
  buffers.append(right.data());
  TovNLArray<int> channels;
  channels.append(1);
  ASSERT_EQ(file->getAudio(buffers, channels, context, 0.25, 0.75), 0);
  for (std::size_t i = 0; i < right.size(); ++i)
    ASSERT_EQ(right[i], sound.samples[2 * (12000 + i) + 1]) << i;
}

TEST_F(ForeignRegistry, IsToldWhyItChose)
{
  const auto why = [&](const char* name) { return whyForeign(folder.path(name)); };
  support::writeForeign(folder.path("a.wav"), SF_FORMAT_WAV | SF_FORMAT_FLOAT,
                        support::foreignSound(1, 100));
  EXPECT_EQ(why("a.wav"), "the WAV reader refuses it: 32-bit float WAV");
  support::writeForeign(folder.path("a.aiff"), SF_FORMAT_AIFF | SF_FORMAT_FLOAT,
                        support::foreignSound(1, 100));
  EXPECT_EQ(why("a.aiff"),
            "the AIFF reader refuses it: compressed AIFF (AIFC, type \"FL32\")");
  support::writeForeign(folder.path("a.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
                        support::foreignSound(1, 100));
  EXPECT_EQ(why("a.flac"), "the library has no reader for .flac files");
  folder.write("a", folder.read("a.flac"));
  EXPECT_EQ(why("a"), "its name has no suffix, by which the library's readers go");
  folder.write("own.wav", support::wavOf(support::randomSound(1, 100, 48000, 16, 1)));
  EXPECT_EQ(why("own.wav"), "");
  EXPECT_EQ(why("gone.wav"), "");
}

} // namespace
