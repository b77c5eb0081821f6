// Runs every target on its seeds and on kept inputs, without a fuzzing engine.
//
//   fuzz_replay FOLDER                 the seeds, and the files in FOLDER/<target>/
//   fuzz_replay --target NAME FOLDER...  one target, on the files in the folders
//   fuzz_replay --write-seeds FOLDER   writes the seeds to FOLDER/<target>/
//   fuzz_replay --list                 the targets and the sources they aim at

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/Target.h"

namespace {

namespace fs = std::filesystem;
using InputBytes = std::vector<std::uint8_t>;

int replayed = 0;

void replay(const fuzz::Target& target, const std::string& name, const InputBytes& bytes)
{
  std::fprintf(stderr, "%s: %s\n", target.name, name.c_str()); // before, for what ends here
  fuzz::run(target, bytes.data(), bytes.size());
  ++replayed;
}

void replayFolder(const fuzz::Target& target, const fs::path& folder)
{
  if (!fs::is_directory(folder))
    return;
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder))
    files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) {
    std::ifstream stream(file, std::ios::binary);
    replay(target, file.filename(), {std::istreambuf_iterator<char>(stream), {}});
  }
}

void writeSeeds(const fuzz::Target& target, const fs::path& folder)
{
  fs::create_directories(folder);
  target.seeds([&](const std::string& name, const support::Bytes& bytes) {
    std::ofstream stream(folder / name, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data().data()),
                 static_cast<std::streamsize>(bytes.size()));
    fuzz::require(stream.flush().good(), "a seed can be written");
  });
}

const fuzz::Target& targetNamed(const std::string& name)
{
  const auto targets = fuzz::allTargets();
  const auto found = std::find_if(targets.begin(), targets.end(),
                                  [&](const fuzz::Target* target) { return target->name == name; });
  fuzz::require(found != targets.end(), "there is a target of that name");
  return **found;
}

} // namespace

int main(int count, char** values)
{
  const std::vector<std::string> arguments(values + 1, values + count);
  const std::string first = arguments.empty() ? "" : arguments[0];
  if (first == "--list") {
    for (const fuzz::Target* const target : fuzz::allTargets())
      std::printf("%s %s\n", target->name, target->aimedAt);
    return 0;
  }
  if (arguments.size() == 2 && first == "--write-seeds") {
    for (const fuzz::Target* const target : fuzz::allTargets())
      writeSeeds(*target, fs::path(arguments[1]) / target->name);
    return 0;
  }

  if (arguments.size() >= 3 && first == "--target") {
    const fuzz::Target& target = targetNamed(arguments[1]);
    for (std::size_t i = 2; i < arguments.size(); ++i)
      replayFolder(target, arguments[i]);
  } else if (arguments.size() == 1) {
    for (const fuzz::Target* const target : fuzz::allTargets()) {
      target->seeds([&](const std::string& name, const support::Bytes& bytes) {
        replay(*target, name, bytes.data());
      });
      replayFolder(*target, fs::path(arguments[0]) / target->name);
    }
  } else {
    std::fprintf(stderr, "usage: fuzz_replay FOLDER | --target NAME FOLDER... | "
                         "--write-seeds FOLDER | --list\n");
    return 2;
  }
  std::fprintf(stderr, "%d inputs replayed\n", replayed);
  return replayed > 0 ? 0 : 1;
}
