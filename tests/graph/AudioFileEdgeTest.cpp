// Channels, short files, AIFF rates, and requests and settings that make no
// sense.

#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/reference/FileSpan.h"
#include "tests/support/Buffers.h"
#include "tests/support/Memory.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"

namespace {

using support::Buffers;
using support::Bytes;
using support::Owned;

constexpr int kRate = 1024;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

double at(double frames)
{
  return frames / kRate;
}

class AudioFileEdgeTest : public ::testing::Test {
protected:
  void open(const std::string& path)
  {
    ASSERT_EQ(0, file->initialize(path.c_str()));
    ASSERT_EQ(0, file->activate(context));
  }

  void openRamp(Container container, int frames = 512)
  {
    open(writeRamp(folder, "a", container, 1, kRate, frames));
  }

  int render(Buffers& buffers, const std::vector<int>& channels, const TovAudioContext& used,
             double t0, double t1)
  {
    const int status =
        file->getAudio(buffers.pointers(), support::channelMap(channels), used, t0, t1);
    EXPECT_TRUE(buffers.guardsIntact());
    return status;
  }

  /** Playback rate as it stands in a blob, that is without the clamp. */
  void setUnclampedRate(std::uint32_t rate)
  {
    const Bytes blob = Bytes().text("AFIL").u32be(0).u8(0).u32be(rate).f64be(0.0).f64be(1.0);
    ASSERT_EQ(29, file->deserialize(blob.data().data(), false));
  }

