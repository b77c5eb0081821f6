#pragma once

#include <string>
#include <vector>

#include "tests/support/IntegerSound.h"
#include "tests/support/TempFolder.h"

namespace support {

/** What a command makes of a file. */
struct CommandReading {
  int rate = 0;
  int channels = 0;
  std::vector<std::int32_t> samples; ///< interleaved, moved up to 32 bits
};

CommandReading readBySox(const TempFolder& folder, const std::string& name);
CommandReading readByFfmpeg(const TempFolder& folder, const std::string& name);

/** What a command takes for the file's rate. */
int rateBySox(const std::string& path);
int rateByFfmpeg(const std::string& path);

/** Writes the sound into a file of the folder; @p options go before the
 *  output's name.  Returns its path. */
std::string writeBySox(const TempFolder& folder, const std::string& name, const IntegerSound& sound,
                       const std::vector<std::string>& options);
std::string writeByFfmpeg(const TempFolder& folder, const std::string& name,
                          const IntegerSound& sound, const std::vector<std::string>& options);

/** The same for many sounds of one channel count, sample size and rate, by one
 *  process: to start one takes longer than to write a file.  The files get
 *  numbers behind their name.  ffmpeg takes groups of different rates. */
std::vector<std::string> writeAllBySox(const TempFolder& folder, const std::string& name,
                                       const std::vector<IntegerSound>& sounds,
                                       const std::vector<std::string>& options);
std::vector<std::string> writeAllByFfmpeg(const TempFolder& folder, const std::string& name,
                                          const std::vector<std::vector<IntegerSound>>& groups,
                                          const std::vector<std::string>& options);

/** One sound into a pipe, where it cannot go back to the sizes in the header;
 *  @p options tell the container. */
std::string writeByFfmpegIntoPipe(const TempFolder& folder, const std::string& name,
                                  const IntegerSound& sound,
                                  const std::vector<std::string>& options);

} // namespace support
