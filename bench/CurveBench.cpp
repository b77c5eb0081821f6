#include <filesystem>
#include <set>

#include "bench/Benches.h"
#include "bench/Child.h"
#include "bench/MixCommands.h"
#include "bench/Picture.h"
#include "bench/RateConverter.h"
#include "bench/SoundFile.h"
#include "bench/Timing.h"
#include "bench/Works.h"

// How the processor time grows; fewer repetitions than in the tables.

namespace {

/** Milliseconds of whole mixes, ours and the peers', at each x. */
Diagram mixDiagram(Run& run, const std::string& title, const std::string& xLabel,
                   const std::vector<double>& places,
                   const std::function<std::vector<std::string>(double)>& filesAt)
{
  Diagram diagram{title,
                  xLabel,
                  "processor time, ms",
                  {{"tov mix", {}, {}}, {"SoX -m -v 1", {}, {}}, {"ffmpeg amix", {}, {}}},
                  {}};
  const std::string output = run.folder + "/curve.wav";
  for (const double place : places) {
    const std::vector<std::string> files = filesAt(place);
    std::vector<Contender> contenders;
    for (const Command& command : {tovMix(run.tov, files, output),
                                   soxMix(files, output, SoxLevel::kept), ffmpegMix(files, output)})
      contenders.push_back({"", [command] { return runChild(command).seconds; }});
    const std::vector<double> seconds = medianSeconds(contenders, run.repetitions(3));
    for (std::size_t i = 0; i < seconds.size(); ++i) {
      diagram.curves[i].x.push_back(place);
      diagram.curves[i].y.push_back(1e3 * seconds[i]);
    }
  }
  return diagram;
}

Diagram tracksDiagram(Run& run)
{
  constexpr double kSeconds = 10.0;
  constexpr unsigned kFiles = 64;
  std::vector<std::string> files;
  for (unsigned i = 0; i < kFiles; ++i) {
    files.push_back(run.folder + "/track" + std::to_string(i) + ".wav");
    writeSound(files.back(), {48000, 2, 16, kSeconds}, i);
  }
  return mixDiagram(run, "Mixing stereo files of 10 s", "tracks",
                    {1, 2, 4, 8, 16, 32, 64, 128, 256}, [&files](double tracks) {
                      std::vector<std::string> some;
                      for (std::size_t i = 0; i < static_cast<std::size_t>(tracks); ++i)
                        some.push_back(files[i % files.size()]);
                      return some;
                    });
}

Diagram lengthDiagram(Run& run)
{
  return mixDiagram(run, "Mixing 8 stereo files", "length, s", {1, 3, 10, 30, 100, 300},
                    [&run](double seconds) {
                      std::vector<std::string> files;
                      for (unsigned i = 0; i < 8; ++i) {
                        files.push_back(run.folder + "/length" + std::to_string(i) + ".wav");
                        writeSound(files.back(), {48000, 2, 16, seconds}, i);
                      }
                      return files;
                    });
}

/** Nanoseconds per output sample of our resampling, with one set of kernels. */
double nanoseconds(Run& run, int quality, RatePair rates, int block, std::size_t set)
{
  OurProcess& process = *run.ours[set];
  const std::string work = resamplingWork(quality, rates, 1, block);
  const Contender contender{work, [&] { return process.measure(work); }};
  const double outFrames = static_cast<double>(kResampledFrames) * rates.to / rates.from;
  return 1e9 / outFrames * medianSeconds({contender}, run.repetitions(9))[0];
}

Diagram qualityDiagram(Run& run)
{
  Diagram diagram{"Resampling long buffers, one channel",
                  "quality",
                  "processor time, ns per output sample",
                  {},
                  {}};
  diagram.xNames = {"Proxy", "Medium", "High", "Highest"};
  for (const RatePair& rates :
       {RatePair{44100, 48000}, {48000, 44100}, {96000, 48000}, {44100, 96000}}) {
    Curve curve{std::to_string(rates.from) + " to " + std::to_string(rates.to), {}, {}};
    for (int quality = 0; quality < kQualities; ++quality) {
      curve.x.push_back(quality);
      curve.y.push_back(nanoseconds(run, quality, rates, 0, 0));
    }
    diagram.curves.push_back(curve);
  }
  return diagram;
}

Diagram blockDiagram(Run& run)
{
  Diagram diagram{"Resampling 44.1 to 48 kHz in requests, one channel",
                  "frames of a request",
                  "processor time, ns per output sample",
                  {},
                  {}};
  const char* const names[] = {"Proxy", "Medium", "High", "Highest"};
  for (const std::size_t set : std::set<std::size_t>{0, run.ours.size() - 1})
    for (int quality = 1; quality < 4; ++quality) {
      Curve curve{std::string(names[quality]) + ", " + run.ours[set]->kernels, {}, {}};
      for (int block = 16; block <= kResampledFrames; block *= 4) {
        curve.x.push_back(block);
        curve.y.push_back(nanoseconds(run, quality, {44100, 48000}, block, set));
      }
      diagram.curves.push_back(curve);
    }
  return diagram;
}

} // namespace

Section drawCurves(Run& run)
{
  Section section;
  section.title = "How it scales";
  section.method = "Both axes are logarithmic.  The mixes are whole processes at one rate; of more "
                   "than 64 tracks the files are taken again, and of one alone SoX makes a copy.";
  std::filesystem::create_directories(run.pictures);
  const auto add = [&](const std::string& name, const Diagram& diagram) {
    writeDiagram(diagram, run.pictures + "/" + name);
    section.pictures.push_back(name);
    section.curves.push_back(diagram);
  };
  add("tracks.svg", tracksDiagram(run));
  add("length.svg", lengthDiagram(run));
  add("quality.svg", qualityDiagram(run));
  add("block-length.svg", blockDiagram(run));
  return section;
}
