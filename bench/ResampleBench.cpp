#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>

#include "bench/Benches.h"
#include "bench/ConverterQuality.h"
#include "bench/RateConverter.h"
#include "bench/SoundFile.h"
#include "bench/Timing.h"
#include "bench/Works.h"

// For each pair of rates and number of channels all our qualities, with every
// set of kernels, and all settings of all peers take turns on the same noise.
// Then each of our qualities is set beside the usual settings of each peer, and
// beside the one of its settings whose quality is nearest to ours.

namespace {

constexpr RatePair kPairs[] = {{44100, 48000}, {48000, 44100}, {96000, 48000}, {44100, 96000}};
constexpr int kShortRequest = 4096;

std::string kilohertz(int rate)
{
  std::ostringstream text;
  text << rate / 1000.0;
  return text.str();
}

std::string textOf(RatePair rates)
{
  return kilohertz(rates.from) + " to " + kilohertz(rates.to) + " kHz";
}

/** What a peer's setting takes and gives, for one pair of rates. */
struct PeerResult {
  const ConverterSetting* setting;
  ConverterQuality quality;
  double seconds;
};

/** Everything about one pair of rates and one number of channels. */
struct PairResult {
  RatePair rates;
  std::vector<OurTimes> ours; ///< by quality
  std::vector<PeerResult> peers;
};

/** What is known of the quality of each setting, by rates. */
class Qualities {
public:
  Qualities() : ours(tovConverters(0)), peers(peerConverters())
  {
    for (const RatePair& rates : kPairs)
      for (const auto* settings : {&ours, &peers})
        for (const ConverterSetting& setting : *settings)
          known[{textOf(rates), setting.name()}] = qualityOf(setting, rates);
  }

  const ConverterQuality& of(const ConverterSetting& setting, RatePair rates) const
  {
    return known.at({textOf(rates), setting.name()});
  }

