// The tables of docs/formats.md beside what the library writes.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>
#include <regex>

#include <gtest/gtest.h>

#include "core/TovScript.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "io/TovAudioTranslator.h"
#include "io/TovAudioWriter.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/TempFolder.h"

namespace {

/** A row "| offset | size | content |"; the size is empty where it varies. */
struct Row {
  std::size_t offset;
  std::string size;
  std::string content;

  /** The bytes that stand in backquotes, if they are all of it. */
  std::string text() const
  {
    const bool isText = content.size() == std::stoul("0" + size) + 2 && content[0] == '`';
    return isText ? content.substr(1, content.size() - 2) : "";
  }

  /** The number behind "LE: " or "BE: " or "version, ". */
  bool holdsNumber(unsigned long& number) const
  {
    std::smatch found;
    if (!std::regex_match(content, found, std::regex("(?:.E: |version, )(\\d+)(?:, .*)?")))
      return false;
    number = std::stoul(found[1]);
    return true;
  }
};

class FormatsDocument : public testing::Test {
protected:
  FormatsDocument()
  {
    std::ifstream file(TOV_FORMATS);
    for (std::string line; std::getline(file, line);)
      lines.push_back(line);
  }

  /** The first table of rows with offsets behind a heading. */
  std::vector<Row> table(const std::string& heading) const
  {
    std::vector<Row> rows;
    auto line = std::find(lines.begin(), lines.end(), heading);
    EXPECT_NE(line, lines.end()) << heading;
    const std::regex pattern("\\| (\\d+) \\| (\\S*) ?\\| (.*) \\|");
    for (; line != lines.end(); ++line) {
      std::smatch found;
      if (std::regex_match(*line, found, pattern))
        rows.push_back({std::stoul(found[1]), found[2], found[3]});
      else if (!rows.empty())
        break;
    }
    return rows;
  }

  /** Expects that rows follow one another, and that the bytes hold the texts
   *  and numbers that the rows say. */
  static void expectLayout(const std::vector<Row>& rows, const std::vector<std::uint8_t>& bytes,
                           bool isBigEndian)
  {
    int compared = 0;
    for (std::size_t i = 0; i + 1 < rows.size(); ++i) {
      const Row& row = rows[i];
      const std::size_t size = std::stoul(row.size);
      EXPECT_EQ(row.offset + size, rows[i + 1].offset) << row.content;
      ASSERT_LE(row.offset + size, bytes.size());
      unsigned long number = 0;
      if (!row.text().empty()) {
        EXPECT_EQ(std::memcmp(&bytes[row.offset], row.text().data(), size), 0) << row.content;
        ++compared;
      } else if (row.holdsNumber(number)) {
        unsigned long held = 0;
        for (std::size_t j = 0; j < size; ++j)
          held = held << 8 | bytes[row.offset + (isBigEndian ? j : size - 1 - j)];
        EXPECT_EQ(held, number) << row.content;
        ++compared;
      }
    }
    EXPECT_GE(compared, 2);
  }

  /** Three frames of 16-bit stereo. */
  static std::vector<std::uint8_t> written(const std::string& name)
  {
    const support::TempFolder folder;
    TovAudioTranslator* const translator =
        TovAudioTranslator::findWriter(TovName::getString(name.c_str()), 1);
    const std::unique_ptr<TovAudioWriter> writer(translator->createWriter());
    TovAudioIOFormat format{};
    format.sampleRate = 48000;
    format.bytesPerSample = 2;
    format.channels = 2;
    support::Buffers buffers(2, 3);
    EXPECT_EQ(writer->initialize(folder.path(name).c_str(), format), 0);
    EXPECT_EQ(writer->writeChannels(buffers.pointers(), 0, 3), 0);
    writer->close();
    return folder.read(name);
  }

  static std::vector<std::uint8_t> blobOf(TovAudioProvider& provider)
  {
    void* blob = nullptr;
    const int length = provider.serialize(&blob);
    const std::unique_ptr<std::uint8_t[]> owned(static_cast<std::uint8_t*>(blob));
    return {owned.get(), owned.get() + length};
  }

  std::vector<std::string> lines;
};

TEST_F(FormatsDocument, WavTableIsTheWrittenHeader)
{
  const std::vector<Row> rows = table("## WAV");
  ASSERT_EQ(rows.size(), 14u);
  EXPECT_EQ(rows.back().offset, 44u);
  expectLayout(rows, written("a.wav"), false);
}

TEST_F(FormatsDocument, AiffTableIsTheWrittenHeader)
{
  const std::vector<Row> rows = table("## AIFF");
  ASSERT_EQ(rows.size(), 14u);
  EXPECT_EQ(rows.back().offset, 54u);
  expectLayout(rows, written("a.aiff"), true);
}

TEST_F(FormatsDocument, ResamplerTableIsTheBlob)
{
  const support::Owned<TovAudioResampler> resampler(new TovAudioResampler(nullptr));
  const std::vector<std::uint8_t> blob = blobOf(*resampler);
  const std::vector<Row> rows = table("### A resampler: ARSM");
  ASSERT_EQ(rows.size(), 5u);
  EXPECT_EQ(rows.back().offset, blob.size());
  expectLayout(rows, blob, true);
}

TEST_F(FormatsDocument, MixerTableIsTheBlob)
{
  const support::Owned<TovAudioMixer> mixer(new TovAudioMixer);
  const std::vector<std::uint8_t> blob = blobOf(*mixer);
  const std::vector<Row> rows = table("### A mixer: AMXR");
  ASSERT_EQ(rows.size(), 5u);
  EXPECT_EQ(rows.back().offset, blob.size());
  expectLayout(rows, blob, true);
}

TEST_F(FormatsDocument, TheLineInTheScriptLoads)
{
  const auto line = std::find_if(lines.begin(), lines.end(), [](const std::string& text) {
    return text.rfind("SetAudio(\"", 0) == 0;
  });
  ASSERT_NE(line, lines.end());
  const support::Owned<TovAudioMixer> mixer(TovAudioMixer::getMasterMixer());
  EXPECT_EQ(TovScript::runAudio(line->c_str()), 0);
  ASSERT_EQ(mixer->getNumTracks(), 1);
  TovAudioFile* const file = dynamic_cast<TovAudioFile*>(mixer->getTrack(0)->getProvider());
  ASSERT_NE(file, nullptr);
  EXPECT_STREQ(file->getFileName(), "out.wav");
  EXPECT_EQ(mixer->getPan(file), -0.25f);
  EXPECT_EQ(mixer->getStartTime(file), 1.5);
  mixer->clear();
}

} // namespace
