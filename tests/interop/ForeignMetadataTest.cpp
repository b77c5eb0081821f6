// What other programs put around the samples: texts, broadcast and cart
// chunks, cue points, markers, instruments, peaks, tags.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/interop/Commands.h"
#include "tests/interop/ForeignFacts.h"
#include "tests/interop/LibraryFiles.h"
#include "tests/interop/Sndfile.h"

namespace {

using support::IntegerSound;

class ForeignMetadata : public testing::Test {
protected:
  static IntegerSound sound() { return support::randomSound(2, 501, 48000, 16, 9); }

  /** The chunks of a file by their names, one blank behind each. */
  std::string chunksOf(const std::string& name) const
  {
    const std::vector<std::uint8_t> file = folder.read(name);
    const bool isBigEndian = file.at(0) == 'F';
    std::string names;
    for (std::size_t position = 12; position + 8 <= file.size();) {
      std::size_t size = 0;
      for (std::size_t i = 0; i < 4; ++i)
        size |= std::size_t(file[position + 4 + i]) << (8 * (isBigEndian ? 3 - i : i));
      names.append(file.begin() + static_cast<std::ptrdiff_t>(position),
                   file.begin() + static_cast<std::ptrdiff_t>(position) + 4);
      names += ' ';
      position += 8 + size + size % 2;
    }
    return names;
  }

  /** The file holds these chunks, in this order, and reads as the sound. */
  void expectRead(const std::string& name, const std::string& chunks) const
  {
    SCOPED_TRACE(name);
    EXPECT_EQ(chunksOf(name), chunks);
    support::expectReadEqual(folder.path(name), sound());
    support::expectReadAsBySndfile(folder.path(name));
  }

