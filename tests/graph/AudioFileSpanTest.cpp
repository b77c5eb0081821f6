// Which frames of the file a span delivers, and where silence stands in for
// them.

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/support/Buffers.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"

namespace {

using support::Buffers;
using support::Owned;

constexpr int kRate = 1024; // frames / kRate is exact
constexpr long long kFrames = 512;

/** Seconds of a number of frames of the file. */
double at(double frames)
{
  return frames / kRate;
}

class AudioFileSpanTest : public ::testing::Test {
protected:
  AudioFileSpanTest() { open(writeRamp(folder, "a", Container::Wav, 1, kRate, kFrames)); }

  void open(const std::string& path)
  {
    ASSERT_EQ(0, file->initialize(path.c_str()));
    ASSERT_EQ(0, file->activate(context));
  }

  /** The samples of a span, in file frames; empty and untouched unless 0. */
  std::vector<float> samplesOf(double first, double end, int expectedStatus = 0)
  {
    return samplesOf(context, first, end, expectedStatus);
  }

  std::vector<float> samplesOf(const TovAudioContext& used, double first, double end,
                               int expectedStatus = 0)
  {
    const long long frames = std::max(0LL, file->getNumSampleFrames(used, at(first), at(end)));
    Buffers buffers(2, frames);
    EXPECT_EQ(expectedStatus, file->getAudio(buffers.pointers(), support::channelMap({0, 0}), used,
                                             at(first), at(end)));
    EXPECT_TRUE(buffers.guardsIntact());
    EXPECT_EQ(support::bits(buffers.samples(0)), support::bits(buffers.samples(1)));
    if (expectedStatus == 0)
      return buffers.samples(0);
    EXPECT_TRUE(buffers.untouched());
    return {};
  }

  static TovAudioContext withOffset(double seconds)
  {
    return TovAudioContext(kRate, 1, 24.0, seconds);
  }

