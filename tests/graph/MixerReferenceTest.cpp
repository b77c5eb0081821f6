// Random mixes, compared bit for bit with the reference arithmetic.

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/graph/Noise.h"
#include "tests/reference/FileSpan.h"
#include "tests/reference/Mix.h"
#include "tests/support/Buffers.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/Setting.h"

namespace {

using support::Buffers;
using support::Operation;
using support::Owned;
using support::RecordingProvider;

double between(double low, double high, std::mt19937& random)
{
  return std::uniform_real_distribution<double>(low, high)(random);
}

template <typename Value>
Value oneOf(const std::vector<Value>& values, std::mt19937& random)
{
  return values[random() % values.size()];
}

/** The samples depend on every argument of the request, so that each has to be
 *  right to the last bit. */
std::uint64_t seedOf(std::uint64_t track, double timeOffset, double t0, double t1)
{
  return scrambled(scrambled(scrambled(track, timeOffset), t0), t1);
}

RecordingProvider::Audio libraryInput(std::uint64_t track, int status)
{
  return [=](const TovNLPArray<float>& buffers, const TovAudioContext& context, double t0,
             double t1, long long frames) {
    const std::uint64_t seed = seedOf(track, context.timeOffset, t0, t1);
    for (int channel = 0; channel < 2; ++channel) {
      for (long long frame = 0; frame < frames; ++frame)
        buffers[channel][frame] = awkwardSample(seed, channel, frame);
    }
    return status;
  };
}

auto referenceInput(std::uint64_t track, int status)
{
  return [=](std::vector<std::vector<float>>& buffers, double timeOffset, double t0, double t1) {
    const std::uint64_t seed = seedOf(track, timeOffset, t0, t1);
    for (int channel = 0; channel < 2; ++channel) {
      std::vector<float>& buffer = buffers[static_cast<std::size_t>(channel)];
      for (std::size_t frame = 0; frame < buffer.size(); ++frame)
        buffer[frame] = awkwardSample(seed, channel, static_cast<long long>(frame));
    }
    return status;
  };
}

struct Span {
  int rate;
  double t0;
  double t1;
};

class MixerReferenceTest : public ::testing::Test {
protected:
  Span randomSpan()
  {
    Span span;
    span.rate = random() % 3 == 0 ? 1 + static_cast<int>(random() % 192000)
                                  : oneOf<int>({1, 10, 49, 50, 51, 99, 100, 1000, 1024, 8000, 11025,
                                                22050, 44100, 48000, 96000, 192000},
                                               random);
    const double frames = random() % 20 == 0 ? 0.3 : between(0.0, 3000.0, random);
    const double origin = oneOf<double>({0.0, 0.0, -3.0, 100.0, -1e5, 1e6}, random);
    span.t0 = origin + between(-1.0, 1.0, random);
    if (random() % 3 == 0)
      span.t0 = std::floor(span.t0 * span.rate) / span.rate;
    span.t1 = span.t0 + frames / span.rate;
    return span;
  }

  double randomGain()
  {
    if (random() % 4 == 0)
      return oneOf<double>({0.0, 3e-5, 3.1623e-5, 3.17e-5, 6.4e-5, 1.0, 8.0, 100.0, -1.0}, random);
    return between(0.0, 2.0, random);
  }

  double randomPosition()
  {
    return random() % 3 == 0 ? oneOf<double>({-1.0, -0.5, 0.0, 0.99993, 1.0, -0.99997, 2.0}, random)
                             : between(-1.0, 1.0, random);
  }

