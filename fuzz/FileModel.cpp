#include "fuzz/FileModel.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/TovFile.h"

namespace fuzz {

namespace {

constexpr long long kMostBytes = 1 << 16; ///< so that holes stay small

} // namespace

FileModel::FileModel(std::string file) : path(std::move(file)) {}

void FileModel::open(const std::string& mode)
{
  const char kind = mode.empty() ? '\0' : mode[0];
  const bool isUpdate = mode.find('+') != std::string::npos;
  isOpen = kind == 'r' || kind == 'w' || kind == 'a';
  canRead = isOpen && (kind == 'r' || isUpdate);
  canWrite = isOpen && (kind != 'r' || isUpdate);
  isAppending = kind == 'a';
  position = 0;
  if (kind == 'w')
    contents.clear();
}

std::size_t FileModel::write(const std::vector<std::uint8_t>& bytes)
{
  if (!canWrite)
    return 0;
  if (isAppending && !bytes.empty())
    position = static_cast<long long>(contents.size());
  const std::size_t end = static_cast<std::size_t>(position) + bytes.size();
  if (!bytes.empty()) // what is written behind the end leaves a hole of zeros
    contents.resize(std::max(contents.size(), end));
  std::copy(bytes.begin(), bytes.end(),
            contents.begin() + std::min<long>(position, static_cast<long>(contents.size())));
  position += static_cast<long long>(bytes.size());
  return bytes.size();
}

void FileModel::run(Input& program)
{
  constexpr std::array<const char*, 9> kModes = {"r", "w", "a", "r+", "w+", "a+b", "wb", "x", ""};
  TovFile file;
  require(file.open(path.c_str(), "w") == 0 && file.close() == 0, "a file can be made");
  while (!program.isEmpty()) {
    switch (program.u8() % 6) {
    case 0: {
      const char* const mode = kModes[program.u8() % kModes.size()];
      open(mode);
      require(file.open(path.c_str(), mode) == (isOpen ? 0 : -1), "the status of opening");
      break;
    }
    case 1: {
      std::vector<std::uint8_t> bytes(program.u8());
      const std::size_t size = contents.size();
      const std::size_t begin = std::min(static_cast<std::size_t>(position), size);
      const std::size_t count = canRead ? std::min(bytes.size(), size - begin) : 0;
      require(file.read(bytes.data(), bytes.size()) == count, "the bytes read");
      require(std::equal(bytes.begin(), bytes.begin() + static_cast<long>(count),
                         contents.begin() + static_cast<long>(begin)),
              "are those of the file");
      position += static_cast<long long>(count);
      break;
    }
    case 2: {
      const std::vector<std::uint8_t> bytes = program.bytes(program.u8());
      require(file.write(bytes.data(), bytes.size()) == write(bytes), "the bytes written");
      break;
    }
    case 3: {
      const std::string text = std::to_string(program.u32());
      const int written =
          static_cast<int>(write(std::vector<std::uint8_t>(text.begin(), text.end())));
      const int refused = isOpen ? -1 : 0;
      require(file.printf("%s", text.c_str()) == (canWrite ? written : refused),
              "the text written");
      break;
    }
    case 4: {
      const int whence = program.below(4);
      const long long offset = static_cast<std::int16_t>(program.u16());
      const long long from = whence == 0   ? 0
                             : whence == 1 ? position
                                           : static_cast<long long>(contents.size());
      const bool isPossible = isOpen && whence < 3 && from + offset >= 0;
      if (from + offset > kMostBytes)
        break;
      require((file.seek(offset, whence) != 0) == isPossible, "the status of seeking");
      position = isPossible ? from + offset : position;
      break;
    }
    default:
      require(file.close() == 0, "the status of closing");
      open("");
    }
    require(file.tell() == position, "the position");
  }
  require(file.open((path + "/below").c_str(), "w") == -1 && file.open(nullptr, "r") == -1,
          "what cannot be there is not opened");
}

} // namespace fuzz
