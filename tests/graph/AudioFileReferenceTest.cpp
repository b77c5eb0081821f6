// Random files and requests, compared bit for bit with the reference
// arithmetic; and spans in parts against the whole.

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/reference/FileSpan.h"
#include "tests/support/Buffers.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"

namespace {

using support::Buffers;
using support::Owned;

template <typename Value, typename Random>
Value oneOf(const std::vector<Value>& values, Random& random)
{
  return values[random() % values.size()];
}

double between(double low, double high, std::mt19937& random)
{
  return std::uniform_real_distribution<double>(low, high)(random);
}

const std::vector<int> kFileRates = {2,     11,    100,   1024,  8000,  11025,  22050,
                                     32000, 44100, 48000, 88200, 96000, 192000, 384000};
const std::vector<int> kContextRates = {1,     7,     200,   1000,  8000,  22050,
                                        24000, 44100, 48000, 96000, 192000};

struct Request {
  int contextRate;
  int quality;
  double timeOffset;
  double t0;
  double t1;
  std::vector<int> channelMap;
};

class AudioFileReferenceTest : public ::testing::TestWithParam<Container> {
protected:
  /** Opens a random file and gives the provider random settings. */
  GeneratedFile openRandomFile(std::mt19937& random)
  {
    const int channels = 1 + static_cast<int>(random() % 5);
    const int frames = static_cast<int>(random() % 10 == 0 ? random() % 4 : random() % 3000);
    const int rate = oneOf(kFileRates, random);
    GeneratedFile generated = generateFile(folder, "random", GetParam(), channels, rate,
                                           oneOf<int>({8, 16, 24, 32}, random), frames, random);
    EXPECT_EQ(0, file->initialize(generated.path.c_str()));
    EXPECT_EQ(0, file->activate(TovAudioContext(44100, 1, 24.0, 0.0)));
    reference::Source& source = generated.source;
    const double length = source.srcOut;
    if (random() % 2) {
      const int playbackRate = std::max(200, oneOf(kContextRates, random));
      file->setPlaybackRate(playbackRate);
      source.playbackRate = playbackRate;
    }
    if (random() % 2) {
      source.srcIn = between(-0.3 * length, 1.1 * length, random);
      file->setSrcIn(source.srcIn);
    }
    if (random() % 2) {
      source.srcOut = between(-0.3 * length, 1.5 * length, random);
      file->setSrcOut(source.srcOut);
    }
    return generated;
  }

  static Request randomRequest(const reference::Source& source, std::mt19937& random)
  {
    Request request;
    request.contextRate = random() % 3 == 0 ? source.playbackRate : oneOf(kContextRates, random);
    // Far beyond, so many steps of the stretched filter are added up in single
    // precision that the taps reach past the handles; see AudioFileEdgeTest.
    request.contextRate = std::max(request.contextRate, source.playbackRate / 500);
    request.quality = static_cast<int>(random() % 6) - 1;
    // Seconds of request time in which the file's frames are played.
    const double length = static_cast<double>(source.channels[0].size()) / source.playbackRate;
    request.timeOffset = random() % 2 ? 0.0 : between(-1.5 * length, 1.5 * length, random);
    // Bounded by frames on both sides of the conversion, and by filter taps.
    const double ratio = static_cast<double>(source.playbackRate) / request.contextRate;
    const double frames = between(0.0, 600.0 / std::max(1.0, ratio / 4.0), random);
    const double start = between(-0.4, 1.3, random) * length + request.timeOffset;
    request.t0 = start;
    request.t1 = start + frames / request.contextRate;
    if (random() % 3 == 0) // right on frames
      request.t0 = static_cast<double>(static_cast<long long>(start * request.contextRate)) /
                   request.contextRate;
    if (random() % 15 == 0)
      std::swap(request.t0, request.t1);
    const std::size_t outputs = 1 + random() % 5;
    for (std::size_t i = 0; i < outputs; ++i)
      request.channelMap.push_back(static_cast<int>(random() % 8) - 1);
    return request;
  }

  void expectEqual(const GeneratedFile& generated, const Request& request)
  {
    const reference::Delivered expected =
        reference::render(generated.source, request.channelMap, request.contextRate,
                          request.quality, request.timeOffset, request.t0, request.t1);
    const TovAudioContext context(request.contextRate, request.quality, 24.0, request.timeOffset);
    const long long frames =
        std::max(0LL, file->getNumSampleFrames(context, request.t0, request.t1));
    Buffers buffers(static_cast<int>(request.channelMap.size()), frames);
    ASSERT_EQ(expected.status,
              file->getAudio(buffers.pointers(), support::channelMap(request.channelMap), context,
                             request.t0, request.t1));
    ASSERT_TRUE(buffers.guardsIntact());
    ++statuses[static_cast<std::size_t>(expected.status)];
    if (expected.status != 0) {
      ASSERT_TRUE(buffers.untouched());
      return;
    }
    for (std::size_t i = 0; i < request.channelMap.size(); ++i) {
      if (frames == 0)
        continue;
      ASSERT_EQ(support::bits(expected.audio[i]),
                support::bits(buffers.samples(static_cast<int>(i))))
          << "output " << i;
    }
  }