  /** Gives the track at the index random settings, on both sides. */
  void setTrack(RecordingProvider* provider, reference::Track& track, const Span& span)
  {
    TovAudioTrack* const own = mixer->getTrack(provider);
    const double length = std::abs(span.t1 - span.t0);
    own->setMute(random() % 6 == 0);
    own->setSolo(random() % 8 == 0);
    own->setGain(static_cast<float>(randomGain()));
    own->setPan(static_cast<float>(randomPosition()));
    own->setWide(static_cast<float>(randomPosition()));
    const double low = std::min(span.t0, span.t1) - 0.04;
    double start = low + between(0.0, length + 0.05, random);
    if (random() % 4 == 0)
      start = oneOf<double>(
          {span.t0, span.t1, low - 100.0, std::floor(start * span.rate) / span.rate}, random);
    double end =
        start +
        oneOf<double>({0.0, -1.0, 0.00005, 0.0001, 0.00015, 0.005, 0.02, 0.03, 0.05}, random);
    if (random() % 2)
      end = start + between(0.0, length + 0.1, random);
    if (random() % 25 == 0)
      start = oneOf<double>({kNaN, kInfinity, -kInfinity, -1e300}, random);
    if (random() % 25 == 0)
      end = oneOf<double>({kNaN, kInfinity, -kInfinity, 1e300}, random);
    own->setStartTime(start);
    own->setEndTime(end);
    track.mute = own->getMute();
    track.solo = own->getSolo();
    track.gain = own->getGain();
    track.pan = own->getPan();
    track.wide = own->getWide();
    track.startTime = start;
    track.endTime = end;
  }

  void expectEqual(const std::vector<reference::Track>& tracks, const Span& span,
                   bool soloOverridesMute)
  {
    const TovAudioContext context(span.rate, 2, 24.0, 0.0);
    const long long frames = std::max(0LL, mixer->getNumSampleFrames(context, span.t0, span.t1));
    const std::vector<float> before(static_cast<std::size_t>(frames), Buffers::kUntouched);
    const reference::MixResult expected =
        reference::mix(tracks, mixer->getMasterGain(), span.rate, span.t0, span.t1,
                       soloOverridesMute, before, before);
    Buffers buffers(2, frames);
    ASSERT_EQ(expected.status, mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}),
                                               context, span.t0, span.t1));
    ASSERT_TRUE(buffers.guardsIntact());
    ASSERT_EQ(support::bits(expected.left), support::bits(buffers.samples(0)));
    ASSERT_EQ(support::bits(expected.right), support::bits(buffers.samples(1)));
    if (frames > 0)
      mostTracks = std::max(mostTracks, expected.mixed);
    if (expected.status == 0)
      ++delivered;
  }

  static constexpr double kInfinity = std::numeric_limits<double>::infinity();
  static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  std::mt19937 random{70};
  Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
  int mostTracks = 0;
  int delivered = 0;
};

TEST_F(MixerReferenceTest, RandomMixesEqualTheReference)
{
  support::SoloOverridesMute setting("0");
  for (int round = 0; round < 1500; ++round) {
    mixer->initialize();
    Span span = randomSpan();
    if (random() % 12 == 0)
      std::swap(span.t0, span.t1);
    if (random() % 40 == 0)
      (random() % 2 ? span.t0 : span.t1) = kNaN;
    if (std::isnan(span.t0 + span.t1)) {
      // NaN counts as index 0: keeps the request small.
      span.t0 = std::isnan(span.t0) ? kNaN : 0.5 / span.rate;
      span.t1 = std::isnan(span.t1) ? kNaN : 20.5 / span.rate;
    }
    mixer->setMasterGain(static_cast<float>(random() % 2 ? 1.0 : randomGain()));
    const bool overridden = random() % 2;
    setting.set(overridden ? "1" : "0");

    std::vector<Owned<RecordingProvider>> inputs;
    std::vector<reference::Track> tracks(random() % 7);
    for (reference::Track& track : tracks) {
      const std::uint64_t seed = random();
      const int status = random() % 6 == 0 ? 1 + static_cast<int>(random() % 5) : 0;
      inputs.push_back(support::make<RecordingProvider>());
      inputs.back()->setAudio(libraryInput(seed, status));
      track.input = referenceInput(seed, status);
      mixer->addProvider(inputs.back().get());
      setTrack(inputs.back().get(), track, span);
    }
    SCOPED_TRACE(::testing::Message() << "round " << round << " rate " << span.rate << " from "
                                      << span.t0 << " to " << span.t1);
    expectEqual(tracks, span, overridden);
    if (HasFatalFailure())
      return;
  }
  EXPECT_GT(delivered, 500);
  EXPECT_GE(mostTracks, 4);
}

