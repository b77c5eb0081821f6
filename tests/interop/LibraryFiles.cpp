#include "tests/interop/LibraryFiles.h"

#include <array>
#include <fstream>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include "io/TovAudioReader.h"
#include "io/TovAudioTranslator.h"
#include "io/TovAudioWriter.h"
#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"

namespace support {

namespace {

TovName nameOf(const std::string& path)
{
  return TovName::getString(path.c_str());
}

} // namespace

void writeByLibrary(const std::string& path, const IntegerSound& sound)
{
  const std::unique_ptr<TovAudioWriter> writer(
      TovAudioTranslator::findWriter(nameOf(path), 1)->createWriter());
  Signal signal = floatsOf(sound);
  const TovAudioIOFormat format =
      request(static_cast<std::uint32_t>(sound.rate), static_cast<std::uint32_t>(sound.bits / 8),
              static_cast<std::uint32_t>(sound.channelCount()), sound.frames());
  if (writer->initialize(path.c_str(), format) != 0 ||
      writer->writeChannels(pointers(signal), 0, static_cast<int>(sound.frames())) != 0)
    throw std::runtime_error("cannot write " + path);
  writer->close();
}

LibraryReading readByLibrary(const std::string& path)
{
  LibraryReading reading;
  const std::unique_ptr<TovAudioReader> reader(
      TovAudioTranslator::findReader(nameOf(path), 1)->createReader());
  reading.openStatus = reader->initialize(path.c_str());
  reading.specStatus = reader->getFileSpec(&reading.format);
  const bool isValid = reading.format.state == FormatValid;
  const int channels = isValid ? static_cast<int>(reading.format.channels) : 1;
  const long long frames = isValid ? reading.format.frameCount : 1;
  reading.samples.assign(static_cast<std::size_t>(channels),
                         std::vector<float>(static_cast<std::size_t>(frames), 99.0f));
  reading.readStatus =
      reader->readChannels(pointers(reading.samples), channelMap(allChannels(channels)), 0, frames);
  return reading;
}

void expectReadEqual(const std::string& path, const IntegerSound& sound)
{
  const LibraryReading reading = readByLibrary(path);
  ASSERT_EQ(reading.openStatus, 0) << path;
  ASSERT_EQ(reading.specStatus, 0) << path;
  EXPECT_EQ(reading.format.state, std::uint32_t(FormatValid)) << path;
  EXPECT_EQ(reading.format.sampleRate, static_cast<std::uint32_t>(sound.rate)) << path;
  EXPECT_EQ(reading.format.channels, static_cast<std::uint32_t>(sound.channelCount())) << path;
  EXPECT_EQ(reading.format.bytesPerSample, static_cast<std::uint32_t>(sound.bits / 8)) << path;
  EXPECT_EQ(reading.format.frameCount, sound.frames()) << path;
  EXPECT_EQ(reading.readStatus, 0) << path;
  EXPECT_TRUE(reading.samples == floatsOf(sound)) << path;
}

int formatTagOf(const std::string& path)
{
  std::ifstream file(path, std::ios::binary);
  std::array<char, 22> header = {};
  if (!file.read(header.data(), header.size()) || std::string(header.data() + 12, 4) != "fmt ")
    throw std::runtime_error(path + ": no \"fmt \" at its usual place");
  return static_cast<unsigned char>(header[20]) | static_cast<unsigned char>(header[21]) << 8;
}

} // namespace support
