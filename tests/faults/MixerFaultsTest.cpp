// Adding to a mix, copying it, and the settings that a script keeps.

#include <filesystem>

#include "core/TovFile.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "tests/faults/FaultLoop.h"
#include "tests/faults/SoundFiles.h"
#include "tests/faults/WholeBlob.h"
#include "tests/support/Listener.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/Setting.h"
#include "tests/support/SettingsBlobs.h"

namespace {

using namespace support;

/** Two files that providers are made of. */
class TwoFiles {
public:
  static constexpr int kCount = 2;

  Owned<TovAudioFile> open(int index) const
  {
    Owned<TovAudioFile> file = make<TovAudioFile>();
    EXPECT_EQ(file->initialize(paths[index].c_str()), 0);
    return file;
  }

  static float gain(int index) { return 0.5f + static_cast<float>(index); }
  static double startTime(int index) { return 1.25 * index; }

  /** Fills a mixer and gives every track settings of its own. */
  void fill(TovAudioMixer& mixer) const
  {
    for (int i = 0; i < kCount; ++i) {
      const Owned<TovAudioFile> file = open(i);
      EXPECT_EQ(mixer.addProvider(file.get()), 0);
      mixer.setGain(file.get(), gain(i));
      mixer.setStartTime(file.get(), startTime(i));
    }
  }

  const TempFolder& folder() const { return files.folder(); }

private:
  SoundFiles files;
  const std::string paths[kCount] = {files.wav("first.wav", 44100, 1),
                                     files.aiff("second.aiff", 48000, 2)};
};

class Adding : public Scenario {
public:
  void attempt(Attempt& attempt) override
  {
    const Owned<TovAudioMixer> mixer = make<TovAudioMixer>();
    const Owned<TovAudioFile> inputs[] = {files.open(0), files.open(1)};
    Listener listener(*mixer);
    int added = 0;
    attempt.under([&] {
      for (const Owned<TovAudioFile>& input : inputs)
        added += mixer->addProvider(input.get()) == 0;
    });
    EXPECT_FALSE(isLockHeld(*mixer));
    EXPECT_EQ(mixer->getNumTracks(), added) << "an addition that failed added something";
    for (int i = 0; i < TwoFiles::kCount; ++i)
      EXPECT_EQ(referenceCount(*inputs[i]), i < added ? 2 : 1);
    EXPECT_EQ(listener.take(), added);

    for (const Owned<TovAudioFile>& input : inputs) {
      EXPECT_FALSE(isLockHeld(*input));
      if (!mixer->getTrack(input.get())) {
        EXPECT_EQ(mixer->addProvider(input.get()), 0);
      }
      listener.take();
      input->setSrcIn(0.5);
      EXPECT_EQ(listener.take(), 1) << "the mixer has not subscribed, or twice";
    }
    EXPECT_EQ(mixer->getNumTracks(), TwoFiles::kCount);
    EXPECT_TRUE(listener.lockWasFree());
  }

private:
  TwoFiles files;
};

class Copying : public Scenario {
public:
  void attempt(Attempt& attempt) override
  {
    Messages messages;
    const Owned<TovAudioMixer> mixer = make<TovAudioMixer>();
    files.fill(*mixer);
    TovAudioProvider* copy = nullptr;
    attempt.under([&] { copy = mixer->clone(); });
    EXPECT_FALSE(isLockHeld(*mixer));
    for (int i = 0; i < TwoFiles::kCount; ++i) {
      EXPECT_FALSE(isLockHeld(*mixer->getTrack(i)->getProvider()));
      EXPECT_EQ(referenceCount(*mixer->getTrack(i)->getProvider()), 1);
    }
    if (!copy)
      copy = mixer->clone();
    // A file that cannot be opened keeps its name and its settings.
    EXPECT_EQ(serialized(*copy), serialized(*mixer));
    copy->dereference();
  }

private:
  TwoFiles files;
};

// --- The master mixer's settings --------------------------------------------

class WithMasterMixer : public Scenario {
public:
  WithMasterMixer()
  {
    mixer->clear();
    files.fill(*mixer);
    blob = serialized(*mixer);
    line = TovAudioMixer::saveAudioStringStatic().c_str();
    mixer->clear();
  }

