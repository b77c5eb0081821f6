#include "app/FirstBytes.h"

#include "core/TovFile.h"

static std::string firstBytes(const std::string& path)
{
  std::string bytes(12, '\0');
  TovFile file;
  bytes.resize(file.open(path.c_str(), "r") == 0 ? file.read(bytes.data(), bytes.size()) : 0);
  return bytes;
}

/** Eleven bits set, and a layer. */
static bool isMpegFrame(const std::string& bytes)
{
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  return bytes.size() >= 4 && byte(0) == 0xFF && (byte(1) & 0xE0) == 0xE0 && (byte(1) & 0x06) != 0;
}

std::string soundFormatByFirstBytes(const std::string& path)
{
  const struct {
    const char* start;
    const char* form; ///< at byte 8; empty for any
    const char* name;
  } known[] = {{"RIFF", "WAVE", "WAV"}, {"RIFX", "WAVE", "WAV"},  {"RF64", "WAVE", "RF64"},
               {"riff", "", "W64"},     {"FORM", "AIFF", "AIFF"}, {"FORM", "AIFC", "AIFC"},
               {"caff", "", "CAF"},     {".snd", "", "AU"},       {"dns.", "", "AU"},
               {"fLaC", "", "FLAC"},    {"OggS", "", "Ogg"},      {"ID3", "", "MP3"}};
  const std::string bytes = firstBytes(path);
  for (const auto& format : known) {
    const std::string form = format.form;
    if (bytes.starts_with(format.start) &&
        (form.empty() || bytes.substr(bytes.size() < 8 ? bytes.size() : 8) == form)) {
      return format.name;
    }
  }
  return isMpegFrame(bytes) ? "MP3" : std::string();
}
