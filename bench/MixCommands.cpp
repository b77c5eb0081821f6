#include "bench/MixCommands.h"

Command tovMix(const std::string& tov, const std::vector<std::string>& files,
               const std::string& output)
{
  Command command = {tov,  "mix", "--quiet", "--bits", "16", "--rate", std::to_string(kMixRate),
                     "-o", output};
  command.insert(command.end(), files.begin(), files.end());
  return command;
}

Command soxMix(const std::vector<std::string>& files, const std::string& output, SoxLevel level)
{
  Command command = {"sox", "-D"};
  if (files.size() > 1)
    command.push_back("-m");
  for (const std::string& file : files) {
    if (level == SoxLevel::kept)
      command.insert(command.end(), {"-v", "1"});
    command.push_back(file.ends_with(kOtherRateSuffix)
                          ? "|sox -D " + file + " -p rate -h " + std::to_string(kMixRate)
                          : file);
  }
  command.insert(command.end(), {"-b", "16", output});
  return command;
}

Command ffmpegMix(const std::vector<std::string>& files, const std::string& output)
{
  Command command = {"ffmpeg", "-y", "-nostdin", "-loglevel", "error"};
  for (const std::string& file : files)
    command.insert(command.end(), {"-i", file});
  command.insert(command.end(),
                 {"-filter_complex", "amix=inputs=" + std::to_string(files.size()) + ":normalize=0",
                  "-ar", std::to_string(kMixRate), "-c:a", "pcm_s16le", output});
  return command;
}
