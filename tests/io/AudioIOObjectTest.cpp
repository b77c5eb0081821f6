#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <type_traits>
#include <vector>

#include "io/TovAudioIOFormat.h"
#include "io/TovAudioIOObject.h"
#include "io/TovAudioReader.h"
#include "io/TovAudioTranslator.h"
#include "io/TovAudioWriter.h"
#include "tests/support/FileFormats.h"

namespace {

/** Shows the buffer, which only readers and writers see. */
class OpenBuffer : public TovAudioIOObject {
public:
  unsigned char* data() const { return getBuffer(); }
};

/** A reader that leaves everything to the base that the base supplies. */
class BareReader : public TovAudioReader {
public:
  int initialize(const char*) override { return 7; }
  int getFileSpec(TovAudioIOFormat*) override { return 7; }
  int readChannel(float*, int, long long, long long) override { return 7; }
  int readChannels(const TovNLPArray<float>&, const TovNLArray<int>&, long long,
                   long long) override
  {
    return 7;
  }
};

class BareWriter : public TovAudioWriter {
public:
  int initialize(const char*, const TovAudioIOFormat&) override { return 7; }
  int writeChannels(const TovNLPArray<float>&, int, int) override { return 7; }
};

/** The place of a virtual operation in its class's table, to be compared with
 *  others of the same class: where pointers to members are two words, the
 *  first one carries it. */
template <typename Operation>
std::ptrdiff_t slot(Operation operation)
{
  static_assert(sizeof operation == 2 * sizeof(std::ptrdiff_t));
  std::ptrdiff_t words[2];
  std::memcpy(words, &operation, sizeof words);
  return words[0] / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(AudioIOFormat, HoldsItsFieldsInTheStatedOrder)
{
  const TovAudioIOFormat format = {1, 2, 3, 4, 5, -6, 7};
  EXPECT_EQ(format.state, 1u);
  EXPECT_EQ(format.encoding, 2u);
  EXPECT_EQ(format.bytesPerSample, 3u);
  EXPECT_EQ(format.bigEndian, 4u);
  EXPECT_EQ(format.sampleRate, 5u);
  EXPECT_EQ(format.frameCount, -6);
  EXPECT_EQ(format.channels, 7u);
  EXPECT_TRUE((std::is_same_v<decltype(format.state), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(format.frameCount), std::int64_t>));
  EXPECT_TRUE(std::is_trivially_copyable_v<TovAudioIOFormat>);
  EXPECT_TRUE(std::is_aggregate_v<TovAudioIOFormat>);
}

TEST(AudioIOFormat, NumbersItsStatesFromZero)
{
  EXPECT_EQ(FormatNone, 0);
  EXPECT_EQ(FormatUnsupported, 1);
  EXPECT_EQ(FormatValid, 2);
}

TEST(AudioIOFormat, NumbersItsEncodingsFromZero)
{
  const std::vector<int> codes = {EncS8,  EncU8,  EncS16, EncU16,     EncS24,
                                  EncU24, EncS32, EncU32, EncFloat32, EncFloat32Scaled16};
  EXPECT_EQ(codes, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(AudioIOObject, HasNoBufferAtFirst)
{
  const OpenBuffer object;
  EXPECT_EQ(object.getBufferSize(), 0);
  EXPECT_EQ(object.data(), nullptr);
}

TEST(AudioIOObject, CanBeInstantiatedItself)
{
  TovAudioIOObject object;
  object.allocBuffer(2000);
  EXPECT_EQ(object.getBufferSize(), 2016);
  EXPECT_TRUE(std::has_virtual_destructor_v<TovAudioIOObject>);
}

TEST(AudioIOObject, AFreshBufferForNothingHasTheLeastSize)
{
  OpenBuffer object;
  object.allocBuffer(0);
  EXPECT_EQ(object.getBufferSize(), 1024);
  ASSERT_NE(object.data(), nullptr);
  std::fill_n(object.data(), 1024, static_cast<unsigned char>(0xa5));
  EXPECT_EQ(object.data()[1023], 0xa5);
}

TEST(AudioIOObject, GrowsFromTheLeastSizeToATransferBufferAndNeverShrinks)
{
  OpenBuffer object;
  object.allocBuffer(0);
  object.allocBuffer(8192);
  EXPECT_EQ(object.getBufferSize(), 8208);
  object.allocBuffer(100);
  EXPECT_EQ(object.getBufferSize(), 8208);
}

TEST(AudioIOObject, AllocatesSixteenBytesMoreThanAskedForAndAtLeast1024)
{
  const std::vector<std::pair<long long, long long>> cases = {
      {1, 1024},    {1007, 1024}, {1008, 1024}, {1009, 1025},
      {1024, 1040}, {8192, 8208}, {12 * 685, 12 * 685 + 16}};
  for (const auto& [asked, allocated] : cases) {
    OpenBuffer object;
    object.allocBuffer(asked);
    EXPECT_EQ(object.getBufferSize(), allocated) << asked;
    object.data()[allocated - 1] = 1;
    EXPECT_EQ(object.data()[allocated - 1], 1) << asked;
  }
}

TEST(AudioIOObject, KeepsABufferThatIsJustLargeEnough)
{
  OpenBuffer object;
  object.allocBuffer(8192);
  unsigned char* const before = object.data();
  before[0] = 0x5a;
  for (const long long size : {8192LL, 8207LL, 8208LL, 1LL, 0LL}) {
    object.allocBuffer(size);
    EXPECT_EQ(object.data(), before) << size;
    EXPECT_EQ(object.getBufferSize(), 8208) << size;
  }
  EXPECT_EQ(before[0], 0x5a);
  object.allocBuffer(8209);
  EXPECT_EQ(object.getBufferSize(), 8225);
}

TEST(AudioIOObject, AllocatesForSeveralThreadsAtOnce)
{
  OpenBuffer object;
  std::vector<std::thread> threads;
  for (int first = 0; first < 4; ++first)
    threads.emplace_back([&object, first] {
      for (long long size = 1000 + first; size <= 60000 + first; size += 500)
        object.allocBuffer(size);
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_GE(object.getBufferSize(), 60003);
  object.data()[object.getBufferSize() - 1] = 3;
  EXPECT_EQ(object.data()[object.getBufferSize() - 1], 3);
}

TEST(AudioReaderBase, ClosesNothingAndKeepsTakingFileNames)
{
  BareReader reader;
  std::string name = "first.wav";
  reader.setFileName(name.c_str());
  // Had the reader kept the pointer, freeing the name later would show.
  name.assign(4000, 'x');
  reader.setFileName(name.c_str());
  reader.setFileName("");
  reader.setFileName(nullptr);
  reader.setFileName("last.wav");
  reader.close();
  reader.close();
  EXPECT_EQ(reader.getBufferSize(), 0);
}

TEST(AudioWriterBase, DescribesNoFileAndLeavesTheRecordAlone)
{
  BareWriter writer;
  TovAudioIOFormat format = {11, 12, 13, 14, 15, 16, 17};
  EXPECT_EQ(writer.getFileSpec(&format), 1);
  EXPECT_EQ(support::fields(format), (std::vector<std::int64_t>{11, 12, 13, 14, 15, 16, 17}));
  EXPECT_EQ(writer.getFileSpec(nullptr), 1);
  writer.close();
  EXPECT_EQ(writer.getFileSpec(&format), 1);
}

TEST(AudioIOInterfaces, ReaderOperationsStandInTheStatedSlots)
{
  const std::ptrdiff_t first = slot(&TovAudioReader::initialize);
  EXPECT_EQ(slot(&TovAudioReader::close), first + 1);
  EXPECT_EQ(slot(&TovAudioReader::getFileSpec), first + 2);
  EXPECT_EQ(slot(&TovAudioReader::readChannel), first + 3);
  EXPECT_EQ(slot(&TovAudioReader::readChannels), first + 4);
}

TEST(AudioIOInterfaces, WriterOperationsStandInTheStatedSlots)
{
  const std::ptrdiff_t first = slot(&TovAudioWriter::initialize);
  EXPECT_EQ(slot(&TovAudioWriter::close), first + 1);
  EXPECT_EQ(slot(&TovAudioWriter::getFileSpec), first + 2);
  EXPECT_EQ(slot(&TovAudioWriter::writeChannels), first + 3);
}

TEST(AudioIOInterfaces, TranslatorOperationsStandInTheStatedSlots)
{
  const std::ptrdiff_t first = slot(&TovAudioTranslator::getName);
  EXPECT_EQ(slot(&TovAudioTranslator::getReadableFormats), first + 1);
  EXPECT_EQ(slot(&TovAudioTranslator::getWritableFormats), first + 2);
  EXPECT_EQ(slot(&TovAudioTranslator::isReadable), first + 3);
  EXPECT_EQ(slot(&TovAudioTranslator::isWritable), first + 4);
  EXPECT_EQ(slot(&TovAudioTranslator::checkHeader), first + 5);
  EXPECT_EQ(slot(&TovAudioTranslator::createReader), first + 6);
  EXPECT_EQ(slot(&TovAudioTranslator::createWriter), first + 7);
}

} // namespace