  support::TempFolder folder;
  support::Messages messages;
  const TovAudioContext context = TovAudioContext(kRate, 1, 24.0, 0.0);
  Owned<TovAudioFile> file = support::make<TovAudioFile>();
};

TEST_F(AudioFileEdgeTest, ChannelMapChoosesTheFilesChannels)
{
  std::mt19937 random(50);
  const GeneratedFile generated =
      generateFile(folder, "a", Container::Wav, 3, kRate, 16, 100, random);
  open(generated.path);
  for (const std::vector<int>& map :
       {std::vector<int>{0}, {2}, {2, 0}, {1, 1}, {0, 1, 2, 0, 1}, {2, 2, 2, 2}}) {
    Buffers buffers(static_cast<int>(map.size()), 100);
    ASSERT_EQ(0, render(buffers, map, context, 0.0, at(100)));
    for (std::size_t i = 0; i < map.size(); ++i)
      EXPECT_EQ(generated.source.channels[static_cast<std::size_t>(map[i])],
                buffers.samples(static_cast<int>(i)));
  }
}

TEST_F(AudioFileEdgeTest, ChannelsOutsideTheFileAreTheNearest)
{
  std::mt19937 random(51);
  const GeneratedFile generated =
      generateFile(folder, "a", Container::Aiff, 2, kRate, 24, 100, random);
  open(generated.path);
  Buffers buffers(5, 100);
  ASSERT_EQ(0, render(buffers, {-1, 2, INT_MIN, INT_MAX, 0}, context, 0.0, at(100)));
  for (const int first : {0, 2, 4})
    EXPECT_EQ(generated.source.channels[0], buffers.samples(first));
  for (const int second : {1, 3})
    EXPECT_EQ(generated.source.channels[1], buffers.samples(second));
}

TEST_F(AudioFileEdgeTest, SpansFarBackwardsWriteNothingWhateverTheRates)
{
  // A file that claims 4 GB, so that the far ends of the span lie inside it.
  const Bytes claim = Bytes()
      .text("RIFF").u32le(0xffffffff)
      .text("WAVE")
      .text("fmt ").u32le(16)
      .u16le(1)     // integer PCM
      .u16le(1)     // channels
      .u32le(22050)
      .u32le(22050)
      .u16le(1)
      .u16le(8)
      .text("data").u32le(0xffffffff)
      .zeros(1000);
  open(folder.write("claim.wav", claim));
  for (const int rate : {22050, 44100, 8000})
    for (const int quality : {0, 1, 2, 3})
      for (const double frames : {1.0, 2147483700.0, 4294967276.0, 4294967296.0}) {
        const TovAudioContext used(rate, quality, 24.0, 0.0);
        Buffers buffers(1, 64);
        const double t0 = 120000.0;
        render(buffers, {0}, used, t0, t0 - frames / rate);
        EXPECT_TRUE(buffers.untouched()) << rate << " " << quality << " " << frames;
      }
}

TEST_F(AudioFileEdgeTest, MonoFeedsBothSides)
{
  openRamp(Container::Wav);
  Buffers buffers(2, 64);
  ASSERT_EQ(0, render(buffers, {0, 1}, context, 0.0, at(64)));
  EXPECT_EQ(ramp(0, 64), buffers.samples(0));
  EXPECT_EQ(ramp(0, 64), buffers.samples(1));
}

TEST_F(AudioFileEdgeTest, MapThatDoesNotFitTheBuffersIsStatus1)
{
  openRamp(Container::Wav);
  for (const int rate : {kRate, 2 * kRate}) {
    const TovAudioContext used(rate, 1, 24.0, 0.0);
    Buffers two(2, 128);
    EXPECT_EQ(1, render(two, {0}, used, 0.0, at(64)));
    EXPECT_EQ(1, render(two, {0, 0, 0}, used, 0.0, at(64)));
    Buffers none(0, 128);
    EXPECT_EQ(1, render(none, {}, used, 0.0, at(64)));
  }
}

TEST_F(AudioFileEdgeTest, NullBufferIsStatus4)
{
  openRamp(Container::Wav);
  for (const int rate : {kRate, 2 * kRate}) {
    const TovAudioContext used(rate, 1, 24.0, 0.0);
    Buffers valid(1, 128);
    TovNLPArray<float> buffers;
    buffers.append(valid.channel(0));
    buffers.append(nullptr);
    EXPECT_EQ(4, file->getAudio(buffers, support::channelMap({0, 0}), used, 0.0, at(64)));
    EXPECT_TRUE(valid.untouched());
  }
}

TEST_F(AudioFileEdgeTest, NarrowRequestAfterAWiderOneIsConvertedAlone)
{
  openRamp(Container::Wav);
  const TovAudioContext doubled(2 * kRate, 0, 24.0, 0.0);
  Buffers wide(4, 128);
  ASSERT_EQ(0, render(wide, {0, 0, 0, 0}, doubled, 0.0, at(64)));
  Buffers narrow(1, 128);
  ASSERT_EQ(0, render(narrow, {0}, doubled, 0.0, at(64)));
  EXPECT_EQ(wide.samples(0), narrow.samples(0));
}

TEST_F(AudioFileEdgeTest, FileWithoutFramesIsStatus5)
{
  for (const Container container : {Container::Wav, Container::Aiff}) {
    openRamp(container, 0);
    Buffers buffers(1, 64);
    EXPECT_EQ(5, render(buffers, {0}, context, 0.0, at(64)));
    EXPECT_EQ(5, render(buffers, {0}, context, at(-32), at(32)));
    EXPECT_EQ(5, render(buffers, {0}, TovAudioContext(512, 1, 24.0, 0.0), at(-64), at(64)));
    EXPECT_TRUE(buffers.untouched());
  }
}

TEST_F(AudioFileEdgeTest, ShortWavFileIsStatus1)
{
  support::Bytes samples;
  for (int i = 1; i <= 50; ++i)
    samples.u16le(static_cast<unsigned int>(i));
  std::vector<std::uint8_t> bytes = support::wavFile(1, kRate, 16, samples).data();
  bytes[40] = 200; // bytes of samples that the header states
  open(folder.write("short.wav", bytes));
  Buffers buffers(1, 100);
  EXPECT_EQ(1, render(buffers, {0}, context, 0.0, at(100)));
  EXPECT_EQ(1, render(buffers, {0}, TovAudioContext(kRate / 2, 1, 24.0, 0.0), 0.0, at(100)));
  Buffers present(1, 50);
  EXPECT_EQ(0, render(present, {0}, context, 0.0, at(50)));
}

TEST_F(AudioFileEdgeTest, ShortAiffFileIsSilentWhereFramesAreMissing)
{
  const std::string path = writeRamp(folder, "short", Container::Aiff, 1, kRate, 100);
  std::vector<std::uint8_t> bytes = folder.read("short.aiff");
  bytes.resize(bytes.size() - 2 * 50);
  folder.write("short.aiff", bytes);
  open(path);
  Buffers buffers(1, 100);
  EXPECT_EQ(0, render(buffers, {0}, context, 0.0, at(100)));
  EXPECT_EQ(joined({ramp(0, 50), silence(50)}), buffers.samples(0));
  Buffers missing(1, 20);
  EXPECT_EQ(0, render(missing, {0}, context, at(70), at(90)));
  EXPECT_EQ(silence(20), missing.samples(0));
}

TEST_F(AudioFileEdgeTest, ConvertedShortAiffFileHearsNoStaleMemory)
{
  const std::string path = writeRamp(folder, "short", Container::Aiff, 1, kRate, 400);
  std::vector<std::uint8_t> bytes = folder.read("short.aiff");
  bytes.resize(bytes.size() - 2 * 200);
  folder.write("short.aiff", bytes);
  open(path);
  const reference::Source source{
      {joined({ramp(0, 200), silence(200)})}, kRate, kRate, 0.0, 400.0 / kRate};
  const TovAudioContext doubled(2 * kRate, 2, 24.0, 0.0);
  for (const auto& [first, end] : {std::pair{0, 150}, std::pair{150, 300}, std::pair{250, 350}}) {
    Buffers buffers(1, 2 * (end - first));
    ASSERT_EQ(0, render(buffers, {0}, doubled, at(first), at(end)));
    EXPECT_EQ(support::bits(
                  reference::render(source, {0}, 2 * kRate, 2, 0.0, at(first), at(end)).audio[0]),
              support::bits(buffers.samples(0)))
        << first;
  }
}

TEST_F(AudioFileEdgeTest, AiffRateIsRightOnEveryRequest)
{
  open(writeRamp(folder, "a", Container::Aiff, 1, 44100, 4000));
  file->setSrcIn(1000.0 / 44100.0 + 1e-9);
  const TovAudioContext same(44100, 1, 24.0, 0.0);
  for (int i = 0; i < 5; ++i) {
    Buffers buffers(1, 100);
    ASSERT_EQ(0, render(buffers, {0}, same, 0.0, 100.0 / 44100.0)) << i;
    EXPECT_EQ(ramp(1000, 100), buffers.samples(0)) << i;
  }
}

TEST_F(AudioFileEdgeTest, AiffRateIsRightAfterRequestsThatReadNothing)
{
  open(writeRamp(folder, "a", Container::Aiff, 1, 44100, 4000));
  file->setSrcIn(1000.0 / 44100.0 + 1e-9);
  const TovAudioContext same(44100, 1, 24.0, 0.0);
  for (int i = 0; i < 6; ++i) {
    Buffers buffers(1, 100);
    // Each of these asks the reader for its format an odd number of times.
    ASSERT_EQ(5, render(buffers, {0}, same, 100.0, 100.0 + 100.0 / 44100.0));
    if (i % 2) {
      ASSERT_EQ(4, render(buffers, {0}, TovAudioContext(0, 1, 24.0, 0.0), 0.0, 1.0));
    }
    if (i % 3 == 2) {
      ASSERT_EQ(1, render(buffers, {0}, same, 0.0, 1e9));
    }
    ASSERT_TRUE(buffers.untouched());
    ASSERT_EQ(0, render(buffers, {0}, same, 0.0, 100.0 / 44100.0)) << i;
    EXPECT_EQ(ramp(1000, 100), buffers.samples(0)) << i;
  }
}

TEST_F(AudioFileEdgeTest, AiffRateIsRightAfterEveryWayOfOpening)
{
  const std::string path = writeRamp(folder, "a", Container::Aiff, 1, 44100, 4000);
  open(path);
  EXPECT_EQ(44100, file->getPlaybackRate());
  file->setSrcIn(1000.0 / 44100.0 + 1e-9);
  const TovAudioContext same(44100, 1, 24.0, 0.0);
  for (int i = 0; i < 4; ++i) {
    if (i == 2) {
      ASSERT_EQ(0, file->refresh());
    }
    if (i == 3) {
      ASSERT_EQ(0, file->setFileName(path.c_str()));
    }
    ASSERT_EQ(0, file->activate(same));
    TovAudioIOFormat format{};
    ASSERT_EQ(0, file->getSourceFormat(&format));
    EXPECT_EQ(44100u, format.sampleRate);
    Buffers buffers(1, 100);
    ASSERT_EQ(0, render(buffers, {0}, same, 0.0, 100.0 / 44100.0)) << i;
    EXPECT_EQ(ramp(1000, 100), buffers.samples(0)) << i;
  }
}

TEST_F(AudioFileEdgeTest, RateIsThatOfTheFileOpenedLast)
{
  open(writeRamp(folder, "a", Container::Aiff, 1, 44100, 4000));
  file->setSrcIn(0.01 + 1e-9);
  const TovAudioContext same(44100, 1, 24.0, 0.0);
  Buffers buffers(1, 100);
  ASSERT_EQ(0, render(buffers, {0}, same, 0.0, 100.0 / 44100.0));
  EXPECT_EQ(ramp(441, 100), buffers.samples(0));

  // The playback rate stays; frame 480 is 0.01 s into the new file.
  const std::string other = writeRamp(folder, "b", Container::Aiff, 1, 48000, 4000);
  ASSERT_EQ(0, file->setFileName(other.c_str()));
  ASSERT_EQ(0, file->activate(same));
  ASSERT_EQ(0, render(buffers, {0}, same, 0.0, 100.0 / 44100.0));
  EXPECT_EQ(ramp(480, 100), buffers.samples(0));

  // Another file under the same name, opened by the activation alone.
  writeRamp(folder, "b", Container::Aiff, 1, 32000, 4000);
  ASSERT_EQ(0, file->activate(same));
  ASSERT_EQ(0, render(buffers, {0}, same, 0.0, 100.0 / 44100.0));
  EXPECT_EQ(ramp(320, 100), buffers.samples(0));
}

TEST_F(AudioFileEdgeTest, ContextRateBelowOneIsStatus4)
{
  openRamp(Container::Wav);
  for (const int rate : {0, -1, -44100, INT_MIN}) {
    Buffers buffers(1, 64);
    EXPECT_EQ(4, render(buffers, {0}, TovAudioContext(rate, 1, 24.0, 0.0), 0.0, 0.0625)) << rate;
    EXPECT_TRUE(buffers.untouched());
  }
}

TEST_F(AudioFileEdgeTest, PlaybackRateBelowOneIsStatus1)
{
  openRamp(Container::Wav);
  for (const std::uint32_t rate : {0u, 0xffffffffu, 0x80000000u}) {
    setUnclampedRate(rate);
    Buffers buffers(1, 64);
    EXPECT_EQ(1, render(buffers, {0}, context, 0.0, 0.0625)) << rate;
    EXPECT_TRUE(buffers.untouched());
  }
  setUnclampedRate(1);
  Buffers buffers(1, 64);
  EXPECT_EQ(0, render(buffers, {0}, context, 0.0, 0.0625));
}

TEST_F(AudioFileEdgeTest, APlaybackRateAbove8MegahertzIsNotConverted)
{
  openRamp(Container::Wav);
  for (const std::uint32_t rate : {8000001u, 0x7fffffffu}) {
    setUnclampedRate(rate);
    Buffers buffers(1, 64);
    EXPECT_EQ(1, render(buffers, {0}, context, 0.0, 0.0625)) << rate;
    EXPECT_TRUE(buffers.untouched());
    const int sameRate = static_cast<int>(rate);
    EXPECT_EQ(0, render(buffers, {0}, TovAudioContext(sameRate, 1, 24.0, 0.0), 0.0, 64.0 / rate));
  }
  setUnclampedRate(8000000u);
  Buffers buffers(1, 64);
  EXPECT_EQ(0, render(buffers, {0}, context, 0.0, 0.0625));
}

TEST_F(AudioFileEdgeTest, NoRateMakes4096FramesCostMoreThan64Megabytes)
{
  openRamp(Container::Wav);
  constexpr double kSeconds = 4096.0 / 8000;
  for (const int quality : {0, 1, 2, 3}) {
    for (const std::uint32_t rate : {1u, 192000u, 8000000u, 8000001u, 0x7fffffffu}) {
      Owned<TovAudioFile> fresh = support::make<TovAudioFile>();
      std::swap(file, fresh);
      open(fresh->getFileName());
      setUnclampedRate(rate);
      Buffers buffers(2, 4096);
      const long long before = support::heapInUse();
      render(buffers, {0, 0}, TovAudioContext(8000, quality, 24.0, 0.0), 0.0, kSeconds);
      EXPECT_LT(support::heapInUse() - before, 64LL << 20) << rate << " quality " << quality;
    }
  }
}

TEST_F(AudioFileEdgeTest, RequestAbove2To28FramesIsStatus1)
{
  openRamp(Container::Wav);
  const double limit = static_cast<double>(1LL << 28);
  Buffers buffers(1, 64);
  EXPECT_EQ(1, render(buffers, {0}, context, 0.0, at(limit + 1)));
  EXPECT_EQ(1, render(buffers, {0}, context, at(-limit), at(1)));
  EXPECT_EQ(1, render(buffers, {0}, context, 0.0, 1e300));
  EXPECT_EQ(1, render(buffers, {0}, context, 0.0, kInfinity));
  // Few frames on one side of the conversion, too many on the other.
  EXPECT_EQ(1, render(buffers, {0}, TovAudioContext(1, 1, 24.0, 0.0), 0.0, at(limit + 2048)));
  EXPECT_EQ(
      1, render(buffers, {0}, TovAudioContext(192000, 1, 24.0, 0.0), 0.0, (limit + 2) / 192000.0));
  EXPECT_TRUE(buffers.untouched());
}

TEST_F(AudioFileEdgeTest, TimesThatAreNoNumbersCountAsZero)
{
  openRamp(Container::Wav);
  Buffers buffers(1, 64);
  EXPECT_EQ(0, render(buffers, {0}, context, kNaN, at(64)));
  EXPECT_EQ(ramp(0, 64), buffers.samples(0));
  Buffers empty(1, 64);
  EXPECT_EQ(0, render(empty, {0}, context, kNaN, kNaN));
  EXPECT_EQ(0, render(empty, {0}, context, at(10), kNaN));
  EXPECT_TRUE(empty.untouched());
  Buffers converted(1, 128);
  EXPECT_EQ(0, render(converted, {0}, TovAudioContext(2 * kRate, 0, 24.0, kNaN), kNaN, at(64)));
  EXPECT_EQ(rampSample(0), converted.samples(0)[1]);
}

TEST_F(AudioFileEdgeTest, ExtremeTimesDeliverNothing)
{
  openRamp(Container::Wav);
  for (const int rate : {kRate, kRate - 1, 1, 192000}) {
    const TovAudioContext used(rate, 2, 24.0, 0.0);
    for (const auto& [t0, t1] :
         {std::pair{-kInfinity, kInfinity}, std::pair{kInfinity, kInfinity},
          std::pair{-kInfinity, -kInfinity}, std::pair{1e300, 2e300}, std::pair{-2e300, -1e300},
          std::pair{-1e300, 1e300}, std::pair{-kInfinity, 0.0}, std::pair{1e18, 1e18 + 256},
          std::pair{-1e18, -1e18 + 256}}) {
      Buffers buffers(1, 64);
      const int status = render(buffers, {0}, used, t0, t1);
      EXPECT_TRUE(status == 1 || status == 5) << rate << " " << t0 << " " << t1 << ": " << status;
      EXPECT_TRUE(buffers.untouched());
    }
    for (const auto& [t0, t1] : {std::pair{kInfinity, -kInfinity}, std::pair{1e300, -1e300},
                                 std::pair{0.1, -kInfinity}, std::pair{kInfinity, 0.0}}) {
      Buffers buffers(1, 64);
      const int status = render(buffers, {0}, used, t0, t1);
      EXPECT_TRUE(status == 0 || status == 5) << rate << " " << t0 << " " << t1 << ": " << status;
      EXPECT_TRUE(buffers.untouched());
    }
  }
}

TEST_F(AudioFileEdgeTest, ExtremeOffsetsAndEndsDeliverNothing)
{
  openRamp(Container::Aiff);
  Buffers buffers(1, 64);
  for (const double offset : {kInfinity, -kInfinity, 1e300, -1e300, 1e18, -1e18})
    EXPECT_EQ(5, render(buffers, {0}, TovAudioContext(kRate, 1, 24.0, offset), 0.0, at(64)))
        << offset;
  for (const double srcIn : {kInfinity, -kInfinity, 1e300, -1e300}) {
    file->setSrcIn(srcIn);
    EXPECT_EQ(5, render(buffers, {0}, context, 0.0, at(64))) << srcIn;
    EXPECT_EQ(5, render(buffers, {0}, TovAudioContext(kRate, 1, 24.0, -srcIn), 1e17, 1e17 + 0.0625))
        << srcIn;
  }
  EXPECT_TRUE(buffers.untouched());
  file->setSrcIn(kNaN);
  EXPECT_EQ(0, render(buffers, {0}, TovAudioContext(kRate, 1, 24.0, kNaN), 0.0, at(64)));
  EXPECT_EQ(ramp(0, 64), buffers.samples(0));
}

TEST_F(AudioFileEdgeTest, ExtremeDownsamplingReadsNothingOutsideItsBlock)
{
  open(writeRamp(folder, "fast", Container::Wav, 1, 192000, 192000));
  for (const int rate : {1, 2, 3, 7, 50}) {
    for (int quality = 0; quality < 4; ++quality) {
      Buffers buffers(1, rate);
      ASSERT_EQ(0, render(buffers, {0}, TovAudioContext(rate, quality, 24.0, 0.0), 0.0, 1.0));
      for (const float sample : buffers.samples(0)) {
        EXPECT_GT(sample, -0.5f) << rate << " at quality " << quality; // the ramp is 0 to 1
        EXPECT_LT(sample, 1.5f) << rate << " at quality " << quality;
      }
    }
  }
}

TEST_F(AudioFileEdgeTest, QualitiesOutsideTheRangeAreTheNearest)
{
  openRamp(Container::Wav);
  const auto rendered = [&](int quality) {
    Buffers buffers(1, 128);
    EXPECT_EQ(
        0, render(buffers, {0}, TovAudioContext(2 * kRate, quality, 24.0, 0.0), at(50), at(114)));
    return buffers.samples(0);
  };
  EXPECT_EQ(rendered(0), rendered(-1));
  EXPECT_EQ(rendered(0), rendered(INT_MIN));
  EXPECT_EQ(rendered(3), rendered(4));
  EXPECT_EQ(rendered(3), rendered(INT_MAX));
  EXPECT_NE(rendered(0), rendered(3));
}

TEST_F(AudioFileEdgeTest, FileOfNoRateHasNoLength)
{
  const std::string path = writeRamp(folder, "timeless", Container::Wav, 1, 0, 100);
  EXPECT_EQ(0, file->initialize(path.c_str()));
  EXPECT_EQ(0, file->getPlaybackRate());
  EXPECT_EQ(0.0, file->getSrcOut());
}

} // namespace