  /** The same of a file of libsndfile's that @p prepare does something to
   *  before its samples. */
  template <typename Prepare>
  void writeBySndfile(const std::string& name, Prepare prepare) const
  {
    SF_INFO info = {};
    info.samplerate = sound().rate;
    info.channels = sound().channelCount();
    info.format = (name.ends_with(".wav") ? SF_FORMAT_WAV : SF_FORMAT_AIFF) | SF_FORMAT_PCM_16;
    SNDFILE* const file = ::sf_open(folder.path(name).c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    prepare(file);
    const std::vector<std::int32_t> samples = support::interleaved32(sound());
    EXPECT_EQ(::sf_writef_int(file, samples.data(), sound().frames()), sound().frames());
    EXPECT_EQ(::sf_close(file), 0);
  }

  /** One thing for sf_command(), which takes the bytes of a structure. */
  template <typename Value>
  static void command(SNDFILE* file, int number, Value& value)
  {
    EXPECT_EQ(::sf_command(file, number, &value, static_cast<int>(sizeof value)), SF_TRUE);
  }

  support::TempFolder folder;
};

TEST_F(ForeignMetadata, OfFfmpegInWavIsPassedOver)
{
  support::writeByFfmpeg(folder, "list.wav", sound(),
                         {"-metadata", "title=odd", "-metadata", "artist=evens", "-metadata",
                          "comment=a longer one", "-metadata", "date=1999"});
  expectRead("list.wav", "fmt  LIST data ");
  support::writeByFfmpeg(folder, "bext.wav", sound(),
                         {"-write_bext", "1", "-metadata", "description=what", "-metadata",
                          "originator=who", "-metadata", "coding_history=A=PCM"});
  expectRead("bext.wav", "fmt  bext LIST data ");
  support::writeByFfmpeg(folder, "peak.wav", sound(), {"-write_peak", "on"});
  expectRead("peak.wav", "fmt  LIST data levl ");
  support::writeByFfmpeg(folder, "all.wav", sound(),
                         {"-write_peak", "on", "-write_bext", "1", "-metadata", "title=odd"});
  expectRead("all.wav", "fmt  bext LIST data levl ");
}

TEST_F(ForeignMetadata, OfFfmpegInAiffIsPassedOver)
{
  support::writeByFfmpeg(folder, "name.aiff", sound(),
                         {"-metadata", "title=even", "-metadata", "author=evenly", "-metadata",
                          "copyright=me", "-metadata", "comment=ab"});
  expectRead("name.aiff", "NAME AUTH (c)  ANNO COMM SSND ");
  support::writeByFfmpeg(folder, "tag.aiff", sound(),
                         {"-metadata", "title=even", "-metadata", "artist=odd", "-write_id3v2",
                          "1"});
  expectRead("tag.aiff", "NAME COMM SSND ID3  ");
}

TEST_F(ForeignMetadata, OfSoxInAiffIsPassedOver)
{
  support::writeBySox(folder, "comment.aiff", sound(), {"--comment", "twelve chars"});
  expectRead("comment.aiff", "COMT COMM SSND ");
  support::writeBySox(folder, "odd.aiff", sound(), {"--comment", "odd"});
  expectRead("odd.aiff", "COMT COMM SSND ");
  EXPECT_EQ(support::factsByLibrary(folder.path("odd.aiff")),
            support::factsBySox(folder.path("odd.aiff")));
}

TEST_F(ForeignMetadata, OfLibsndfileInWavIsPassedOver)
{
  writeBySndfile("bext.wav", [](SNDFILE* file) {
    SF_BROADCAST_INFO info = {};
    std::strcpy(info.description, "what");
    std::strcpy(info.originator, "who");
    info.time_reference_low = 48000;
    command(file, SFC_SET_BROADCAST_INFO, info);
  });
  expectRead("bext.wav", "fmt  bext data ");
  writeBySndfile("cart.wav", [](SNDFILE* file) {
    SF_CART_INFO info = {};
    std::strcpy(info.title, "what");
    command(file, SFC_SET_CART_INFO, info);
  });
  expectRead("cart.wav", "fmt  cart data ");
  writeBySndfile("cue.wav", [](SNDFILE* file) {
    SF_CUES cues = {};
    cues.cue_count = 3;
    for (unsigned int i = 0; i < cues.cue_count; ++i) {
      cues.cue_points[i].indx = static_cast<std::int32_t>(i);
      cues.cue_points[i].sample_offset = 100 * i;
    }
    command(file, SFC_SET_CUE, cues);
  });
  expectRead("cue.wav", "fmt  cue  data ");
  writeBySndfile("smpl.wav", [](SNDFILE* file) {
    SF_INSTRUMENT instrument = {};
    instrument.basenote = 60;
    instrument.key_hi = instrument.velocity_hi = 127;
    instrument.loop_count = 1;
    instrument.loops[0].mode = SF_LOOP_FORWARD;
    instrument.loops[0].end = 400;
    command(file, SFC_SET_INSTRUMENT, instrument);
  });
  expectRead("smpl.wav", "fmt  smpl data ");
  writeBySndfile("texts.wav", [](SNDFILE* file) {
    for (const int kind : {SF_STR_TITLE, SF_STR_ARTIST, SF_STR_COMMENT, SF_STR_DATE, SF_STR_GENRE})
      EXPECT_EQ(::sf_set_string(file, kind, "odd"), 0);
  });
  expectRead("texts.wav", "fmt  LIST data ");
}

TEST_F(ForeignMetadata, OfLibsndfileInAiffIsPassedOver)
{
  writeBySndfile("texts.aiff", [](SNDFILE* file) {
    for (const int kind : {SF_STR_TITLE, SF_STR_COPYRIGHT, SF_STR_ARTIST, SF_STR_COMMENT})
      EXPECT_EQ(::sf_set_string(file, kind, "even"), 0);
  });
  expectRead("texts.aiff", "COMM NAME (c)  AUTH ANNO SSND ");
  writeBySndfile("mark.aiff", [](SNDFILE* file) {
    SF_CUES cues = {};
    cues.cue_count = 2;
    std::strcpy(cues.cue_points[0].name, "one");
    std::strcpy(cues.cue_points[1].name, "second");
    cues.cue_points[1].indx = 1;
    cues.cue_points[1].sample_offset = 5;
    command(file, SFC_SET_CUE, cues);
  });
  expectRead("mark.aiff", "COMM MARK SSND ");
  writeBySndfile("chan.aiff", [](SNDFILE* file) {
    int map[] = {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT};
    command(file, SFC_SET_CHANNEL_MAP_INFO, map);
  });
  expectRead("chan.aiff", "COMM CHAN SSND ");
}

// libsndfile states sizes that it has rounded up itself.
TEST_F(ForeignMetadata, OfAChunkOfOnesOwnIsPassedOver)
{
  for (const std::string name : {"x.wav", "x.aiff"}) {
    for (const unsigned int size : {4u, 5u}) {
      SCOPED_TRACE(name + ", " + std::to_string(size));
      writeBySndfile(name, [size](SNDFILE* file) {
        char bytes[] = "bytes";
        SF_CHUNK_INFO chunk = {};
        std::strcpy(chunk.id, "Mine");
        chunk.id_size = 4;
        chunk.datalen = size;
        chunk.data = bytes;
        EXPECT_EQ(::sf_set_chunk(file, &chunk), SF_ERR_NO_ERROR);
      });
      EXPECT_NE(chunksOf(name).find("Mine"), std::string::npos);
      EXPECT_EQ(support::readBySndfile(folder.path(name)).samples,
                support::interleaved32(sound()));
      support::expectReadEqual(folder.path(name), sound());
    }
  }
}

} // namespace