  support::TempFolder folder;
  support::Messages messages;
  const TovAudioContext context = withOffset(0.0);
  Owned<TovAudioFile> file = support::make<TovAudioFile>();
};

TEST_F(AudioFileSpanTest, TimeZeroIsTheFirstFrame)
{
  EXPECT_EQ(ramp(0, 100), samplesOf(0, 100));
  EXPECT_EQ(ramp(300, 100), samplesOf(300, 400));
  EXPECT_EQ(ramp(0, kFrames), samplesOf(0, kFrames));
  EXPECT_EQ(ramp(kFrames - 1, 1), samplesOf(kFrames - 1, kFrames));
}

TEST_F(AudioFileSpanTest, TimesBetweenFramesAreFloored)
{
  EXPECT_EQ(ramp(10, 10), samplesOf(10.75, 20.25));
  EXPECT_EQ(ramp(10, 0), samplesOf(10.25, 10.75));
  EXPECT_EQ(joined({silence(1), ramp(0, 1)}), samplesOf(-0.25, 1.25));
}

TEST_F(AudioFileSpanTest, BeforeTheFirstFrameIsSilence)
{
  EXPECT_EQ(joined({silence(40), ramp(0, 60)}), samplesOf(-40, 60));
  EXPECT_EQ(joined({silence(600), ramp(0, kFrames), silence(88)}), samplesOf(-600, 600));
}

TEST_F(AudioFileSpanTest, SpanThatEndsBeforeTheFirstFrameIsStatus5)
{
  samplesOf(-100, -1, 5);
  samplesOf(-100000, -99000, 5);
}

TEST_F(AudioFileSpanTest, SpanThatEndsRightAtTheFirstFrameIsSilence)
{
  EXPECT_EQ(silence(100), samplesOf(-100, 0));
}

TEST_F(AudioFileSpanTest, BehindTheLastFrameIsSilence)
{
  EXPECT_EQ(joined({ramp(500, 12), silence(88)}), samplesOf(500, 600));
  EXPECT_EQ(joined({ramp(511, 1), silence(1)}), samplesOf(511, 513));
}

TEST_F(AudioFileSpanTest, SpanFromTheEndOnIsStatus5)
{
  samplesOf(kFrames, kFrames + 1, 5);
  samplesOf(kFrames + 1, kFrames + 100, 5);
  samplesOf(1e6, 1e6 + 10, 5);
}

TEST_F(AudioFileSpanTest, EmptySpanHasTheStatusOfItsPlace)
{
  samplesOf(100, 100);
  samplesOf(0, 0);
  samplesOf(-1, -1, 5);
  samplesOf(kFrames, kFrames, 5);
}

TEST_F(AudioFileSpanTest, ReversedSpanWritesNothing)
{
  EXPECT_EQ(silence(0), samplesOf(200, 100));
  EXPECT_EQ(silence(0), samplesOf(200, 0));
  samplesOf(200, -1, 5); // frame 200 and minus 201 frames
  samplesOf(-10, -20, 5);
  samplesOf(600, 100, 5);
}

TEST_F(AudioFileSpanTest, SourceInFallsOnTimeZeroAndWhatLiesBeforeIsHeard)
{
  file->setSrcIn(at(100));
  EXPECT_EQ(ramp(100, 50), samplesOf(0, 50));
  EXPECT_EQ(ramp(60, 80), samplesOf(-40, 40));
  EXPECT_EQ(joined({silence(50), ramp(0, 100)}), samplesOf(-150, 0));
  samplesOf(-200, -101, 5);
  EXPECT_EQ(joined({ramp(500, 12), silence(8)}), samplesOf(400, 420));
  samplesOf(412, 420, 5);
}

TEST_F(AudioFileSpanTest, SourceInOneSecondInto48000IsFrame48000)
{
  open(writeRamp(folder, "long", Container::Wav, 1, 48000, 48100));
  file->setSrcIn(1.0);
  Buffers buffers(1, 100);
  EXPECT_EQ(0, file->getAudio(buffers.pointers(), support::channelMap({0}),
                              TovAudioContext(48000, 3, 24.0, 0.0), 0.0, 100.0 / 48000.0));
  EXPECT_EQ(ramp(48000, 100), buffers.samples(0));
}

TEST_F(AudioFileSpanTest, NegativeSourceInDelaysTheFile)
{
  file->setSrcIn(at(-30));
  EXPECT_EQ(joined({silence(30), ramp(0, 10)}), samplesOf(0, 40));
}

TEST_F(AudioFileSpanTest, SourceOutEndsTheFile)
{
  file->setSrcOut(at(200));
  EXPECT_EQ(joined({ramp(150, 50), silence(50)}), samplesOf(150, 250));
  EXPECT_EQ(ramp(150, 50), samplesOf(150, 200));
  samplesOf(200, 300, 5);
  samplesOf(199.99, 200, 0);
}

TEST_F(AudioFileSpanTest, SourceOutCountsFramesOfTheFileNotFromSourceIn)
{
  file->setSrcIn(at(100));
  file->setSrcOut(at(200));
  EXPECT_EQ(joined({ramp(150, 50), silence(10)}), samplesOf(50, 110));
  samplesOf(100, 110, 5);
}

TEST_F(AudioFileSpanTest, SourceOutBehindTheFileChangesNothing)
{
  for (const double seconds : {2.0, 1e300, std::numeric_limits<double>::infinity()}) {
    file->setSrcOut(seconds);
    EXPECT_EQ(joined({ramp(500, 12), silence(88)}), samplesOf(500, 600));
    samplesOf(kFrames, kFrames + 10, 5);
  }
}

TEST_F(AudioFileSpanTest, SourceOutNotBehindTheStartIsStatus5)
{
  for (const double seconds : {0.0, -1.0, -std::numeric_limits<double>::infinity(), std::nan("")}) {
    file->setSrcOut(seconds);
    samplesOf(0, 100, 5);
  }
  file->setSrcIn(at(200));
  file->setSrcOut(at(100));
  samplesOf(0, 100, 5);
  EXPECT_EQ(joined({ramp(90, 10), silence(10)}), samplesOf(-110, -90));
}

TEST_F(AudioFileSpanTest, BeforeTheFirstFrameSilenceAndSourceOutMeet)
{
  file->setSrcOut(at(10));
  EXPECT_EQ(joined({silence(5), ramp(0, 10), silence(25)}), samplesOf(-5, 35));
}

TEST_F(AudioFileSpanTest, SourceOutBeforeTheFirstFrameIsSilenceUpToItAndThenStatus5)
{
  file->setSrcOut(at(-10));
  // The end at frame -10 lies above the span's start, so that the span counts
  // as delivered; there is nothing in it.
  EXPECT_EQ(silence(40), samplesOf(-20, 20));
  samplesOf(-10, 20, 5);
}

TEST_F(AudioFileSpanTest, TimeOffsetShiftsTheFileLater)
{
  EXPECT_EQ(ramp(0, 50), samplesOf(withOffset(at(100)), 100, 150));
  EXPECT_EQ(joined({silence(20), ramp(0, 30)}), samplesOf(withOffset(at(100)), 80, 130));
  EXPECT_EQ(ramp(100, 50), samplesOf(withOffset(at(-100)), 0, 50));
  samplesOf(withOffset(at(100)), 0, 99, 5);
  file->setSrcIn(at(7));
  EXPECT_EQ(ramp(7, 50), samplesOf(withOffset(at(100)), 100, 150));
}

TEST_F(AudioFileSpanTest, NegatedTimeOffsetIsFlooredByItself)
{
  EXPECT_EQ(joined({silence(1), ramp(0, 9)}), samplesOf(withOffset(at(0.5)), 0, 10));
  EXPECT_EQ(ramp(0, 10), samplesOf(withOffset(at(-0.5)), 0, 10));
  // Offset -101 frames and start 100: one more than the sum of the times.
  EXPECT_EQ(joined({silence(1), ramp(0, 9)}), samplesOf(withOffset(at(100.5)), 100.5, 110.5));
}

TEST_F(AudioFileSpanTest, PlaybackRateCountsTheFilesFrames)
{
  file->setPlaybackRate(2 * kRate);
  const TovAudioContext doubled(2 * kRate, 1, 24.0, 0.0);
  EXPECT_EQ(ramp(0, 200), samplesOf(doubled, 0, 100)); // no conversion: twice as fast
  EXPECT_EQ(ramp(100, 50), samplesOf(doubled, 50, 75));
  file->setSrcIn(at(64)); // still seconds of the file at its own rate
  file->setSrcOut(at(164));
  EXPECT_EQ(joined({ramp(64, 100), silence(4)}), samplesOf(doubled, 0, 52));
}

TEST_F(AudioFileSpanTest, SourceInIsFlooredInFileFrames)
{
  file->setPlaybackRate(3 * kRate);
  file->setSrcIn(at(63.9));
  EXPECT_EQ(ramp(63, 30), samplesOf(TovAudioContext(3 * kRate, 1, 24.0, 0.0), 0, 10));
}

TEST_F(AudioFileSpanTest, TimeOffsetIsSecondsAtThePlaybackRate)
{
  file->setPlaybackRate(2 * kRate);
  const TovAudioContext doubled(2 * kRate, 1, 24.0, at(100));
  EXPECT_EQ(joined({silence(20), ramp(0, 20)}), samplesOf(doubled, 90, 110));
}

TEST_F(AudioFileSpanTest, ProxyQualityHoldsSamples)
{
  const std::vector<float> held = samplesOf(TovAudioContext(2 * kRate, 0, 24.0, 0.0), 10, 20);
  ASSERT_EQ(20u, held.size());
  for (long long i = 0; i < 20; ++i)
    EXPECT_EQ(rampSample(10 + i / 2), held[static_cast<std::size_t>(i)]) << i;
  const std::vector<float> dropped = samplesOf(TovAudioContext(kRate / 2, 0, 24.0, 0.0), 10, 30);
  ASSERT_EQ(10u, dropped.size());
  for (long long i = 0; i < 10; ++i)
    EXPECT_EQ(rampSample(10 + 2 * i), dropped[static_cast<std::size_t>(i)]) << i;
}

TEST_F(AudioFileSpanTest, ConvertedSpanHearsTheSilenceAroundTheFile)
{
  const TovAudioContext doubled(2 * kRate, 0, 24.0, 0.0);
  const std::vector<float> start = samplesOf(doubled, -2, 2);
  EXPECT_EQ(joined({silence(4), {rampSample(0), rampSample(0), rampSample(1), rampSample(1)}}),
            start);
  const std::vector<float> end = samplesOf(doubled, kFrames - 1, kFrames + 2);
  EXPECT_EQ(joined({{rampSample(511), rampSample(511)}, silence(4)}), end);
}

TEST_F(AudioFileSpanTest, ConvertedSpanIsStatus5OnlyBeyondTheHandles)
{
  // One handle at quality 0: a start one frame behind the end still reads the
  // last frame.
  const TovAudioContext doubled(2 * kRate, 0, 24.0, 0.0);
  EXPECT_EQ(silence(20), samplesOf(doubled, kFrames, kFrames + 10));
  samplesOf(doubled, kFrames + 1, kFrames + 10, 5);
  // Eight handles at quality 2.
  const TovAudioContext fine(2 * kRate, 2, 24.0, 0.0);
  samplesOf(fine, kFrames + 7, kFrames + 20, 0);
  samplesOf(fine, kFrames + 8, kFrames + 20, 5);
  samplesOf(fine, -30, -9, 0); // position -38 and 21 + 1 + 16 frames
  samplesOf(fine, -30, -10, 5);
}

TEST_F(AudioFileSpanTest, FramesBeyondTwoGigabytesAreRead)
{
  const long long frames = 1200000000; // 2.4 GB of 16-bit samples, all but a few a hole
  const support::Bytes header = support::wavFile(1, kRate, 16, support::Bytes());
  std::vector<std::uint8_t> bytes = header.data();
  const std::vector<std::uint8_t> size = support::Bytes().u32le(2 * frames).data();
  std::copy(size.begin(), size.end(), bytes.begin() + 40);
  const std::string path = folder.write("huge.wav", bytes);
  std::filesystem::resize_file(path, 44 + 2 * frames);
  {
    std::fstream stream(path, std::ios::in | std::ios::out | std::ios::binary);
    stream.seekp(44 + 2 * (frames - 2));
    stream.write("\x00\x40\x00\x80", 4); // 0.5 and -1
    ASSERT_TRUE(stream.flush());
  }
  open(path);
  const double last = static_cast<double>(frames);
  EXPECT_EQ((std::vector<float>{0.0f, 0.5f, -1.0f, 0.0f}), samplesOf(last - 3, last + 1));
}

} // namespace
