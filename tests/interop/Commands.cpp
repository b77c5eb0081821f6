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

/** The sounds, one behind the other, as bare 32-bit numbers for a command to
 *  read. */
std::string writeRaw(const TempFolder& folder, const std::string& name,
                     const std::vector<IntegerSound>& sounds)
{
  Bytes bytes;
  for (const IntegerSound& sound : sounds) {
    for (const std::int32_t code : interleaved32(sound))
      bytes.u32le(static_cast<std::uint32_t>(code));
  }
  return folder.write(name, bytes);
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

/** From the sounds, which differ in nothing but their lengths, to a file. */
std::vector<std::string> soxArguments(const TempFolder& folder,
                                      const std::vector<IntegerSound>& sounds,
                                      const std::vector<std::string>& options,
                                      const std::string& path)
{
  const IntegerSound& first = sounds.at(0);
  std::vector<std::string> arguments = {"sox", "-D", "-t", "raw"};
  append(arguments, {"-e", "signed-integer", "-b", "32", "-L"});
  append(arguments, {"-r", std::to_string(first.rate), "-c", std::to_string(first.channelCount())});
  append(arguments, {writeRaw(folder, "in.raw", sounds), "-b", std::to_string(first.bits)});
  append(arguments, options);
  arguments.push_back(path);
  return arguments;
}

std::vector<std::string> ffmpegInput(const IntegerSound& sound, const std::string& raw)
{
  return {"-f", "s32le", "-ar", std::to_string(sound.rate), "-ac",
          std::to_string(sound.channelCount()), "-i", raw};
}

/** "file001.wav" for "file.wav" and 1. */
std::string numbered(const std::string& name, std::size_t number)
{
  const std::string digits = std::to_string(1000 + number).substr(1);
  return std::string(name).insert(name.rfind('.'), digits);
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
  runOrThrow(soxArguments(folder, {sound}, options, folder.path(name)));
  return folder.path(name);
}

std::string writeByFfmpeg(const TempFolder& folder, const std::string& name,
                          const IntegerSound& sound, const std::vector<std::string>& options)
{
  std::vector<std::string> arguments = {"ffmpeg", "-v", "error", "-y"};
  append(arguments, ffmpegInput(sound, writeRaw(folder, "in.raw", {sound})));
  append(arguments, options);
  arguments.push_back(folder.path(name));
  runOrThrow(arguments);
  return folder.path(name);
}

std::vector<std::string> writeAllBySox(const TempFolder& folder, const std::string& name,
                                       const std::vector<IntegerSound>& sounds,
                                       const std::vector<std::string>& options)
{
  std::vector<std::string> arguments = soxArguments(folder, sounds, options, folder.path(name));
  std::vector<std::string> paths;
  for (const IntegerSound& sound : sounds) {
    if (!paths.empty())
      append(arguments, {":", "newfile", ":"});
    append(arguments, {"trim", "0", std::to_string(sound.frames()) + "s"});
    paths.push_back(folder.path(numbered(name, paths.size() + 1)));
  }
  runOrThrow(arguments);
  return paths;
}

std::vector<std::string> writeAllByFfmpeg(const TempFolder& folder, const std::string& name,
                                          const std::vector<std::vector<IntegerSound>>& groups,
                                          const std::vector<std::string>& options)
{
  std::vector<std::string> arguments = {"ffmpeg", "-v", "error", "-y"};
  std::vector<std::string> outputs;
  std::vector<std::string> paths;
  for (std::size_t input = 0; input < groups.size(); ++input) {
    const std::vector<IntegerSound>& sounds = groups[input];
    const std::string raw = writeRaw(folder, numbered("in.raw", input), sounds);
    append(arguments, ffmpegInput(sounds.at(0), raw));
    long long first = 0;
    for (const IntegerSound& sound : sounds) {
      const long long end = first + sound.frames();
      append(outputs, {"-map", std::to_string(input), "-af",
                       "atrim=start_sample=" + std::to_string(first) +
                           ":end_sample=" + std::to_string(end)});
      first = end;
      append(outputs, options);
      paths.push_back(folder.path(numbered(name, paths.size())));
      outputs.push_back(paths.back());
    }
  }
  append(arguments, outputs);
  runOrThrow(arguments);
  return paths;
}

std::string writeByFfmpegIntoPipe(const TempFolder& folder, const std::string& name,
                                  const IntegerSound& sound,
                                  const std::vector<std::string>& options)
{
  std::vector<std::string> arguments = {"ffmpeg", "-v", "error"};
  append(arguments, ffmpegInput(sound, writeRaw(folder, "in.raw", {sound})));
  append(arguments, options);
  arguments.push_back("pipe:1");
  const std::string out = runOrThrow(arguments).out;
  return folder.write(name, std::vector<std::uint8_t>(out.begin(), out.end()));
}

} // namespace support