  const std::vector<ConverterSetting> ours;
  const std::vector<ConverterSetting> peers;

private:
  std::map<std::pair<std::string, std::string>, ConverterQuality> known;
};

PairResult measurePair(Run& run, const Qualities& qualities, RatePair rates, int channels)
{
  std::vector<Contender> contenders;
  for (const std::unique_ptr<OurProcess>& process : run.ours)
    for (int quality = 0; quality < kQualities; ++quality) {
      const std::string work = resamplingWork(quality, rates, channels, 0);
      contenders.push_back({work, [&process, work] { return process->measure(work); }});
    }
  const Channels input = noiseSamples(channels, kResampledFrames);
  for (const ConverterSetting& setting : qualities.peers) {
    const std::shared_ptr<RateConverter> converter = setting.make(rates, channels);
    converter->setInput(input);
    contenders.push_back({setting.name(), [converter] {
                            return secondsPerPass([&converter] { converter->convert(); });
                          }});
  }
  const std::vector<double> seconds = medianSeconds(contenders, run.repetitions(9));

  PairResult result{rates, std::vector<OurTimes>(kQualities), {}};
  auto next = seconds.begin();
  for (const std::unique_ptr<OurProcess>& process : run.ours)
    for (OurTimes& times : result.ours)
      times.push_back({process->kernels, *next++});
  for (const ConverterSetting& setting : qualities.peers)
    result.peers.push_back({&setting, qualities.of(setting, rates), *next++});
  return result;
}

/** How many times as fast as a peer we want to be. */
std::optional<double> goal(int quality, const std::string& peer)
{
  if (peer == "libswresample default")
    return quality == 1 ? 1.5 : quality == 2 ? 1.2 : 1.0;
  if (peer == "soxr HQ" && quality == 3)
    return 2.0;
  return std::nullopt;
}

Comparison compare(int quality, const PairResult& pair, const PeerResult& peer,
                   const ConverterSetting& setting, const ConverterQuality& own, int channels)
{
  Comparison row;
  row.work = setting.setting + ", " + textOf(pair.rates);
  row.peer = peer.setting->name();
  row.ours = pair.ours[static_cast<std::size_t>(quality)];
  row.theirs = peer.seconds;
  row.items = static_cast<double>(kResampledFrames) * pair.rates.to / pair.rates.from * channels;
  if (channels == 1)
    row.atLeast = goal(quality, row.peer);
  row.snrLow = {own.snrLow, peer.quality.snrLow};
  row.snrHigh = {own.snrHigh, peer.quality.snrHigh};
  if (isLower(own, peer.quality))
    row.remark = "ours is the lower quality";
  return row;
}

/** The rows of one of our qualities at one pair of rates: peer by peer. */
void addRows(std::vector<Comparison>& rows, const Qualities& qualities, int quality,
             const PairResult& pair, int channels)
{
  const ConverterSetting& setting = qualities.ours[static_cast<std::size_t>(quality)];
  const ConverterQuality& own = qualities.of(setting, pair.rates);
  for (auto first = pair.peers.begin(); first != pair.peers.end();) {
    const auto last = std::find_if(first, pair.peers.end(), [&first](const PeerResult& peer) {
      return peer.setting->library != first->setting->library;
    });
    const auto nearest =
        std::min_element(first, last, [&own](const PeerResult& a, const PeerResult& b) {
          return distanceOf(own, a.quality) < distanceOf(own, b.quality);
        });
    for (auto peer = first; peer != last; ++peer)
      if (peer->setting->isUsual || peer == nearest) {
        rows.push_back(compare(quality, pair, *peer, setting, own, channels));
        std::string& remark = rows.back().remark;
        if (peer == nearest)
          remark = remark.empty() ? "its nearest quality" : "its nearest quality; " + remark;
      }
    first = last;
  }
}

Section benchLong(Run& run, const Qualities& qualities, int channels)
{
  Section section;
  section.title = channels == 1 ? "Resampling, long buffers, one channel"
                                : "Resampling, long buffers, two channels at once";
  section.method =
      "A buffer of 2^18 input frames of noise a call, " +
      std::string(channels == 1 ? "one channel" : "two channels in one call") +
      ", nanoseconds per output sample.  Filters are designed before.  Each peer works "
      "on its own favourite layout and goes on as in a stream.";
  std::vector<PairResult> pairs;
  for (const RatePair& rates : kPairs)
    pairs.push_back(measurePair(run, qualities, rates, channels));
  for (int quality = 1; quality < kQualities; ++quality)
    for (const PairResult& pair : pairs)
      addRows(section.comparisons, qualities, quality, pair, channels);
  return section;
}

Section benchRequests(Run& run, const Qualities& qualities)
{
  Section section;
  section.title = "Resampling in requests of 4096 frames, one channel";
  section.method =
      "What a mix asks for, against our own plain loop (TOV_KERNELS=plain) on the same "
      "requests; nanoseconds per output sample.";
  constexpr double kGoals[] = {0.0, 3.5, 3.3, 3.3};
  for (int quality = 1; quality < kQualities; ++quality)
    for (const RatePair& rates : kPairs) {
      const std::string work = resamplingWork(quality, rates, 1, kShortRequest);
      std::vector<Contender> contenders;
      for (const std::unique_ptr<OurProcess>& process : run.ours)
        contenders.push_back({work, [&process, work] { return process->measure(work); }});
      const std::vector<double> seconds = medianSeconds(contenders, run.repetitions(15));

      Comparison row;
      row.work = qualities.ours[static_cast<std::size_t>(quality)].setting + ", " + textOf(rates);
      row.peer = "our plain loop";
      for (std::size_t i = 0; i + 1 < seconds.size(); ++i)
        row.ours.push_back({run.ours[i]->kernels, seconds[i]});
      row.theirs = seconds.back();
      row.items = static_cast<double>(kResampledFrames) * rates.to / rates.from;
      row.atLeast = kGoals[quality];
      section.comparisons.push_back(row);
    }
  return section;
}

Section tellQualities(const Qualities& qualities)
{
  Section section;
  section.title = "Quality of the resamplers";
  section.method =
      "SNR: what a converted sine of half scale holds besides itself, by a least-squares fit over "
      "the steady part.  Edges: where the level has fallen by 0.1 dB and by 3 dB.  Rejection: of "
      "the frequency halfway between both Nyquist frequencies, which is alias where the rate "
      "falls, and of the tone whose image lies there where it rises.";
  section.table.heads = {"rates",      "resampler", "SNR 997 Hz", "SNR 15 kHz",
                         "-0.1 dB at", "-3 dB at",  "rejection"};
  for (const RatePair& rates : kPairs)
    for (const auto* settings : {&qualities.ours, &qualities.peers})
      for (const ConverterSetting& setting : *settings) {
        const ConverterQuality& quality = qualities.of(setting, rates);
        section.table.rows.push_back({textOf(rates), setting.name(),
                                      fixedText(quality.snrLow, 1) + " dB",
                                      fixedText(quality.snrHigh, 1) + " dB",
                                      fixedText(quality.edgeTenth / 1000.0, 2) + " kHz",
                                      fixedText(quality.edgeThree / 1000.0, 2) + " kHz",
                                      fixedText(quality.rejection, 1) + " dB"});
      }
  return section;
}

} // namespace

std::string resamplingWork(int quality, RatePair rates, int channels, int block)
{
  std::ostringstream words;
  words << "resample " << quality << ' ' << rates.from << ' ' << rates.to << ' ' << channels << ' '
        << block;
  return words.str();
}

std::function<void()> makeResampling(std::istream& words)
{
  std::size_t quality = 0;
  RatePair rates = {};
  int channels = 0;
  int block = 0;
  words >> quality >> rates.from >> rates.to >> channels >> block;
  const std::shared_ptr<RateConverter> converter =
      tovConverters(block)[quality].make(rates, channels);
  converter->setInput(noiseSamples(channels, kResampledFrames));
  return [converter] { converter->convert(); };
}

std::vector<Section> benchResampling(Run& run)
{
  const Qualities qualities;
  std::vector<Section> sections;
  for (const int channels : {1, 2}) {
    sections.push_back(benchLong(run, qualities, channels));
    print(sections.back());
  }
  if (run.ours.size() > 1) {
    sections.push_back(benchRequests(run, qualities));
    print(sections.back());
  }
  sections.push_back(tellQualities(qualities));
  print(sections.back());
  return sections;
}
