#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/Input.h"

namespace fuzz {

/** Carries out a program of opening, reading, writing and seeking on a TovFile
 *  and on a file that is only a vector, and compares them. */
class FileModel {
public:
  /** @p path is a file that this object may make and empty. */
  explicit FileModel(std::string path);

  void run(Input& program);

private:
  void open(const std::string& mode);
  std::size_t write(const std::vector<std::uint8_t>& bytes);

  std::string path;
  std::vector<std::uint8_t> contents = {};
  long long position = 0;
  bool isOpen = false;
  bool canRead = false;
  bool canWrite = false;
  bool isAppending = false;
};

} // namespace fuzz
