// Every number in a file's header replaced by hostile ones, one and two at a
// time.
#include <algorithm>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

#include "tests/hostile/HostileUse.h"
#include "tests/support/FileFormats.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;
using support::FileUse;
using support::FrameRequest;

/** A number in a header. */
struct Field {
  const char* name;
  std::size_t position;
  int width; ///< bytes
};

/** A good file, and the numbers in it. */
struct Header {
  const char* name;
  bool isBigEndian;
  Bytes file;
  std::vector<Field> fields;
};

/** A field and what it is to hold. */
struct Change {
  Field field;
  std::uint32_t value;
};

Header wavHeader()
{
  const Bytes file = Bytes()
                         .text("RIFF")
                         .u32le(2096)
                         .text("WAVELIST")
                         .u32le(4)
                         .text("INFOfmt ")
                         .u32le(16)
                         .u16le(1)
                         .u16le(2)
                         .u32le(44100)
                         .u32le(176400)
                         .u16le(4)
                         .u16le(16)
                         .text("data")
                         .u32le(2048)
                         .zeros(2048);
  return {"x.wav",
          false,
          file,
          {{"RIFF size", 4, 4},
           {"LIST size", 16, 4},
           {"fmt size", 28, 4},
           {"format tag", 32, 2},
           {"channels", 34, 2},
           {"sample rate", 36, 4},
           {"byte rate", 40, 4},
           {"block align", 44, 2},
           {"bits per sample", 46, 2},
           {"data size", 52, 4}}};
}

Header aiffHeader()
{
  const Bytes file = Bytes()
                         .text("FORM")
                         .u32be(2114)
                         .text("AIFFNAME")
                         .u32be(4)
                         .text("fourCOMM")
                         .u32be(18)
                         .u16be(2)
                         .u32be(512)
                         .u16be(16)
                         .append(support::extendedRate(44100))
                         .text("SSND")
                         .u32be(2056)
                         .u32be(0)
                         .u32be(0)
                         .zeros(2048);
  return {"x.aiff",
          true,
          file,
          {{"FORM size", 4, 4},
           {"NAME size", 16, 4},
           {"COMM size", 28, 4},
           {"channels", 32, 2},
           {"frames", 34, 4},
           {"sample size", 38, 2},
           {"rate sign and exponent", 40, 2},
           {"rate mantissa, high", 42, 4},
           {"rate mantissa, low", 46, 4},
           {"SSND size", 54, 4},
           {"SSND offset", 58, 4},
           {"SSND block size", 62, 4}}};
}

/** The edges of signed and unsigned numbers, whole rates about the greatest
 *  that is converted, and, as exponents, a huge number, one below 1, a
 *  negative one, infinity and NaN. */
std::vector<std::uint32_t> hostileValues(int width)
{
  if (width == 2)
    return {0,      1,      2,      3,      8,      15,     16,     24,     32,     33,
            0x3ffe, 0x3fff, 0x4000, 0x401d, 0x401e, 0x401f, 0x7ffe, 0x7fff, 0x8000, 0x8001,
            0xbfff, 0xc00e, 0xfffe, 0xffff};
  return {0,          1,          2,          7,          17,         18,         0x7fff,
          0x8000,     0x8001,     0xffff,     0x10000,    7999999,    8000000,    8000001,
          0x3fffffff, 0x40000000, 0x7ffffffe, 0x7fffffff, 0x80000000, 0x80000001, 0xfffffff7,
          0xfffffffe, 0xffffffff};
}

std::vector<Change> changesOf(const Field& field)
{
  std::vector<Change> changes;
  for (const std::uint32_t value : hostileValues(field.width))
    changes.push_back({field, value});
  return changes;
}

class HostileFields : public testing::TestWithParam<Header (*)()> {
protected:
  /** Writes the file with the changes and uses it. */
  void useWith(const std::vector<Change>& changes)
  {
    std::vector<std::uint8_t> bytes = header.file.data();
    std::string trace = header.name;
    for (const Change& change : changes) {
      trace += std::string(", ") + change.field.name + " " + std::to_string(change.value);
      for (int i = 0; i < change.field.width; ++i) {
        const int shift = 8 * (header.isBigEndian ? change.field.width - 1 - i : i);
        bytes[change.field.position + static_cast<std::size_t>(i)] =
            static_cast<std::uint8_t>(change.value >> shift);
      }
    }
    SCOPED_TRACE(trace);
    check(support::useFile(folder.write(header.name, bytes), {nextRequest()}));
  }

  support::Messages messages; // an unreadable file is told each time
  support::TempFolder folder;
  const Header header = GetParam()();
  std::mt19937 random{20};

private:
  FrameRequest nextRequest()
  {
    constexpr int kRates[] = {8000, 11025, 44100, 192000};
    constexpr double kTimes[] = {0.0, -0.01, 0.005, 1000.0};
    return {kRates[support::below(random, 4)], static_cast<int>(support::below(random, 4)),
            kTimes[support::below(random, 4)]};
  }

  /** What holds whatever the header says. */
  static void check(const FileUse& use)
  {
    const bool isOpen = use.openStatus == 0;
    EXPECT_TRUE(isOpen || use.openStatus == 1) << use.openStatus;
    EXPECT_EQ(use.providerStatus, isOpen ? 0 : 3);
    const bool isValid = use.formatStatus == 0;
    EXPECT_EQ(use.format.state, std::uint32_t(isValid  ? FormatValid
                                              : isOpen ? FormatUnsupported
                                                       : FormatNone));
    if (isValid) {
      EXPECT_TRUE(use.format.bytesPerSample >= 1 && use.format.bytesPerSample <= 4);
      EXPECT_GE(use.format.channels, 1u);
      EXPECT_TRUE(use.format.frameCount >= 0 && use.format.frameCount <= 0xffffffff);
      EXPECT_TRUE(use.readStatus == 0 || use.readStatus == 4) << use.readStatus;
      EXPECT_TRUE(use.audioStatus == 0 || use.audioStatus == 1 || use.audioStatus == 5)
          << use.audioStatus;
    } else {
      EXPECT_EQ(use.readStatus, isOpen ? 3 : 1);
      EXPECT_EQ(use.audioStatus, isOpen ? 1 : 2);
    }
  }
};

TEST_P(HostileFields, OneAtATimeAreBounded)
{
  for (const Field& field : header.fields) {
    for (const Change& change : changesOf(field)) {
      useWith({change});
      if (HasFailure())
        return;
    }
  }
}

TEST_P(HostileFields, TwoAtATimeAreBounded)
{
  std::vector<std::pair<Change, Change>> pairs;
  for (std::size_t a = 0; a < header.fields.size(); ++a)
    for (std::size_t b = a + 1; b < header.fields.size(); ++b)
      for (const Change& first : changesOf(header.fields[a]))
        for (const Change& second : changesOf(header.fields[b]))
          pairs.emplace_back(first, second);
  std::shuffle(pairs.begin(), pairs.end(), random);
  constexpr std::size_t kUsually = 600;
  if (!std::getenv("TOV_TEST_LONG"))
    pairs.resize(kUsually);
  for (const auto& [first, second] : pairs) {
    useWith({first, second});
    if (HasFailure())
      return;
  }
}

INSTANTIATE_TEST_SUITE_P(Of, HostileFields, testing::Values(wavHeader, aiffHeader),
                         [](const testing::TestParamInfo<Header (*)()>& tested) {
                           return tested.index == 0 ? "Wav" : "Aiff";
                         });

} // namespace
