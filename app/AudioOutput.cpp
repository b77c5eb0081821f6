#include "app/AudioOutput.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "app/Failures.h"
#include "app/FileSuffix.h"
#include "app/Interruption.h"
#include "app/Notices.h"
#include "app/SourceFile.h"
#include "app/StandardOutput.h"
#include "core/TovFile.h"
#include "io/TovAudioTranslator.h"

/** The two headers that writers make, as far as the program checks them. */
struct WrittenHeader {
  long long length;        ///< bytes before the first sample
  long long soundSizeAt;   ///< position of the sound chunk's size
  long long soundSizeMore; ///< what that size counts beside the samples
};

static constexpr WrittenHeader kWavHeader = {44, 40, 0};
static constexpr WrittenHeader kAiffHeader = {54, 42, 8};

static constexpr long long kAiffFrameCountAt = 22;

/** Null where nothing says the format. */
static TovAudioTranslator* formatFor(const std::string& target, const std::string& formatName)
{
  if (!formatName.empty()) {
    return formatBySuffix("name." + formatName);
  }
  return formatBySuffix(isStandardOutput(target) ? "name.wav" : target);
}

TovAudioTranslator& outputFormatOf(const OutputPlan& plan)
{
  return *formatFor(plan.target, plan.formatName);
}

static bool isAiff(const OutputPlan& plan)
{
  return formatNameForPeople(outputFormatOf(plan)) == "AIFF";
}

static std::string nameOf(const OutputPlan& plan)
{
  return outputNameForPeople(plan.target);
}

static const WrittenHeader& headerOf(const OutputPlan& plan)
{
  return isAiff(plan) ? kAiffHeader : kWavHeader;
}

static long long soundBytes(const OutputPlan& plan)
{
  return plan.frames * plan.channels * (plan.bits / 8);
}

static long long fileBytes(const OutputPlan& plan)
{
  return headerOf(plan).length + soundBytes(plan);
}

void checkOutput(const std::string& option, const std::string& target,
                 const std::string& formatName)
{
  const TovAudioTranslator* const format = formatFor(target, formatName);
  if (format == nullptr) {
    throw UsageError(option + ": \"" + target +
                     "\" has none of the suffixes that say the format (" + knownSuffixes() + ")");
  }
  const TovAudioTranslator* const bySuffix = formatBySuffix(target);
  if (bySuffix != nullptr && bySuffix != format) {
    throw UsageError("--format " + formatName + " contradicts the name \"" + target + "\"");
  }
  if (isStandardOutput(target)) {
    refuseSoundAtTerminal();
  }
}

static TovSampleEncoding encodingOf(const OutputPlan& plan)
{
  const bool aiff = isAiff(plan);
  switch (plan.bits) {
  case 8:
    return aiff ? EncS8 : EncU8;
  case 16:
    return EncS16;
  case 24:
    return EncS24;
  default:
    return aiff ? EncS32 : EncFloat32Scaled16;
  }
}

/** Both formats count in 32 bits from behind the first size. */
static const OutputPlan& checkedForSize(const OutputPlan& plan)
{
  constexpr double kMostBytes = 4294967295.0 + 8.0;
  // In floating point, since the product of large numbers must not overflow.
  const int sampleBytes = plan.bits / 8;
  const double bytes = 54.0 + static_cast<double>(plan.frames) * plan.channels * sampleBytes;
  if (bytes > kMostBytes) {
    char size[48];
    (void)std::snprintf(size, sizeof size, "%.1f", bytes / 1e9);
    throw Failure(nameOf(plan), std::string("would be ") + size +
                                    " GB long, and the format ends at 4 GB; nothing was written");
  }
  return plan;
}

AudioOutput::AudioOutput(const OutputPlan& outputPlan, const Notices& notices)
    : plan(checkedForSize(outputPlan)),
      levels(plan.channels, plan.exactSource == nullptr ? encodingOf(plan) : EncFloat32, plan.bits),
      file(plan.target)
{
  if (plan.isDithered) {
    dither.emplace(plan.bits);
  }
  startWriter(notices);
}

