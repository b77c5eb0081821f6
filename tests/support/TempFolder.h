#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/Bytes.h"

namespace support {

/** A folder of its own for a test, removed with everything in it. */
class TempFolder {
public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& folder() const { return root; }
  std::string path(const std::string& name) const { return root + "/" + name; }

  /** Writes a file and returns its path. */
  std::string write(const std::string& name, const std::vector<std::uint8_t>& bytes) const;
  std::string write(const std::string& name, const Bytes& bytes) const;

  /** The file's bytes; throws where it cannot be read. */
  std::vector<std::uint8_t> read(const std::string& name) const;

private:
  std::string root;
};

} // namespace support