  support::TempFolder folder;
  support::Messages messages;
  Owned<TovAudioFile> file = support::make<TovAudioFile>();
  std::vector<int> statuses = std::vector<int>(6, 0);
};

TEST_P(AudioFileReferenceTest, RandomRequestsEqualTheReference)
{
  std::mt19937 random(GetParam() == Container::Wav ? 60 : 61);
  for (int round = 0; round < 120; ++round) {
    const GeneratedFile generated = openRandomFile(random);
    for (int i = 0; i < 8; ++i) {
      const Request request = randomRequest(generated.source, random);
      SCOPED_TRACE(::testing::Message()
                   << "round " << round << " request " << i << " file rate "
                   << generated.source.rate << " playback " << generated.source.playbackRate
                   << " context " << request.contextRate << " quality " << request.quality << " in "
                   << generated.source.srcIn << " out " << generated.source.srcOut << " offset "
                   << request.timeOffset << " from " << request.t0 << " to " << request.t1);
      expectEqual(generated, request);
      if (HasFatalFailure())
        return;
    }
  }
  EXPECT_GT(statuses[0], 300);
  EXPECT_GT(statuses[5], 100);
}

TEST_P(AudioFileReferenceTest, EveryQualityAndRatePairEqualsTheReference)
{
  std::mt19937 random(GetParam() == Container::Wav ? 62 : 63);
  for (const int fileRate : {8000, 44100, 48000, 96000}) {
    const GeneratedFile generated =
        generateFile(folder, "pair", GetParam(), 2, fileRate, 24, 2000, random);
    ASSERT_EQ(0, file->initialize(generated.path.c_str()));
    ASSERT_EQ(0, file->activate(TovAudioContext(44100, 1, 24.0, 0.0)));
    for (const int contextRate : {200, 8000, 11025, 44099, 44100, 48000, 192000}) {
      for (int quality = 0; quality < 4; ++quality) {
        const double start = between(-0.001, 0.02, random);
        const double frames = between(1.0, contextRate < 8000 ? 30.0 : 300.0, random);
        SCOPED_TRACE(::testing::Message() << fileRate << " to " << contextRate << " at quality "
                                          << quality << " from " << start << " frames " << frames);
        expectEqual(generated,
                    {contextRate, quality, 0.0, start, start + frames / contextRate, {0, 1}});
        if (HasFatalFailure())
          return;
      }
    }
  }
}

TEST_P(AudioFileReferenceTest, SpanInPartsEqualsTheWholeAtEqualRates)
{
  std::mt19937 random(GetParam() == Container::Wav ? 64 : 65);
  for (int round = 0; round < 60; ++round) {
    const GeneratedFile generated = openRandomFile(random);
    const int rate = generated.source.playbackRate;
    const double length = static_cast<double>(generated.source.channels[0].size()) / rate;
    const TovAudioContext context(rate, 3, 24.0, between(-0.1, 0.1, random) * length);
    const TovNLArray<int> map = support::channelMap({0, 1});
    std::vector<double> cuts;
    for (int i = 0; i < 5; ++i)
      cuts.push_back(between(-0.3, 1.3, random) * length);
    std::sort(cuts.begin(), cuts.end());

    Buffers whole(2, file->getNumSampleFrames(context, cuts.front(), cuts.back()));
    const int wholeStatus =
        file->getAudio(whole.pointers(), map, context, cuts.front(), cuts.back());
    ASSERT_TRUE(wholeStatus == 0 || wholeStatus == 5) << wholeStatus;
    std::vector<std::vector<float>> left;
    std::vector<std::vector<float>> right;
    bool allPartsRefused = true;
    for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
      const long long frames = file->getNumSampleFrames(context, cuts[i], cuts[i + 1]);
      Buffers part(2, frames);
      const int status = file->getAudio(part.pointers(), map, context, cuts[i], cuts[i + 1]);
      allPartsRefused = allPartsRefused && status == 5;
      // The exception: a part that lies outside the file as a whole is refused
      // where the whole span has silence.
      left.push_back(status == 5 ? silence(frames) : part.samples(0));
      right.push_back(status == 5 ? silence(frames) : part.samples(1));
    }
    if (wholeStatus == 5) {
      // A whole that starts at or behind the end has no part that delivers.
      EXPECT_TRUE(allPartsRefused) << round;
      continue;
    }
    EXPECT_EQ(support::bits(whole.samples(0)), support::bits(joined(left))) << round;
    EXPECT_EQ(support::bits(whole.samples(1)), support::bits(joined(right))) << round;
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, AudioFileReferenceTest,
                         ::testing::Values(Container::Wav, Container::Aiff),
                         [](const ::testing::TestParamInfo<Container>& tested) {
                           return tested.param == Container::Wav ? "Wav" : "Aiff";
                         });

} // namespace
