#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct RatePair {
  int from; ///< frames per second
  int to;
};

/** Samples, one vector per channel. */
typedef std::vector<std::vector<float>> Channels;

/** One resampler at one setting: ours or a peer's behind the same few calls.
 *
 *  Each keeps its input and output in the layout that it likes best, so that
 *  convert(), which is what is timed, does nothing but its work.
 */
class RateConverter {
public:
  enum Layout { planar, interleaved };

  RateConverter(Layout layout, RatePair rates, int channels);
  virtual ~RateConverter() = default;
  RateConverter(const RateConverter&) = delete;
  RateConverter& operator=(const RateConverter&) = delete;

  /** Copies the input and makes room for what comes of it. */
  virtual void setInput(const Channels& samples);

  /** Converts the whole input once; a peer goes on where it stopped, as in a
   *  stream. */
  virtual void convert() = 0;

  /** What the last convert() wrote for one channel. */
  std::vector<float> output(int channel) const;

protected:
  const Layout layout;
  const RatePair rates;
  const int channels;
  Channels in;        ///< one buffer where interleaved
  Channels out;       ///< the same
  long long inFrames; ///< frames of the input
  long long capacity; ///< frames that fit into the output
  long long written;  ///< frames that the last convert() wrote
};

/** One of the settings that a library offers. */
struct ConverterSetting {
  std::string library;
  std::string setting;
  bool isUsual; ///< what its users take without looking for more
  std::function<std::unique_ptr<RateConverter>(RatePair rates, int channels)> make;

  std::string name() const { return library + " " + setting; }
};

constexpr int kQualities = 4;

/** Our qualities, from Proxy to Highest; requests of @p block output frames,
 *  or everything at once where that is 0. */
std::vector<ConverterSetting> tovConverters(int block);

std::vector<ConverterSetting> samplerateConverters();
std::vector<ConverterSetting> soxrConverters();
std::vector<ConverterSetting> speexConverters();
std::vector<ConverterSetting> swresampleConverters();
std::vector<ConverterSetting> zitaConverters();

/** The settings of all peers. */
std::vector<ConverterSetting> peerConverters();
