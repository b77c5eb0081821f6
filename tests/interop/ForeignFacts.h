#pragma once

#include <optional>
#include <string>
#include <vector>

namespace support {

/** What a program takes a file for. */
struct Facts {
  int rate = 0;
  int channels = 0;
  int bits = 0; ///< of a stored sample
  long long frames = 0;

  bool operator==(const Facts&) const = default;
};

void PrintTo(const Facts& facts, std::ostream* stream);

Facts factsBySox(const std::string& path);
std::vector<Facts> factsBySox(const std::vector<std::string>& paths); ///< by few processes
Facts factsByFfprobe(const std::string& path);

/** The same; none where the program refuses the file. */
std::optional<Facts> factsBySoxIfRead(const std::string& path);
std::optional<Facts> factsByFfprobeIfRead(const std::string& path);

Facts factsBySndfile(const std::string& path);

/** Of the library; all 0 where it does not handle the file. */
Facts factsByLibrary(const std::string& path);

/** Checks that the library's facts and samples are those of libsndfile. */
void expectReadAsBySndfile(const std::string& path);

} // namespace support
