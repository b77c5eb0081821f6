#include "app/ScaledFloatInput.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "app/Failures.h"
#include "app/Notices.h"
#include "app/SourceBlocks.h"
#include "core/TovFile.h"
#include "io/TovWavReader.h"

static constexpr float kPlausiblePeak = 16.0f; // full scale is 1

static void examine(ScaledFloatFindings& findings, const float* samples, int frames)
{
  for (int i = 0; i < frames; ++i) {
    if (std::isnan(samples[i])) {
      ++findings.notNumbers;
    } else if (std::fabs(samples[i]) > kPlausiblePeak) {
      ++findings.huge;
    }
  }
}

/** What stored 32-bit words look like as the library's floats. */
struct WordCounts {
  long long sensible = 0; ///< between -252 dB and 24 dB
  long long tiny = 0;     ///< what small positive integers look like
  long long absurd = 0;   ///< NaN and huge: small negative and large integers

  void count(std::uint32_t word);
};

void WordCounts::count(std::uint32_t word)
{
  constexpr std::uint32_t kTiniest = 100; // exponents, biased by 127; full scale is 142
  constexpr std::uint32_t kHugest = 146;
  constexpr std::uint32_t kNotFinite = 255;
  const std::uint32_t exponent = word >> 23 & 0xFF;
  // Zero, infinity and the NaN that arithmetic makes tell nothing.
  if ((word & 0x7FFFFFFF) == 0 || (exponent == kNotFinite && (word & 0x3FFFFF) == 0)) {
    return;
  }
  long long& counted = exponent > kHugest ? absurd : exponent < kTiniest ? tiny : sensible;
  ++counted;
}

bool holdsIntegers(const std::string& path)
{
  constexpr long long kMostBytes = 1 << 26;
  constexpr unsigned long kPieceBytes = 1 << 16;
  TovFile file;
  TovWavFmtChunk format = {};
  long long begin = 0;
  long long size = 0;
  if (file.open(path.c_str(), "r") != 0 ||
      TovWavReader::getWavDetails(file, &format, &begin, &size) != 0 ||
      format.formatTag != TovWavFmtChunk::kIntegerPcm || format.bitsPerSample <= 24 ||
      format.bitsPerSample > 32 || file.seek(begin, 0) == 0) {
    return false;
  }
  WordCounts counts;
  std::vector<unsigned char> piece(kPieceBytes);
  long long left = std::min(size, kMostBytes);
  while (left > 0) {
    const long long got = static_cast<long long>(file.read(
        piece.data(), static_cast<unsigned long>(std::min<long long>(left, kPieceBytes))));
    for (std::size_t i = 0; i + 4 <= static_cast<std::size_t>(got); i += 4) {
      const unsigned char* const b = piece.data() + i;
      counts.count(std::uint32_t(b[0]) | std::uint32_t(b[1]) << 8 | std::uint32_t(b[2]) << 16 |
                   std::uint32_t(b[3]) << 24);
    }
    left = got == 0 ? 0 : left - got;
  }
  return counts.absurd > 0 && counts.absurd + counts.tiny > counts.sensible;
}

ScaledFloatFindings examineScaledFloat(const SourceFile& source)
{
  ScaledFloatFindings findings;
  readInBlocks(source, [&](const ChannelBuffers& block, int frames) {
    for (int c = 0; c < block.getChannels(); ++c) {
      examine(findings, block.channel(c), frames);
    }
  });
  return findings;
}

std::string findingsForPeople(const ScaledFloatFindings& findings)
{
  return std::to_string(findings.notNumbers) + " samples are not numbers and " +
         std::to_string(findings.huge) + " lie beyond 16 times full scale";
}

void checkScaledFloatInput(const SourceFile& source, bool isForced, const Notices& notices)
{
  if (!source.notice.empty()) {
    notices.say(source.name, source.notice);
  }
  if (!source.hasScaledFloatSamples()) {
    return;
  }
  const std::string width = std::to_string(source.bits) + "-bit WAV";
  notices.say(source.name, width + " is read as floating point with full scale at 32768, not as "
                                   "integers");
  const ScaledFloatFindings findings = examineScaledFloat(source);
  if (!findings.areImplausible()) {
    return;
  }
  if (!isForced) {
    throw Failure(source.name, findingsForPeople(findings) + " when this " + width +
                                   " is read as floating point; it probably holds integers "
                                   "(--force goes on)");
  }
  notices.say(source.name, findingsForPeople(findings) + "; going on as told");
}
