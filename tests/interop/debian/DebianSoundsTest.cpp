// The sound files that Debian packages hold, made by people and programs that
// know nothing of the library.
#include <algorithm>
#include <bit>
#include <filesystem>
#include <iterator>
#include <optional>

#include <gtest/gtest.h>

#include "tests/interop/ForeignFacts.h"
#include "tests/interop/LibraryFiles.h"
#include "tests/interop/Sndfile.h"
#include "tests/interop/debian/DebianSounds.h"

namespace {

using support::DebianSound;
using support::Facts;
using support::LibraryReading;
using support::Verdict;

void expectScaledFloats(const std::string& path)
{
  const support::SndfileReading integers = support::readBySndfile(path);
  const LibraryReading floats = support::readByLibrary(path);
  EXPECT_EQ(floats.readStatus, 0);
  EXPECT_EQ(floats.format.encoding, std::uint32_t(EncFloat32Scaled16));
  EXPECT_EQ(support::factsByLibrary(path), support::factsBySndfile(path));
  const std::size_t channels = floats.samples.size();
  for (std::size_t i = 0; i < integers.samples.size(); ++i) {
    const float expected = std::bit_cast<float>(integers.samples[i]) * 0x1p-15f;
    const float found = floats.samples[i % channels][i / channels];
    if (expected == expected) {
      ASSERT_EQ(found, expected) << i;
    } else {
      ASSERT_NE(found, found) << i;
    }
  }
}

void expectRefused(const std::string& path, bool isOpened)
{
  const LibraryReading reading = support::readByLibrary(path);
  EXPECT_EQ(reading.openStatus, isOpened ? 0 : 1);
  EXPECT_EQ(reading.specStatus, 1);
  EXPECT_EQ(reading.format.state, std::uint32_t(isOpened ? FormatUnsupported : FormatNone));
  EXPECT_EQ(reading.readStatus, isOpened ? 3 : 1);
  EXPECT_EQ(reading.samples[0][0], 99.0f);
}

// Nothing is passed over: a file that comes or goes with a package shows here.
TEST(DebianSounds, AreAllInTheList)
{
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(TOV_DEBIAN_SOUNDS)) {
    if (entry.is_regular_file() && entry.path().filename() != "complete")
      found.push_back(entry.path().lexically_relative(TOV_DEBIAN_SOUNDS).string());
  }
  std::sort(found.begin(), found.end());
  std::vector<std::string> listed;
  for (const DebianSound& sound : support::debianSounds())
    listed.push_back(sound.name);
  std::sort(listed.begin(), listed.end());
  EXPECT_EQ(found, listed);
}

TEST(DebianSounds, AreReadAsByLibsndfileOrRefusedForTheirReason)
{
  for (const DebianSound& sound : support::debianSounds()) {
    SCOPED_TRACE(sound.name);
    const std::string path = support::debianPath(sound);
    switch (sound.verdict) {
    case Verdict::Handled:
      support::expectReadAsBySndfile(path);
      break;
    case Verdict::ScaledFloats:
      expectScaledFloats(path);
      break;
    case Verdict::Unsupported:
      expectRefused(path, true);
      break;
    case Verdict::NotOpened:
    case Verdict::NobodysSuffix:
      expectRefused(path, false);
      break;
    }
  }
}

/** What SoX takes a file for; none where it reads none of it. */
struct OtherOpinion {
  const char* ending; ///< of the file's name
  std::optional<Facts> facts;
};

/** SoX knows no samples that fill only a part of their bytes: it divides the
 *  bytes by the bits that are used, or refuses the file.  libsndfile and ffprobe
 *  go by the size of a frame, as the library does. */
const OtherOpinion kOpinionsOfSox[] = {{"-10S-20bit-extra.wav", Facts{1234, 1, 20, 12}},
                                       {"-4ch-9S-12bit.wav", Facts{8000, 4, 12, 12}},
                                       {"-5ch-9S-5bit.wav", std::nullopt}};

TEST(DebianSounds, AreWhatSoxAndFfprobeTakeThemFor)
{
  std::size_t others = 0;
  for (const DebianSound& sound : support::debianSounds()) {
    if (sound.verdict != Verdict::Handled && sound.verdict != Verdict::ScaledFloats)
      continue;
    SCOPED_TRACE(sound.name);
    const std::string path = support::debianPath(sound);
    const Facts facts = support::factsByLibrary(path);
    EXPECT_EQ(facts, support::factsByFfprobe(path));
    const auto other =
        std::find_if(std::begin(kOpinionsOfSox), std::end(kOpinionsOfSox),
                     [&](const OtherOpinion& each) { return sound.name.ends_with(each.ending); });
    if (other == std::end(kOpinionsOfSox)) {
      EXPECT_EQ(facts, support::factsBySoxIfRead(path));
    } else {
      ++others;
      EXPECT_EQ(other->facts, support::factsBySoxIfRead(path));
    }
  }
  EXPECT_EQ(others, std::size(kOpinionsOfSox));
}

} // namespace
