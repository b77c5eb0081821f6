// What loading settings costs in memory, once and again and again.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "tests/support/Memory.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/SettingsBlobs.h"

namespace {

using support::Bytes;
using support::fileBlob;
using support::mixerBlob;
using support::Owned;

constexpr long long kMebibyte = 1024 * 1024;

class SettingsMemoryTest : public ::testing::Test {
protected:
  ~SettingsMemoryTest() override
  {
    master->clear();
    master->setMasterGain(1.0f);
  }

  support::Messages messages;
  Owned<TovAudioMixer> master = Owned<TovAudioMixer>(TovAudioMixer::getMasterMixer());
};

/** The most tracks that a blob can hold, in 5 MiB. */
Bytes fullBlob()
{
  Bytes blob = support::mixerHeader(2, 1.0f, 65535);
  for (unsigned int i = 0; i < 65535; ++i) {
    char name[16];
    std::snprintf(name, sizeof name, "/no/%05u.wav", i);
    blob.zeros(2).f32be(1.0f).f32be(0.0f).f32be(1.0f).f64be(i).f64be(i + 1.0).f64be(0.0);
    blob.append(fileBlob({name, i, 0.0, 1.0}));
  }
  return blob;
}

TEST_F(SettingsMemoryTest, TracksInFiveMebibytesLoadInBoundedMemory)
{
  const Bytes blob = fullBlob();
  EXPECT_EQ(14u + 65535u * 80u, blob.size());
  const std::string text = support::scriptText(blob.data());
  const long long heapBefore = support::heapInUse();
  const long long residentBefore = support::residentBytes();
  TovAudioMixer::loadAudioStatic(text.c_str());
  EXPECT_LT(support::heapInUse() - heapBefore, 96 * kMebibyte);
  EXPECT_LT(support::peakResidentBytes() - residentBefore,
            (support::hasSanitizerOverhead() ? 1536 : 192) * kMebibyte);
  ASSERT_EQ(65535, master->getNumTracks());
  const TovAudioTrack* const last = master->getTrack(65534);
  EXPECT_EQ(65534.0, last->getStartTime());
  EXPECT_STREQ("/no/65534.wav", dynamic_cast<TovAudioFile*>(last->getProvider())->getFileName());
  EXPECT_EQ(65535u, messages.take().size());
  EXPECT_EQ(blob.data(), support::serialized(*master));
  master->clear();
  EXPECT_LT(support::heapInUse() - heapBefore, 2 * kMebibyte);
}

TEST_F(SettingsMemoryTest, NamesBeyondAnyPathAreNotTakenApart)
{
  // Half of them folders, half of them variables whose values are long.
  const std::size_t length = 4 * kMebibyte;
  std::string folders;
  std::string variables;
  while (folders.size() < length)
    folders += "a/";
  while (variables.size() < length)
    variables += "$PATH";
  for (const std::string& name : {folders, variables}) {
    const long long peakBefore = support::peakResidentBytes();
    const Bytes blob = mixerBlob(2, 1.0f, {{.provider = fileBlob({name})}});
    TovAudioMixer::loadAudioStatic(support::scriptText(blob.data()).c_str());
    ASSERT_EQ(1, master->getNumTracks());
    EXPECT_EQ(name, dynamic_cast<TovAudioFile*>(master->getTrack(0)->getProvider())->getFileName());
    EXPECT_LT(support::peakResidentBytes() - peakBefore,
              (support::hasSanitizerOverhead() ? 512 : 96) * kMebibyte);
    EXPECT_EQ(1u, messages.take().size()); // there is no such file
  }
}

TEST_F(SettingsMemoryTest, FullBlobThatLacksItsLastByteCostsNoTracks)
{
  std::vector<std::uint8_t> bytes = fullBlob().data();
  bytes.pop_back();
  const std::string text = support::scriptText(bytes);
  TovAudioMixer::loadAudioStatic(text.c_str());
  EXPECT_EQ((std::vector<std::string>{support::kBadAudioData}), messages.take());
  EXPECT_EQ(0, master->getNumTracks());
}

TEST_F(SettingsMemoryTest, LoadingAThousandTimesTakesNoMoreThanLoadingOnce)
{
  const std::string good = support::scriptText(
      mixerBlob(2, 1.0f, {{.provider = fileBlob({"/no/voice.wav"})}, {.provider = fileBlob({})}})
          .data());
  const std::string rejected = support::scriptText(
      mixerBlob(2, 1.0f, {{.provider = fileBlob({"/no/voice.wav"})}, {.provider = fileBlob({}, 1)}})
          .data());
  const std::string cutShort = support::scriptText(support::mixerHeader(2, 1.0f, 1).data());
  const auto loadAll = [&] {
    for (const char* const text : {good.c_str(), rejected.c_str(), cutShort.c_str(), "no text",
                                   static_cast<const char*>(nullptr), good.c_str()})
      TovAudioMixer::loadAudioStatic(text);
    TovAudioMixer::saveAudioStringStatic();
    messages.take();
  };
  for (int i = 0; i < 50; ++i)
    loadAll();
  const long long heapBefore = support::heapInUse();
  const long long residentBefore = support::residentBytes();
  for (int i = 0; i < 1000; ++i)
    loadAll();
  EXPECT_LT(support::heapInUse() - heapBefore, 16 * 1024);
  // The address sanitizer keeps what was freed for a while, on purpose.
  EXPECT_LT(support::residentBytes() - residentBefore,
            (support::hasSanitizerOverhead() ? 512 : 2) * kMebibyte);
}

} // namespace
