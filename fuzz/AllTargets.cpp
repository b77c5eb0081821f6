#include "fuzz/Target.h"

namespace fuzz {

extern const Target wavTarget, aiffTarget, settingsTarget, blobsTarget, namesTarget, textTarget,
    pathsTarget, conversionTarget, resamplingTarget, pitchTarget, writersTarget, spansTarget,
    graphTarget, fifoTarget;

std::span<const Target* const> allTargets()
{
  static constexpr const Target* kTargets[] = {
      &wavTarget,     &aiffTarget,  &settingsTarget,   &blobsTarget,      &namesTarget,
      &textTarget,    &pathsTarget, &conversionTarget, &resamplingTarget, &pitchTarget,
      &writersTarget, &spansTarget, &graphTarget,      &fifoTarget};
  return kTargets;
}

} // namespace fuzz
