// Settings that a script may hold, loaded and rendered.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/hostile/Cost.h"
#include "tests/hostile/HostileUse.h"
#include "tests/support/FileFormats.h"
#include "tests/support/IntegerSound.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/Setting.h"
#include "tests/support/SettingsBlobs.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;
using support::Cost;
using support::FileSettings;
using support::FrameRequest;
using support::Owned;
using support::TrackSettings;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/** The numbers of a mix of two tracks, of which the first is to be hostile. */
struct Mix {
  float masterGain = 1.0f;
  TrackSettings track = {};
  FileSettings file = {};
};

/** One number replaced. */
struct Change {
  std::string name;
  std::function<void(Mix&)> make;
};

const std::vector<double>& hostileTimes()
{
  static const std::vector<double> values = {
      0.0,  -0.0,   1e-310, 0.01,  0.5,    -0.5,  1e4,       -1e4,      0x1p31, 0x1p32, 0x1p53,
      0x1p63, -0x1p63, 1e300, -1e300, kNaN, kInfinity, -kInfinity};
  return values;
}

const std::vector<float>& hostileLevels()
{
  static const std::vector<float> values = {0.0f,  -0.0f, 1e-45f, -1.0f, 8.0f, 1e30f, -1e30f,
                                            3e38f, std::numeric_limits<float>::quiet_NaN(),
                                            std::numeric_limits<float>::infinity(),
                                            -std::numeric_limits<float>::infinity()};
  return values;
}

/** The changes of each number of the mix. */
std::vector<std::vector<Change>> allChanges()
{
  std::vector<std::vector<Change>> all;
  const auto add = [&all](const std::string& name, const auto& values, auto set) {
    std::vector<Change> changes;
    for (const auto value : values)
      changes.push_back(
          {name + " " + std::to_string(value), [set, value](Mix& mix) { set(mix, value); }});
    all.push_back(changes);
  };
  const std::vector<unsigned int> flags = {1, 2, 0xff};
  const std::vector<std::uint32_t> rates = {
      0,      1,      2,       199,     200,     0x7fff,     0x8000,     0xffff,     192000,
      192001, 384000, 7999999, 8000000, 8000001, 0x7fffffff, 0x80000000, 0x80000001, 0xffffffff};
  add("mute", flags, [](Mix& mix, unsigned int value) { mix.track.mute = value; });
  add("solo", flags, [](Mix& mix, unsigned int value) { mix.track.solo = value; });
  add("master gain", hostileLevels(), [](Mix& mix, float value) { mix.masterGain = value; });
  add("gain", hostileLevels(), [](Mix& mix, float value) { mix.track.gain = value; });
  add("pan", hostileLevels(), [](Mix& mix, float value) { mix.track.pan = value; });
  add("wide", hostileLevels(), [](Mix& mix, float value) { mix.track.wide = value; });
  add("start", hostileTimes(), [](Mix& mix, double value) { mix.track.startTime = value; });
  add("end", hostileTimes(), [](Mix& mix, double value) { mix.track.endTime = value; });
  add("shift", hostileTimes(), [](Mix& mix, double value) { mix.track.timeShift = value; });
  add("rate", rates, [](Mix& mix, std::uint32_t value) { mix.file.rate = value; });
  add("in", hostileTimes(), [](Mix& mix, double value) { mix.file.srcIn = value; });
  add("out", hostileTimes(), [](Mix& mix, double value) { mix.file.srcOut = value; });
  return all;
}

class HostileSettings : public testing::Test {
protected:
  HostileSettings()
  {
    folder.write("a.wav", support::wavOf(support::randomSound(2, 44100, 44100, 16, 1)));
    folder.write("b.aiff", support::aiffOf(support::randomSound(1, 44100, 44100, 24, 2)));
    folder.write("c.wav", Bytes()
                              .text("RIFF")
                              .u32le(0xffffffff)
                              .text("WAVEfmt ")
                              .u32le(16)
                              .u16le(1)
                              .u16le(2)
                              .u32le(44100)
                              .u32le(176400)
                              .u16le(4)
                              .u16le(16)
                              .text("data")
                              .u32le(0xffffffff)
                              .zeros(4096));
  }

  ~HostileSettings() override
  {
    master->clear();
    master->setMasterGain(1.0f);
  }

  void load(const Bytes& blob) const
  {
    const std::string text = support::scriptText(blob.data());
    const Cost loading;
    TovAudioMixer::loadAudioStatic(text.c_str());
    EXPECT_TRUE(loading.isBounded()) << "loading";
  }

  /** The mix with the changes, loaded and rendered. */
  void useWith(const std::vector<Change>& changes)
  {
    Mix mix;
    constexpr const char* kNames[] = {"a.wav", "b.aiff", "c.wav"};
    const std::string name = kNames[support::below(random, 3)];
    mix.file = {.name = folder.path(name), .rate = 44100, .srcOut = 1.0};
    std::string trace = name;
    for (const Change& change : changes) {
      change.make(mix);
      trace += ", " + change.name;
    }
    SCOPED_TRACE(trace);
    mix.track.provider = support::fileBlob(mix.file);
    const TrackSettings good = {.provider = support::fileBlob(
                                    {.name = folder.path("a.wav"), .rate = 44100, .srcOut = 1.0})};
    load(support::mixerBlob(2, mix.masterGain, {mix.track, good}));
    EXPECT_EQ(master->getNumTracks(), 2);
    constexpr int kRates[] = {8000, 11025, 44100, 192000};
    constexpr double kTimes[] = {0.0, -0.01, 0.25, 1000.0};
    const FrameRequest request = {kRates[support::below(random, 4)],
                                  static_cast<int>(support::below(random, 4)),
                                  kTimes[support::below(random, 4)]};
    const int status = support::renderBounded(*master, request);
    EXPECT_TRUE(status == 0 || status == 5) << status;
  }

