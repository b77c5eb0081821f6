// Writing sound files.

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>

#include "tests/faults/FaultLoop.h"
#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/TempFolder.h"

namespace {

using namespace support;

constexpr long long kFirstPart = 100;
constexpr long long kSecondPart = 2500; ///< more than a writer's buffer holds
constexpr long long kFrames = kFirstPart + kSecondPart;
constexpr int kChannels = 2;
constexpr int kRate = 44100;

/** Where the sizes stand that are filled in at the end, each of 4 bytes. */
template <typename Format>
std::set<std::size_t> sizePositions()
{
  return Format::kBigEndian ? std::set<std::size_t>{4, 22, 42} : std::set<std::size_t>{4, 40};
}

template <typename Format>
class Writing : public Scenario {
public:
  void attempt(Attempt& attempt) override
  {
    typename Format::Writer writer;
    bool hasFailedAtStart = false;
    const bool isDone = attempt.under([&] {
      write(writer, [&] { hasFailedAtStart = attempt.happened(); });
    });
    EXPECT_TRUE(started == 0 || started == 1 || !isDone) << started;
    if (hasFailedAtStart) {
      EXPECT_EQ(started, 1) << "the sizes would never be filled in";
    }
    for (const int status : written)
      EXPECT_TRUE(status == 0 || status == kNotTried || status == Format::kShortWrite) << status;
    if (!attempt.happened()) {
      EXPECT_TRUE(bytes() == complete);
    }
    if (isDone && started == 0 && written[0] == 0 && written[1] == 0) {
      expectSamplesAndSizes();
    }
    writer.close();
    write(writer);
    EXPECT_EQ(started, 0);
    EXPECT_EQ(written[0], 0);
    EXPECT_EQ(written[1], 0);
    EXPECT_TRUE(bytes() == complete);
    std::filesystem::remove(path);
  }

private:
  void write(typename Format::Writer& writer, const std::function<void()>& afterStart = [] {})
  {
    started = written[0] = written[1] = kNotTried;
    started = writer.initialize(path.c_str(), request(kRate, 2, kChannels));
    afterStart();
    if (started == 0)
      written[0] = writer.writeChannels(pointers(signal), 0, kFirstPart);
    if (written[0] == 0)
      written[1] = writer.writeChannels(pointers(signal, kFirstPart), 0, kSecondPart);
    writer.close(); // says nothing
  }

  std::vector<std::uint8_t> bytes() const { return folder.read("out"); }

  /** Everything that was written arrived; only a size may still be 0, where it
   *  could not be filled in. */
  void expectSamplesAndSizes() const
  {
    std::vector<std::uint8_t> found = bytes();
    ASSERT_EQ(found.size(), complete.size());
    for (const std::size_t position : sizePositions<Format>()) {
      const auto at = found.begin() + static_cast<std::ptrdiff_t>(position);
      if (std::all_of(at, at + 4, [](std::uint8_t byte) { return byte == 0; }))
        std::copy_n(complete.begin() + static_cast<std::ptrdiff_t>(position), 4, at);
    }
    EXPECT_TRUE(found == complete) << "something else was written over";
  }

  static constexpr int kNotTried = -99;
  const TempFolder folder;
  const std::string path = folder.path("out");
  Signal signal = noise(kChannels, kFrames, 3, 0.4f);
  const std::vector<std::uint8_t> complete =
      Format::file(kChannels, kFrames, kRate, 16, encoded<Format>(signal, 2)).data();
  int started = kNotTried;
  int written[2] = {kNotTried, kNotTried};
};

using enum FaultKind;

INSTANTIATE_TEST_SUITE_P(
    Writers, FaultLoop,
    testing::ValuesIn(joined(
        {faultCases<Writing<Wav>>("WriteWav", {Write, Seek, Open, Close, Allocation}),
         faultCases<Writing<Aiff>>("WriteAiff", {Write, Seek, Open, Close, Allocation})})),
    caseName);

} // namespace
