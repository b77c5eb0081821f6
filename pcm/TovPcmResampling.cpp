#include "pcm/TovPcm.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <climits>
#include <cmath>
#include <memory>
#include <mutex>
#include <numbers>

#include "pcm/kernels/TovKernels.h"

namespace {

struct FilterParams {
  int samplesPerCrossing; ///< raising it costs table memory, and gains interpolation accuracy
  int zeroCrossings;      ///< raising it costs time per output, and gains a steeper filter
};

constexpr FilterParams filterParams[4] = {{0, 0}, {512, 3}, {512, 7}, {2048, 13}};
constexpr const char* filterQualityString[4] = {"Proxy", "Medium", "High", "Highest"};

constexpr double kKaiserBeta = 9.0;

/** Guards the building of tables; a built one is published by its pointer. */
std::mutex filterTableMutex;

/** Where the fast kernels' forms of the tables of a quality stand: behind the
 *  deltas, in the same block. */
class FilterLayout {
public:
  explicit FilterLayout(const FilterParams& params)
      : entries(params.samplesPerCrossing), length(entries * params.zeroCrossings),
        half(static_cast<int>(std::bit_ceil(static_cast<unsigned int>(params.zeroCrossings))))
  {
  }

  /** Deltas included. */
  std::size_t blockLength() const
  {
    return static_cast<std::size_t>(length) + kLine + rowsLength() +
           2 * static_cast<std::size_t>(TovKernels::FilterWing::pairIndex(length, entries));
  }

  int rowLength() const { return 2 * half; }

  /** From the beginning of a cache line on. */
  float* rows(float* delta) const
  {
    void* address = delta + length;
    std::size_t space = (rowsLength() + kLine) * sizeof(float);
    return static_cast<float*>(
        std::align(kLine * sizeof(float), rowsLength() * sizeof(float), address, space));
  }

  float* pairs(float* delta) const { return rows(delta) + rowsLength(); }

  void fill(const float* value, float* delta) const
  {
    for (int i = 0; i <= entries; ++i) {
      float* const row = rows(delta) + static_cast<std::ptrdiff_t>(i) * rowLength();
      for (int tap = 0; i + tap * entries < length; ++tap) {
        row[tap] = value[i + tap * entries];
        row[half + tap] = delta[i + tap * entries];
      }
    }
    for (int i = 0; i < length; ++i) {
      float* const pair = pairs(delta) + 2LL * TovKernels::FilterWing::pairIndex(i, entries);
      pair[0] = value[i];
      pair[1] = delta[i];
    }
  }

private:
  static constexpr std::size_t kLine = 16;

  std::size_t rowsLength() const
  {
    return static_cast<std::size_t>(entries + 1) * static_cast<std::size_t>(rowLength());
  }

  int entries;
  int length;
  int half;
};

int validQuality(int quality)
{
  return std::clamp(quality, 0, 3);
}

/** Sinc under a Kaiser window, at a distance of @p t input frames. */
double windowedSinc(double t, int zeroCrossings, double windowNorm)
{
  const double u = t / zeroCrossings;
  const double window = TovPcm::filterI0(kKaiserBeta * std::sqrt(1.0 - u * u)) / windowNorm;
  const double angle = std::numbers::pi * t;
  return window * std::sin(angle) / angle;
}

/** Replaces the table pair of a quality of 1 to 3.  Caller holds
 *  filterTableMutex. */
void buildFilterTable(int quality)
{
  const auto [samplesPerCrossing, zeroCrossings] = filterParams[quality];
  const std::size_t length =
      static_cast<std::size_t>(samplesPerCrossing) * static_cast<std::size_t>(zeroCrossings);
  std::unique_ptr<float[]> value(new float[length]);
  const FilterLayout layout(filterParams[quality]);
  std::unique_ptr<float[]> delta(new float[layout.blockLength()]());

  const double windowNorm = TovPcm::filterI0(kKaiserBeta);
  value[0] = 1.0f;
  for (std::size_t i = 1; i < length; ++i) {
    const double t = static_cast<double>(i) / samplesPerCrossing;
    value[i] = static_cast<float>(windowedSinc(t, zeroCrossings, windowNorm));
    delta[i - 1] = value[i] - value[i - 1];
  }
  delta[length - 1] = 0.0f - value[length - 2]; // deliberate: not the last entry

  layout.fill(value.get(), delta.get());
  delete[] TovPcm::filterTable[quality];
  delete[] TovPcm::filterTableDelta[quality];
  TovPcm::filterTableLength[quality] = static_cast<int>(length);
  TovPcm::filterTableDelta[quality] = delta.release();
  std::atomic_ref(TovPcm::filterTable[quality]).store(value.release(), std::memory_order_release);
}

/** A request at rates of at least 1. */
TovKernels::Resampling resampling(int quality, int outRate, int inRate, float phase)
{
  return {.wing = TovKernels::filterWing(quality),
          .outRate = outRate,
          .inRate = inRate,
          .ratio = static_cast<double>(outRate) / inRate,
          .ratioF = static_cast<float>(outRate) / static_cast<float>(inRate),
          .step = static_cast<double>(inRate) / outRate,
          .phase = std::isfinite(phase) ? static_cast<double>(phase) : 0.0,
          .handles = TovPcm::resamplerHandles(quality, outRate, inRate)};
}

void resampleTogether(int quality, float* const* outputs, const float* const* inputs, int channels,
                      int outRate, int inRate, long long outFrames, long long inFrames, float phase)
{
  quality = validQuality(quality);
  if (quality == 0) {
    for (int i = 0; i < channels; ++i)
      TovPcm::resampleLowQuality(outputs[i], inputs[i], outRate, inRate, outFrames, inFrames);
    return;
  }
  const long long frames = static_cast<int>(outFrames); // the count's low 32 bits
  if (outRate < 1 || inRate < 1) {
    for (int i = 0; i < channels; ++i)
      TovKernels::fillSilence(outputs[i], frames);
    return;
  }
  const TovKernels& kernels = TovKernels::chosen();
  const TovKernels::Resample resampleAll =
      outRate >= inRate ? kernels.resampleUp : kernels.resampleDown;
  resampleAll(outputs, inputs, channels, resampling(quality, outRate, inRate, phase), frames);
}

} // namespace