  /** So many tracks of a file at a rate, rendered at the lowest context rate. */
  void expectBounded(int trackCount, std::uint32_t rate)
  {
    SCOPED_TRACE(std::to_string(trackCount) + " tracks at " + std::to_string(rate));
    const FileSettings settings = {.name = folder.path("a.wav"), .rate = rate, .srcOut = 1.0};
    load(support::mixerBlob(2, 1.0f,
                            std::vector<TrackSettings>(static_cast<std::size_t>(trackCount),
                                                       {.provider = support::fileBlob(settings)})));
    ASSERT_EQ(master->getNumTracks(), trackCount);
    EXPECT_EQ(support::renderBounded(*master, {8000, 0, 0.0}), 0);
  }

  support::Messages messages; // a bad blob is told each time
  support::Setting addScript = support::Setting("gui.addScriptFlag", kTovIdInteger, "0");
  support::TempFolder folder;
  Owned<TovAudioMixer> master = Owned<TovAudioMixer>(TovAudioMixer::getMasterMixer());
  std::mt19937 random{21};
};

TEST_F(HostileSettings, OneAtATimeAreBounded)
{
  for (const std::vector<Change>& changes : allChanges()) {
    for (const Change& change : changes) {
      useWith({change});
      if (HasFailure())
        return;
    }
  }
}

TEST_F(HostileSettings, TwoAtATimeAreBounded)
{
  const std::vector<std::vector<Change>> all = allChanges();
  std::vector<std::pair<Change, Change>> pairs;
  for (std::size_t a = 0; a < all.size(); ++a)
    for (std::size_t b = a + 1; b < all.size(); ++b)
      for (const Change& first : all[a])
        for (const Change& second : all[b])
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

TEST_F(HostileSettings, OfOneTrackAtTheGreatestConvertedRateAreBounded)
{
  expectBounded(1, 8000000);
}

// Each input keeps what it converts in, which must not add up.
TEST_F(HostileSettings, OfManyTracksAtTheGreatestConvertedRateAreBounded)
{
  expectBounded(8, 8000000);
}

TEST_F(HostileSettings, OfManyTracksAtAUsualRateAreBounded)
{
  expectBounded(500, 48000);
}

TEST_F(HostileSettings, OfATrackCountBeyondTheBlobAreRefused)
{
  const Bytes track = support::mixerBlob(2, 1.0f, {{.provider = support::fileBlob({})}});
  for (const unsigned int count : {2u, 0x7fffu, 0x8000u, 0xffffu}) {
    Bytes blob = support::mixerHeader(2, 1.0f, count);
    blob.append(std::vector<std::uint8_t>(track.data().begin() + 14, track.data().end()));
    load(blob);
    EXPECT_EQ(support::renderBounded(*master, {44100, 3, 0.0}), 5);
    EXPECT_EQ(support::badDataMessages(messages.take()), 1);
  }
}

TEST_F(HostileSettings, OfFilesThatAreNoneLoadAndAreSilent)
{
  for (const std::string& name : {std::string("/dev/zero"), std::string("/dev/zero/x.wav"),
                                  std::string("/"), folder.folder(), std::string(1 << 20, 'x'),
                                  std::string(1 << 20, '/'), std::string(1 << 20, '$')}) {
    SCOPED_TRACE(name.substr(0, 100));
    load(support::mixerBlob(2, 1.0f,
                            {{.provider = support::fileBlob({.name = name, .srcOut = 1.0})}}));
    EXPECT_EQ(master->getNumTracks(), 1);
    EXPECT_EQ(support::renderBounded(*master, {44100, 3, 0.0}), 5);
  }
}

// A resampler's own rate, outside 200 to 40000 of no effect, over an input at
// any rate.
TEST_F(HostileSettings, OfAResamplerAreBounded)
{
  for (const std::uint32_t source : {0u, 1u, 199u, 200u, 8000u, 40000u, 40001u, 0x7fffffffu,
                                     0x80000000u, 0xffffffffu}) {
    for (const std::uint32_t rate : {1u, 200u, 192000u, 8000000u, 0xffffffffu}) {
      SCOPED_TRACE(std::to_string(source) + " of " + std::to_string(rate));
      const Owned<TovAudioFile> file = support::make<TovAudioFile>();
      const support::ExactBlock settings(
          support::fileBlob({.name = folder.path("a.wav"), .rate = rate, .srcOut = 1.0}).data());
      ASSERT_GT(file->deserializeBounded(settings.data(), settings.size(), false), 0);
      const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(file.get());
      const support::ExactBlock own(support::resamplerHeader(source, 0).data());
      ASSERT_EQ(resampler->deserializeBounded(own.data(), own.size(), false), 13);
      const int status = support::renderBounded(*resampler, {8000, 0, 0.0});
      EXPECT_TRUE(status == 0 || status == 1 || status == 5) << status;
    }
  }
}

} // namespace
