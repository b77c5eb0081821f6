#include "tests/support/TempFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace support {

TempFolder::TempFolder()
    : root((std::filesystem::canonical(std::filesystem::temp_directory_path()) / "tov_test_XXXXXX").string())
{
  if (!::mkdtemp(root.data()))
    throw std::runtime_error("no temporary folder");
}

TempFolder::~TempFolder()
{
  std::error_code ignored;
  std::filesystem::remove_all(root, ignored);
}

std::string TempFolder::write(const std::string& name, const std::vector<std::uint8_t>& bytes) const
{
  std::ofstream stream(path(name), std::ios::binary);
  stream.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  if (!stream.flush())
    throw std::runtime_error("cannot write " + path(name));
  return path(name);
}

std::string TempFolder::write(const std::string& name, const Bytes& bytes) const
{
  return write(name, bytes.data());
}

std::vector<std::uint8_t> TempFolder::read(const std::string& name) const
{
  std::ifstream stream(path(name), std::ios::binary);
  if (!stream)
    throw std::runtime_error("cannot read " + path(name));
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

} // namespace support
