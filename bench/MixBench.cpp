#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>

#include "bench/Benches.h"
#include "bench/Child.h"
#include "bench/MixCommands.h"
#include "bench/SoundFile.h"
#include "bench/Timing.h"
#include "bench/Tone.h"
#include "io/TovAudioReader.h"
#include "io/TovAudioTranslator.h"

// Whole programs, from their start to their end, on the same files, each to a
// WAV file of 16 bits beside them.

namespace {

constexpr int kOtherRate = 44100;
constexpr int kMostFiles = 64;

/** The inputs: one set at the rate of the mix, one at the other rate. */
class Inputs {
public:
  Inputs(const std::string& folder, double seconds)
  {
    for (unsigned i = 0; i < kMostFiles; ++i) {
      const std::string name = folder + "/" + std::to_string(i);
      same.push_back(name + "-48.wav");
      writeSound(same.back(), {kMixRate, 2, 16, seconds}, i);
      half.push_back(i % 2 == 0 ? same.back() : name + kOtherRateSuffix);
      if (i % 2 != 0)
        writeSound(half.back(), {kOtherRate, 2, 16, seconds}, i);
    }
  }

  /** The first @p count of them, half of them at the other rate or none. */
  std::vector<std::string> files(int count, bool isMixed) const
  {
    const std::vector<std::string>& set = isMixed ? half : same;
    return std::vector<std::string>(set.begin(), set.begin() + count);
  }

private:
  std::vector<std::string> same;
  std::vector<std::string> half;
};

/** The left channel of a file. */
std::vector<float> samplesOf(const std::string& path)
{
  const TovAudioTranslator* const translator =
      TovAudioTranslator::findReader(TovName::getString(path.c_str()), 1);
  const std::unique_ptr<TovAudioReader> reader(translator->createReader());
  TovAudioIOFormat format{};
  if (reader->initialize(path.c_str()) != 0 || reader->getFileSpec(&format) != 0 ||
      format.bytesPerSample != 2 || format.channels != 2 || format.sampleRate != kMixRate)
    throw std::runtime_error(path + " is not what was asked for");
  std::vector<float> samples(static_cast<std::size_t>(format.frameCount));
  if (reader->readChannel(samples.data(), 0, 0, format.frameCount) != 0)
    throw std::runtime_error(path + " cannot be read");
  return samples;
}

/** How alike two mixes are, @p theirs brought to the level of ours by
 *  @p scale: the level of their difference below the sound, without the
 *  beginning and the end, where ours fades. */
std::string likeness(const std::vector<float>& ours, const std::vector<float>& theirs, double scale)
{
  constexpr std::size_t kFade = kMixRate / 20;
  double sound = 0.0;
  double difference = 0.0;
  for (std::size_t i = kFade; i + kFade < std::min(ours.size(), theirs.size()); ++i) {
    const double sample = scale * static_cast<double>(theirs[i]);
    const double apart = static_cast<double>(ours[i]) - sample;
    sound += sample * sample;
    difference += apart * apart;
  }
  if (difference == 0.0)
    return "the same samples";
  return "difference " + fixedText(decibels(std::sqrt(sound / difference)), 1) +
         " dB below the sound";
}

/** Every contender's usage, repetition by repetition. */
class Usages {
public:
  Contender contender(const std::string& name, const Command& command, const std::string& kernels)
  {
    return {name, [this, name, command, kernels] {
              const ChildUsage usage = runChild(command, kernels);
              long& highest = peaks[name];
              highest = std::max(highest, usage.peakKiB);
              return usage.seconds;
            }};
  }
  double peakMiB(const std::string& name) const
  {
    return static_cast<double>(peaks.at(name)) / 1024.0;
  }

private:
  std::map<std::string, long> peaks;
};

struct Task {
  int files;
  bool isMixed;
  double overSox;
  double overFfmpeg;
};

constexpr Task kTasks[] = {{8, false, 12.0, 8.0},
                           {64, false, 15.0, 15.0},
                           {8, true, 10.0, 4.0},
                           {64, true, 12.0, 8.0}};

void benchTask(Run& run, const Inputs& inputs, const Task& task, Section& section)
{
  const std::vector<std::string> files = inputs.files(task.files, task.isMixed);
  const std::string output = run.folder + "/mix-";
  Command ours = tovMix(run.tov, files, output + "ours.wav");
  if (task.isMixed)
    ours.insert(ours.end(), {"--quality", "high"});
  Usages usages;
  std::vector<Contender> contenders;
  for (const std::unique_ptr<OurProcess>& process : run.ours)
    contenders.push_back(usages.contender(process->kernels, ours, process->kernels));
  struct Peer {
    std::string name;
    std::string output;
    Command command;
    std::optional<double> atLeast;
    double levelScale; ///< what brings its output to the level of ours
  };
  const std::string sox = output + "sox.wav";
  const std::string keptSox = output + "sox-kept.wav";
  const std::string ffmpeg = output + "ffmpeg.wav";
  const Peer peers[] = {
      {"SoX -m", sox, soxMix(files, sox, SoxLevel::divided), task.overSox, 1.0 * task.files},
      {"SoX -m -v 1", keptSox, soxMix(files, keptSox, SoxLevel::kept), std::nullopt, 1.0},
      {"ffmpeg amix", ffmpeg, ffmpegMix(files, ffmpeg), task.overFfmpeg, 1.0}};
  for (const Peer& peer : peers)
    contenders.push_back(usages.contender(peer.name, peer.command, ""));
  const std::vector<double> seconds =
      medianSeconds(contenders, run.repetitions(task.files > 8 ? 5 : 9));

  const std::string work = std::to_string(task.files) + " files, " +
                           (task.isMixed ? "half of them 44.1 kHz" : "one rate");
  const std::vector<float> own = samplesOf(output + "ours.wav");
  auto theirSeconds = seconds.begin() + static_cast<std::ptrdiff_t>(run.ours.size());
  for (const Peer& peer : peers) {
    Comparison row;
    row.work = work;
    row.peer = peer.name;
    for (std::size_t i = 0; i < run.ours.size(); ++i)
      row.ours.push_back({run.ours[i]->kernels, seconds[i]});
    row.theirs = *theirSeconds++;
    row.atLeast = peer.atLeast;
    const std::vector<float> theirs = samplesOf(peer.output);
    row.remark = likeness(own, theirs, peer.levelScale);
    if (theirs.size() != own.size())
      row.remark += ", length differs by " +
                    std::to_string(static_cast<long long>(theirs.size()) -
                                   static_cast<long long>(own.size())) +
                    " frames";
    section.comparisons.push_back(row);
  }
  constexpr double kMostMiB = 8.0;
  section.limits.push_back({"peak memory, " + work, usages.peakMiB(run.ours[0]->kernels), "MiB",
                            kMostMiB,
                            "SoX " + fixedText(usages.peakMiB("SoX -m"), 1) + ", ffmpeg " +
                                fixedText(usages.peakMiB("ffmpeg amix"), 1)});
}

} // namespace

Section benchMixing(Run& run)
{
  Section section;
  constexpr double kSeconds = 60.0; // also of a quick run: short sounds measure how programs start
  section.title = "Mixing, whole process";
  section.method =
      "`tov mix --bits 16` of stereo 16-bit WAV files of " + fixedText(kSeconds, 0) +
      " s at 48 kHz to one, against `sox -D -m` and ffmpeg's `amix=normalize=0`; then with every "
      "other input at 44.1 kHz, where ours takes `--quality high`, SoX `rate -h` and ffmpeg its "
      "default.  Processor time of the process and its children.  The outputs are compared, "
      "without the first and the last 50 ms, where ours fades.  SoX as it is divides each input by "
      "their number, and its output is coarser by as much; with `-v 1` before each it does what "
      "ours does.";
  const Inputs inputs(run.folder, kSeconds);
  for (const Task& task : kTasks)
    benchTask(run, inputs, task, section);
  return section;
}