TEST_F(MixerReferenceTest, SameMixerServesRequestsOfAnyRateAndLength)
{
  const Owned<RecordingProvider> first = support::make<RecordingProvider>();
  const Owned<RecordingProvider> second = support::make<RecordingProvider>();
  first->setAudio(libraryInput(1, 0));
  second->setAudio(libraryInput(2, 0));
  mixer->addProvider(first.get());
  mixer->addProvider(second.get());
  std::vector<reference::Track> tracks(2);
  tracks[0].input = referenceInput(1, 0);
  tracks[1].input = referenceInput(2, 0);
  for (int round = 0; round < 300; ++round) {
    const Span span = randomSpan();
    setTrack(first.get(), tracks[0], span);
    setTrack(second.get(), tracks[1], span);
    SCOPED_TRACE(::testing::Message() << "round " << round << " rate " << span.rate << " from "
                                      << span.t0 << " to " << span.t1);
    expectEqual(tracks, span, false);
    if (HasFatalFailure())
      return;
  }
  EXPECT_GT(delivered, 100);
}

TEST_F(MixerReferenceTest, MixesOfRandomFilesEqualTheReference)
{
  const support::TempFolder folder;
  const support::Messages messages;
  for (int round = 0; round < 40; ++round) {
    mixer->initialize();
    mixer->setMasterGain(0.75f);
    const int rate = oneOf<int>({22050, 44100, 48000}, random);
    const int quality = static_cast<int>(random() % 4);
    const double t0 = between(-0.02, 0.05, random);
    const double t1 = t0 + between(0.0, 1500.0, random) / rate;
    std::vector<Owned<TovAudioFile>> files;
    std::vector<reference::Track> tracks(3);
    for (std::size_t i = 0; i < tracks.size(); ++i) {
      const Container container = random() % 2 ? Container::Wav : Container::Aiff;
      const GeneratedFile generated = generateFile(
          folder, std::to_string(i), container, 1 + static_cast<int>(random() % 3),
          oneOf<int>({22050, 44100, 48000, 96000}, random), oneOf<int>({8, 16, 24}, random),
          200 + static_cast<int>(random() % 3000), random);
      files.push_back(support::make<TovAudioFile>());
      TovAudioFile* const file = files.back().get();
      ASSERT_EQ(0, file->initialize(generated.path.c_str()));
      reference::Source source = generated.source;
      source.srcIn = between(0.0, 0.01, random);
      file->setSrcIn(source.srcIn);
      mixer->addProvider(file);
      reference::Track& track = tracks[i];
      track.startTime = between(-0.03, 0.06, random);
      track.endTime = random() % 2 ? track.startTime : track.startTime + between(0.0, 0.1, random);
      track.pan = static_cast<float>(between(-1.0, 1.0, random));
      track.input = [=](std::vector<std::vector<float>>& buffers, double timeOffset, double a,
                        double b) {
        const reference::Delivered rendered =
            reference::render(source, {0, 1}, rate, quality, timeOffset, a, b);
        if (rendered.status == 0)
          buffers = rendered.audio;
        return rendered.status;
      };
      mixer->setStartTime(file, track.startTime);
      mixer->setEndTime(file, track.endTime);
      mixer->setPan(file, track.pan);
    }
    const TovAudioContext context(rate, quality, 24.0, 0.0);
    mixer->activate(context);
    const long long frames = mixer->getNumSampleFrames(context, t0, t1);
    const std::vector<float> before(static_cast<std::size_t>(frames), Buffers::kUntouched);
    const reference::MixResult expected =
        reference::mix(tracks, 0.75f, rate, t0, t1, false, before, before);
    Buffers buffers(2, frames);
    ASSERT_EQ(expected.status,
              mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}), context, t0, t1))
        << round;
    ASSERT_TRUE(buffers.guardsIntact());
    ASSERT_EQ(support::bits(expected.left), support::bits(buffers.samples(0))) << round;
    ASSERT_EQ(support::bits(expected.right), support::bits(buffers.samples(1))) << round;
    delivered += expected.mixed;
  }
  EXPECT_GT(delivered, 40);
}

} // namespace