void AudioOutput::startWriter(const Notices& notices)
{
  if (encodingOf(plan) == EncFloat32Scaled16) {
    notices.say(nameOf(plan), "32-bit WAV is written as floating point with full scale at 32768 "
                              "under an integer's tag, which other programs hear as noise; AIFF "
                              "(.aiff) holds 32-bit integers");
  }
  if (plan.channels > 2) {
    notices.say(nameOf(plan), "some programs do not read files of more than 2 channels");
  }
  TovAudioIOFormat format = {};
  format.state = FormatValid;
  format.encoding = encodingOf(plan);
  format.bytesPerSample = static_cast<std::uint32_t>(plan.bits / 8);
  format.bigEndian = isAiff(plan) ? 1 : 0;
  format.sampleRate = static_cast<std::uint32_t>(plan.rate);
  format.frameCount = plan.frames;
  format.channels = static_cast<std::uint32_t>(plan.channels);
  writer.reset(outputFormatOf(plan).createWriter());
  errno = 0;
  if (!writer || writer->initialize(file.getTemporaryPath().c_str(), format) != 0) {
    throw Failure(nameOf(plan), "could not be started" +
                                    (errno == 0 ? std::string() : ": " + systemErrorText(errno)));
  }
  file.allowToHide();
}

void AudioOutput::append(const TovNLPArray<float>& samples, int frames, long long frame)
{
  levels.measure(samples, frames);
  if (dither) {
    for (int c = 0; c < plan.channels; ++c) {
      dither->quantise(samples[c], frames, c, frame);
    }
  }
  errno = 0;
  if (writer->writeChannels(samples, 0, frames) != 0) {
    throw Failure(nameOf(plan), "could not be written" +
                                    (errno == 0 ? std::string() : ": " + systemErrorText(errno)));
  }
}

void AudioOutput::finish()
{
  writer->close();
  if (plan.exactSource != nullptr) {
    takeSampleBytes(*plan.exactSource);
  }
  checkWrittenFile();
  throwIfInterrupted();
  file.commit();
}

void AudioOutput::takeSampleBytes(const SourceFile& source)
{
  constexpr unsigned long kPieceBytes = 1 << 16;
  const long long begin =
      source.soundOffset + plan.exactFirstFrame * plan.channels * (plan.bits / 8);
  TovFile input;
  std::vector<unsigned char> piece(kPieceBytes);
  long long copied = 0;
  if (input.open(source.path.c_str(), "r") != 0 || input.seek(begin, 0) == 0) {
    throw Failure(source.name, "could not be read any more");
  }
  while (copied < soundBytes(plan)) {
    throwIfInterrupted();
    const unsigned long wanted =
        static_cast<unsigned long>(std::min<long long>(kPieceBytes, soundBytes(plan) - copied));
    if (input.read(piece.data(), wanted) != wanted) {
      throw Failure(source.name, "was cut short while it was read");
    }
    const ssize_t written =
        pwrite(file.getDescriptor(), piece.data(), wanted, headerOf(plan).length + copied);
    if (written <= 0) {
      throw Failure(nameOf(plan), "could not be written: " + systemErrorText(errno));
    }
    copied += written;
    if (static_cast<unsigned long>(written) != wanted) {
      input.seek(begin + copied, 0);
    }
  }
}

static std::uint32_t numberAt(int descriptor, long long position, bool isBigEndian)
{
  unsigned char bytes[4] = {};
  if (pread(descriptor, bytes, sizeof bytes, position) != sizeof bytes) {
    return 0;
  }
  std::uint32_t number = 0;
  for (int i = 0; i < 4; ++i) {
    number = number << 8 | bytes[isBigEndian ? i : 3 - i];
  }
  return number;
}

/** The writers do not say whether their last writes, those of the sizes,
 *  arrived: the file itself does. */
void AudioOutput::checkWrittenFile() const
{
  const WrittenHeader& header = headerOf(plan);
  const bool isBigEndian = isAiff(plan);
  struct stat status = {};
  const bool hasLength =
      fstat(file.getDescriptor(), &status) == 0 && status.st_size == fileBytes(plan);
  const bool hasSizes =
      numberAt(file.getDescriptor(), 4, isBigEndian) == fileBytes(plan) - 8 &&
      numberAt(file.getDescriptor(), header.soundSizeAt, isBigEndian) ==
          soundBytes(plan) + header.soundSizeMore &&
      (!isBigEndian || numberAt(file.getDescriptor(), kAiffFrameCountAt, true) == plan.frames);
  if (!hasLength || !hasSizes) {
    throw Failure(nameOf(plan), "could not be written completely");
  }
}

void sayWhatWasClipped(const OutputPlan& plan, const LevelMeter& levels, const Notices& notices,
                       const std::string& advice)
{
  const double peak = decibelsOfFullScale(static_cast<double>(levels.getHighestPeak()));
  if (plan.exactSource != nullptr || (levels.getClipped() == 0 && !(peak > 0.0))) {
    return;
  }
  notices.say(nameOf(plan), "peaks at " + levelForPeople(peak) + ", " +
                                std::to_string(levels.getClipped()) + " samples clipped" + advice);
}
