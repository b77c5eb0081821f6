#include "app/ScaledFloatInput.h"

#include <algorithm>
#include <cmath>

#include "app/Failures.h"
#include "app/Notices.h"
#include "app/SourceBlocks.h"

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
