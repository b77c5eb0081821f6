#include "tests/interop/Commands.h"

#include "tests/support/Program.h"

namespace support {

namespace {

std::vector<std::int32_t> littleEndian32(const std::vector<std::uint8_t>& bytes)
{
  std::vector<std::int32_t> codes;
  for (std::size_t i = 0; i + 4 <= bytes.size(); i += 4) {
    codes.push_back(static_cast<std::int32_t>(static_cast<std::uint32_t>(bytes[i]) |
                                              static_cast<std::uint32_t>(bytes[i + 1]) << 8 |
                                              static_cast<std::uint32_t>(bytes[i + 2]) << 16 |
                                              static_cast<std::uint32_t>(bytes[i + 3]) << 24));
  }
  return codes;
}

/** The sound as bare 32-bit numbers, for a command to read. */
std::string writeRaw(const TempFolder& folder, const IntegerSound& sound)
{
  Bytes bytes;
  for (const std::int32_t code : interleaved32(sound))
    bytes.u32le(static_cast<std::uint32_t>(code));
  return folder.write("in.raw", bytes);
}

/** Fields of the file's stream, separated by commas. */
std::string probe(const std::string& path, const std::string& fields)
{
  return runOrThrow({"ffprobe", "-v", "error", "-show_entries", "stream=" + fields, "-of",
                     "csv=p=0", path})
      .out;
}

void append(std::vector<std::string>& arguments, const std::vector<std::string>& more)
{
  arguments.insert(arguments.end(), more.begin(), more.end());
}

} // namespace

int rateBySox(const std::string& path)
{
  return std::stoi(runOrThrow({"sox", "--i", "-r", path}).out);
}

int rateByFfmpeg(const std::string& path)
{
  return std::stoi(probe(path, "sample_rate"));
}

CommandReading readBySox(const TempFolder& folder, const std::string& name)
{
  const std::string path = folder.path(name);
  CommandReading reading;
  reading.rate = rateBySox(path);
  reading.channels = std::stoi(runOrThrow({"sox", "--i", "-c", path}).out);
  runOrThrow({"sox", "-D", path, "-t", "raw", "-e", "signed-integer", "-b", "32", "-L",
              folder.path("out.raw")});
  reading.samples = littleEndian32(folder.read("out.raw"));
  return reading;
}

CommandReading readByFfmpeg(const TempFolder& folder, const std::string& name)
{
  const std::string path = folder.path(name);
  CommandReading reading;
  const std::string described = probe(path, "sample_rate,channels");
  reading.rate = std::stoi(described);
  reading.channels = std::stoi(described.substr(described.find(',') + 1));
  runOrThrow({"ffmpeg", "-v", "error", "-y", "-i", path, "-c:a", "pcm_s32le", "-f", "s32le",
              folder.path("out.raw")});
  reading.samples = littleEndian32(folder.read("out.raw"));
  return reading;
}

std::string writeBySox(const TempFolder& folder, const std::string& name, const IntegerSound& sound,
                       const std::vector<std::string>& options)
{
  std::vector<std::string> arguments = {"sox",
                                        "-D",
                                        "-t",
                                        "raw",
                                        "-e",
                                        "signed-integer",
                                        "-b",
                                        "32",
                                        "-L",
                                        "-r",
                                        std::to_string(sound.rate),
                                        "-c",
                                        std::to_string(sound.channelCount()),
                                        writeRaw(folder, sound),
                                        "-b",
                                        std::to_string(sound.bits)};
  append(arguments, options);
  arguments.push_back(folder.path(name));
  runOrThrow(arguments);
  return folder.path(name);
}

std::string writeByFfmpeg(const TempFolder& folder, const std::string& name,
                          const IntegerSound& sound, const std::vector<std::string>& options)
{
  std::vector<std::string> arguments = {"ffmpeg", "-v",
                                        "error",  "-y",
                                        "-f",     "s32le",
                                        "-ar",    std::to_string(sound.rate),
                                        "-ac",    std::to_string(sound.channelCount()),
                                        "-i",     writeRaw(folder, sound)};
  append(arguments, options);
  arguments.push_back(folder.path(name));
  runOrThrow(arguments);
  return folder.path(name);
}

} // namespace support