TovKernels::FilterWing TovKernels::filterWing(int quality)
{
  const std::atomic_ref table(TovPcm::filterTable[quality]);
  if (!table.load(std::memory_order_acquire)) {
    const std::lock_guard<std::mutex> guard(filterTableMutex);
    if (!table.load(std::memory_order_relaxed))
      buildFilterTable(quality);
  }
  const FilterLayout layout(filterParams[quality]);
  const float* const value = table.load(std::memory_order_acquire);
  float* const delta = TovPcm::filterTableDelta[quality];
  return {value,
          delta,
          TovPcm::filterTableLength[quality],
          filterParams[quality].samplesPerCrossing,
          layout.rows(delta),
          layout.rowLength(),
          layout.pairs(delta)};
}

float* TovPcm::filterTable[4] = {};
float* TovPcm::filterTableDelta[4] = {};
int TovPcm::filterTableLength[4] = {};

const char* TovPcm::getFilterQualityString(int quality)
{
  return filterQualityString[validQuality(quality)];
}

double TovPcm::filterI0(double x)
{
  constexpr int kTerms = 29;
  const double halfX = 0.5 * x;
  double sum = 1.0;
  double factorial = 1.0;
  for (int k = 1; k <= kTerms; ++k) {
    factorial *= k;
    const double root = std::pow(halfX, k) / factorial;
    sum += root * root;
  }
  return sum;
}

void TovPcm::createFilterTable(int quality)
{
  quality = validQuality(quality);
  if (quality == 0)
    return;
  const std::lock_guard<std::mutex> guard(filterTableMutex);
  buildFilterTable(quality);
}

int TovPcm::resamplerHandles(int quality, int outRate, int inRate)
{
  quality = validQuality(quality);
  if (quality == 0 || outRate < 1 || inRate < 1)
    return 1;
  const double ratio = static_cast<double>(outRate) / inRate;
  const int zeroCrossings = filterParams[quality].zeroCrossings;
  if (ratio >= 1.0)
    return zeroCrossings + 1;
  const double handles = std::ceil(zeroCrossings / ratio) + 1.0;
  return handles < INT_MAX ? static_cast<int>(handles) : INT_MAX;
}

void TovPcm::resample(int quality, float* out, const float* in, int outRate, int inRate,
                      long long outFrames, long long inFrames, float phase)
{
  resampleTogether(quality, &out, &in, 1, outRate, inRate, outFrames, inFrames, phase);
}

void TovPcm::resample(int quality, const TovNLPArray<float>& outputs,
                      const TovNLPArray<float>& inputs, int outRate, int inRate,
                      long long outFrames, long long inFrames, float phase)
{
  // Two at a time is what the kernels gain by.
  const int count = std::min(outputs.getCount(), inputs.getCount());
  for (int i = 0; i < count; i += 2) {
    const int channels = std::min(count - i, 2);
    float* const out[2] = {outputs[i], channels > 1 ? outputs[i + 1] : nullptr};
    const float* const in[2] = {inputs[i], channels > 1 ? inputs[i + 1] : nullptr};
    resampleTogether(quality, out, in, channels, outRate, inRate, outFrames, inFrames, phase);
  }
}

void TovPcm::resampleLowQuality(float* out, const float* in, int outRate, int inRate,
                                long long outFrames, long long)
{
  if (outRate < 1 || inRate < 1) {
    TovKernels::fillSilence(out, outFrames);
    return;
  }
  const double step = static_cast<double>(inRate) / outRate * 65536.0;
  TovKernels::chosen().resampleByHold(out, in, static_cast<long long>(step), outFrames);
}
