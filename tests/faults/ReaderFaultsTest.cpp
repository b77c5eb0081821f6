// Opening and reading sound files.

#include "core/TovFile.h"
#include "io/TovAudioTranslator.h"
#include "tests/faults/FaultLoop.h"
#include "tests/faults/SoundFiles.h"
#include "tests/support/Buffers.h"

namespace {

using namespace support;

constexpr unsigned int kSeed = 7;
constexpr long long kFirst = 10; ///< so that a position that is off by one shows
constexpr long long kCount = SoundFiles::kFrames - kFirst;

template <typename Format>
std::string fileOf(const SoundFiles& files)
{
  return Format::kBigEndian ? files.aiff("sound.aiff", SoundFiles::kRate, kSeed)
                            : files.wav("sound.wav", SoundFiles::kRate, kSeed);
}

/** Every sample is the file's or as it was before; the latter only at the end,
 *  and only where the file was not read whole. */
void expectNoWrongSample(Buffers& buffers, const Signal& expected, bool isWhole)
{
  EXPECT_TRUE(buffers.guardsIntact());
  for (int c = 0; c < SoundFiles::kChannels; ++c) {
    const std::vector<float> samples = buffers.samples(c);
    std::vector<float> right = expected[static_cast<std::size_t>(c)];
    std::size_t end = samples.size();
    while (!isWhole && end > 0 && samples[end - 1] == Buffers::kUntouched)
      --end;
    std::fill(right.begin() + static_cast<std::ptrdiff_t>(end), right.end(), Buffers::kUntouched);
    EXPECT_TRUE(bits(samples) == bits(right)) << "channel " << c;
  }
}

template <typename Format>
class HeaderCheck : public Scenario {
public:
  void attempt(Attempt& attempt) override
  {
    int opened = -99;
    int header = -99;
    TovFile file;
    const auto check = [&] {
      opened = file.open(path.c_str(), "r");
      header = opened == 0 ? translator.checkHeader(file) : -99;
    };
    EXPECT_TRUE(attempt.under(check));
    EXPECT_TRUE(opened == 0 || (opened == -1 && attempt.happened()));
    if (opened == 0) {
      EXPECT_TRUE(header == 0 || attempt.happened()) << header;
    }
    check();
    EXPECT_EQ(opened, 0);
    EXPECT_EQ(header, 0);
  }

private:
  const TovAudioTranslator& translator = *TovAudioTranslator::findReader(
      TovName::getString(Format::kBigEndian ? "aiff" : "wav"), 0);
  SoundFiles files;
  const std::string path = fileOf<Format>(files);
};

template <typename Format>
class Reading : public Scenario {
public:
  void attempt(Attempt& attempt) override
  {
    typename Format::Reader reader;
    {
      Buffers buffers(SoundFiles::kChannels, kCount);
      const bool isDone = attempt.under([&] { read(reader, buffers); });
      EXPECT_TRUE(initialized == 0 || (initialized == 1 && attempt.happened()));
      if (initialized == 0)
        expectFormat();
      // Of AIFF a file that ends early is no failure.
      EXPECT_TRUE(!isDone || initialized != 0 || delivered == 0 || delivered == 4) << delivered;
      const bool isWhole = !attempt.happened() || attempt.kind() == FaultKind::Close;
      EXPECT_TRUE(!isWhole || delivered == 0);
      expectNoWrongSample(buffers, expected,
                          isWhole || (isDone && !Format::kBigEndian && delivered == 0));
    }
    Buffers buffers(SoundFiles::kChannels, kCount);
    read(reader, buffers);
    EXPECT_EQ(initialized, 0);
    EXPECT_EQ(delivered, 0);
    expectNoWrongSample(buffers, expected, true);
  }

private:
  void read(typename Format::Reader& reader, Buffers& buffers)
  {
    initialized = -99;
    delivered = -99;
    format = {};
    initialized = reader.initialize(path.c_str());
    if (initialized != 0)
      return;
    hasFormat = reader.getFileSpec(&format);
    delivered = reader.readChannels(buffers.pointers(), map, kFirst, kCount);
    reader.close();
  }

  void expectFormat() const
  {
    EXPECT_EQ(hasFormat, 0);
    EXPECT_EQ(fields(format),
              (std::vector<std::int64_t>{FormatValid, EncS16, 2, Format::kBigEndian,
                                         SoundFiles::kRate, SoundFiles::kFrames,
                                         SoundFiles::kChannels}));
  }

  SoundFiles files;
  const std::string path = fileOf<Format>(files);
  const Signal expected = slice(soundOfSeed<Format>(kSeed), kFirst, kCount);
  const TovNLArray<int> map = channelMap({0, 1});
  TovAudioIOFormat format{};
  int initialized = 0;
  int hasFormat = 0;
  int delivered = 0;
};

/** A file by whose name nobody knows the format. */
class FindingByHeader : public Scenario {
public:
  void attempt(Attempt& attempt) override
  {
    const TovName name = TovName::getString(path.c_str());
    const TovAudioTranslator* found = nullptr;
    attempt.under([&] { found = TovAudioTranslator::findReader(name, 1); });
    // A header that cannot be read is not recognised, which is what counts.
    if (!attempt.happened()) {
      EXPECT_EQ(found, TovAudioTranslator::findReader(TovName::getString("aiff"), 0));
    }
    found = TovAudioTranslator::findReader(name, 1);
    EXPECT_EQ(found, TovAudioTranslator::findReader(TovName::getString("aiff"), 0));
  }

private:
  SoundFiles files;
  const std::string path = files.wav("sound.dat", SoundFiles::kRate, kSeed);
};

using enum FaultKind;

INSTANTIATE_TEST_SUITE_P(
    Readers, FaultLoop,
    testing::ValuesIn(joined(
        {faultCases<HeaderCheck<Wav>>("CheckWavHeader", {Read, Seek, Open}),
         faultCases<HeaderCheck<Aiff>>("CheckAiffHeader", {Read, Seek, Open}),
         faultCases<FindingByHeader>("FindReaderByHeader", {Read, Seek, Open, Close, Allocation}),
         faultCases<Reading<Wav>>("ReadWav", {Read, Seek, Open, Close, Allocation}),
         faultCases<Reading<Aiff>>("ReadAiff", {Read, Seek, Open, Close, Allocation})})),
    caseName);

} // namespace
