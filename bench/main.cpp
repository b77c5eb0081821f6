#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <set>
#include <sstream>
#include <stdexcept>

#include <stdlib.h>

#include "bench/Benches.h"
#include "bench/PerformancePage.h"

namespace {

const char* const kUsage =
    "usage: bench/run [options]\n"
    "\n"
    "Measures ours and its peers and prints the tables.\n"
    "  --quick        shorter sounds and fewer repetitions: a few minutes\n"
    "  --only NAMES   only these benches: decode, encode, resample, mix, callback, curves\n"
    "                 (separated by commas)\n"
    "  --json FILE    where the figures go; build/bench/bench.json unless it is given\n"
    "  --write-docs   writes docs/performance.md and its pictures\n"
    "  --help         this text\n"
    "\n"
    "TOV_KERNELS=avx2 in the environment measures that set of kernels alone (and the plain\n"
    "one) instead of all that the processor has.\n";

/** What bench/run and its user say. */
struct Options {
  bool isQuick = false;
  bool isHelp = false;
  std::set<std::string> only;
  std::string json;
  std::string page;     ///< the page to write, or none
  std::string pictures; ///< the folder for them
  std::string tov;
  std::string reasons;
  std::vector<std::pair<std::string, std::string>> machine;

  bool has(const char* name) const { return only.empty() || only.contains(name); }
};

std::set<std::string> namesIn(const std::string& list)
{
  const std::set<std::string> known = {"decode", "encode", "resample", "mix", "callback", "curves"};
  std::set<std::string> names;
  std::istringstream parts(list);
  std::string name;
  while (std::getline(parts, name, ','))
    if (names.insert(name); !known.contains(name))
      throw std::invalid_argument("no bench is called " + name);
  return names;
}

Options optionsOf(int argc, char** argv)
{
  Options options;
  const auto value = [&](int& i) {
    if (i + 1 == argc)
      throw std::invalid_argument(std::string(argv[i]) + " needs a value");
    return std::string(argv[++i]);
  };
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--quick")
      options.isQuick = true;
    else if (name == "--help")
      options.isHelp = true;
    else if (name == "--only")
      options.only = namesIn(value(i));
    else if (name == "--json")
      options.json = value(i);
    else if (name == "--page")
      options.page = value(i);
    else if (name == "--pictures")
      options.pictures = value(i);
    else if (name == "--reasons")
      options.reasons = value(i);
    else if (name == "--tov")
      options.tov = value(i);
    else if (name == "--machine") {
      const std::string key = value(i);
      options.machine.push_back({key, value(i)});
    } else
      throw std::invalid_argument("unknown option " + name);
  }
  return options;
}

/** A folder of its own, in memory where there is room for all sounds. */
class SoundFolder {
public:
  SoundFolder()
  {
    constexpr std::uintmax_t kEnough = 2'500'000'000;
    std::error_code error;
    const bool hasRoom = std::filesystem::space("/dev/shm", error).available >= kEnough && !error;
    std::filesystem::path folder = "/dev/shm";
    if (!hasRoom)
      folder = std::filesystem::temp_directory_path();
    std::string pattern = folder / "tov-bench-XXXXXX";
    if (!mkdtemp(pattern.data()))
      throw std::runtime_error("no folder for the sounds");
    path = pattern;
  }
  ~SoundFolder()
  {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  SoundFolder(const SoundFolder&) = delete;
  SoundFolder& operator=(const SoundFolder&) = delete;

  std::string path;
};

int runBenches(const Options& options)
{
  const SoundFolder sounds;
  Run run{options.isQuick, sounds.path, options.pictures, options.tov, {}};
  for (const std::string& kernels : kernelsHere())
    run.ours.push_back(std::make_unique<OurProcess>(kernels));

  Report report{options.machine, {}};
  report.machine.push_back(
      {"sounds in", std::filesystem::path(sounds.path).parent_path().string()});
  report.machine.push_back({"run", options.isQuick ? "quick" : "full"});
  const auto add = [&report](const Section& section) {
    print(section);
    report.sections.push_back(section);
  };
  if (options.has("decode"))
    add(benchDecoding(run));
  if (options.has("encode"))
    add(benchEncoding(run));
  if (options.has("resample"))
    for (const Section& section : benchResampling(run))
      report.sections.push_back(section);
  if (options.has("mix"))
    add(benchMixing(run));
  if (options.has("callback"))
    add(benchCallback(run));
  if (options.has("curves"))
    add(drawCurves(run));
  if (!options.json.empty())
    writeJson(report, options.json);
  if (!options.page.empty())
    writePage(report, options.page, options.reasons);
  return 0;
}

} // namespace

int main(int argc, char** argv)
try {
  if (argc == 2 && std::strcmp(argv[1], "--serve") == 0)
    return serveMeasures();
  const Options options = optionsOf(argc, argv);
  if (options.isHelp) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  return runBenches(options);
} catch (const std::invalid_argument& error) {
  std::fprintf(stderr, "bench: %s\n%s", error.what(), kUsage);
  return 2;
} catch (const std::exception& error) {
  std::fprintf(stderr, "bench: %s\n", error.what());
  return 1;
}