  ~WithMasterMixer() override { mixer->clear(); }

protected:
  TwoFiles files;
  const Owned<TovAudioMixer> mixer = Owned<TovAudioMixer>(TovAudioMixer::getMasterMixer());
  std::vector<std::uint8_t> blob;
  std::string line;
};

class Serializing : public WithMasterMixer {
public:
  void attempt(Attempt& attempt) override
  {
    files.fill(*mixer);
    serializeWhollyOrNot(attempt, *mixer, blob);
    EXPECT_FALSE(isLockHeld(*mixer));
    EXPECT_EQ(serialized(*mixer), blob);
    mixer->clear();
  }
};

class SavingToString : public WithMasterMixer {
public:
  void attempt(Attempt& attempt) override
  {
    files.fill(*mixer);
    const int references = referenceCount(*mixer);
    std::string saved;
    const bool isDone =
        attempt.under([&] { saved = TovAudioMixer::saveAudioStringStatic().c_str(); });
    EXPECT_FALSE(isLockHeld(*mixer));
    EXPECT_EQ(referenceCount(*mixer), references) << "a reference was kept";
    if (isDone) {
      EXPECT_EQ(saved, line) << "the settings were lost, and nobody was told";
    }
    EXPECT_EQ(TovAudioMixer::saveAudioStringStatic().c_str(), line);
    restore(references);
  }

protected:
  /** Leaves no more references to the next attempt than there were. */
  void restore(int references)
  {
    while (referenceCount(*mixer) > references)
      mixer->dereference();
    mixer->clear();
  }
};

class SavingToFile : public SavingToString {
public:
  void attempt(Attempt& attempt) override
  {
    files.fill(*mixer);
    const int references = referenceCount(*mixer);
    const bool isDone = attempt.under([&] { save(); });
    EXPECT_FALSE(isLockHeld(*mixer));
    EXPECT_EQ(referenceCount(*mixer), references) << "a reference was kept";
    const std::string saved = text();
    EXPECT_EQ(saved, line.substr(0, saved.size()));
    if (isDone && attempt.kind() == FaultKind::Allocation) {
      EXPECT_EQ(saved, line) << "the settings were lost, and nobody was told";
    }
    save();
    EXPECT_EQ(text(), line);
    std::filesystem::remove(files.folder().path("script"));
    restore(references);
  }

private:
  void save() const
  {
    TovFile file;
    if (file.open(files.folder().path("script").c_str(), "w") == 0)
      TovAudioMixer::saveAudioStatic(&file);
  }

  std::string text() const
  {
    if (!std::filesystem::exists(files.folder().path("script")))
      return {};
    const std::vector<std::uint8_t> bytes = files.folder().read("script");
    return {bytes.begin(), bytes.end()};
  }
};

class Loading : public WithMasterMixer {
public:
  void attempt(Attempt& attempt) override
  {
    Messages messages;
    const int references = referenceCount(*mixer);
    files.fill(*mixer);
    mixer->setMasterGain(3.0f);
    const bool isDone = attempt.under([&] { TovAudioMixer::loadAudioStatic(text.c_str()); });
    EXPECT_FALSE(isLockHeld(*mixer));
    for (int i = 0; i < mixer->getNumTracks(); ++i)
      EXPECT_FALSE(isLockHeld(*mixer->getTrack(i)->getProvider()));
    if (isDone) {
      // A file that cannot be opened keeps its name and its settings.
      EXPECT_EQ(serialized(*mixer), blob) << "the settings were lost, and nobody was told";
    }
    {
      Listener listener(*mixer);
      TovAudioMixer::loadAudioStatic(text.c_str());
      EXPECT_EQ(listener.take(), 1);
    }
    EXPECT_EQ(serialized(*mixer), blob);
    mixer->clear();
    while (referenceCount(*mixer) > references) // every load keeps one on purpose
      mixer->dereference();
  }

private:
  const std::string text = scriptText(blob);
};

/** Behind the tracks that are there, whose settings stay. */
class LoadingBehind : public WithMasterMixer {
public:
  LoadingBehind()
  {
    addScript.set("1");
    fillMixer();
    load();
    all = serialized(*mixer);
    mixer->clear();
  }

  void attempt(Attempt& attempt) override
  {
    Messages messages;
    const int references = referenceCount(*mixer);
    fillMixer();
    const bool isDone = attempt.under([&] { load(); });
    EXPECT_FALSE(isLockHeld(*mixer));
    expectTracksBefore(isDone);
    if (isDone) {
      EXPECT_EQ(serialized(*mixer), all) << "the settings were lost, and nobody was told";
    }
    mixer->clear();
    fillMixer();
    {
      Listener listener(*mixer);
      load();
      EXPECT_EQ(listener.take(), 1);
    }
    EXPECT_EQ(serialized(*mixer), all);
    mixer->clear();
    while (referenceCount(*mixer) > references) // every load keeps one on purpose
      mixer->dereference();
  }

private:
  static constexpr float kGain = 3.0f;

  void fillMixer() const
  {
    files.fill(*mixer);
    mixer->setMasterGain(kGain);
  }

  void load() const { TovAudioMixer::loadAudioStatic(text.c_str()); }

  void expectTracksBefore(bool isDone) const
  {
    EXPECT_EQ(mixer->getMasterGain(), kGain);
    const int most = 2 * TwoFiles::kCount;
    ASSERT_GE(mixer->getNumTracks(), isDone ? most : TwoFiles::kCount);
    ASSERT_LE(mixer->getNumTracks(), most);
    for (int i = 0; i < mixer->getNumTracks(); ++i)
      EXPECT_FALSE(isLockHeld(*mixer->getTrack(i)->getProvider()));
    for (int i = 0; i < TwoFiles::kCount; ++i) {
      EXPECT_EQ(mixer->getTrack(i)->getGain(), TwoFiles::gain(i));
      EXPECT_EQ(mixer->getTrack(i)->getStartTime(), TwoFiles::startTime(i));
      EXPECT_EQ(static_cast<TovAudioFile*>(mixer->getTrack(i)->getProvider())->hasError(), 0);
    }
  }

  Setting addScript = Setting("gui.addScriptFlag", kTovIdInteger, "0");
  const std::string text = scriptText(blob);
  std::vector<std::uint8_t> all;
};

/** A file provider's own settings. */
class LoadingFile : public Scenario {
public:
  void attempt(Attempt& attempt) override
  {
    Messages messages;
    const Owned<TovAudioFile> file = make<TovAudioFile>();
    const ExactBlock block(blob);
    int length = -99;
    const bool isDone = attempt.under(
        [&] { length = file->deserializeBounded(block.data(), block.size(), false); });
    EXPECT_FALSE(isLockHeld(*file));
    if (isDone) {
      EXPECT_EQ(length, static_cast<int>(blob.size()));
      EXPECT_EQ(serialized(*file), blob);
    }
    length = file->deserializeBounded(block.data(), block.size(), false);
    EXPECT_EQ(length, static_cast<int>(blob.size()));
    EXPECT_EQ(file->hasError(), 0);
    EXPECT_EQ(serialized(*file), blob);
  }

private:
  TwoFiles files;
  const std::vector<std::uint8_t> blob =
      fileBlob({files.folder().path("first.wav"), 44100, 0.01, 0.1}).data();
};

using enum FaultKind;

INSTANTIATE_TEST_SUITE_P(
    Mixers, FaultLoop,
    testing::ValuesIn(joined(
        {faultCases<Adding>("AddProviders", {Allocation}),
         faultCases<Copying>("CloneMixer", {Read, Seek, Open, Close, Allocation}),
         faultCases<Serializing>("Serialize", {Allocation}),
         faultCases<SavingToString>("SaveToString", {Allocation}),
         faultCases<SavingToFile>("SaveToFile", {Write, Open, Close, Allocation}),
         faultCases<Loading>("Load", {Read, Seek, Open, Close, Allocation}),
         faultCases<LoadingBehind>("LoadBehind", {Read, Seek, Open, Close, Allocation}),
         faultCases<LoadingFile>("LoadFile", {Read, Seek, Open, Close, Allocation})})),
    caseName);

} // namespace
