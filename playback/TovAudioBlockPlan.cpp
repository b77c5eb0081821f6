#include "playback/TovAudioBlockPlan.h"

#include <algorithm>
#include <cmath>

#include "graph/TovAudioProvider.h"
#include "graph/TovSaturating.h"
#include "playback/TovAudioFIFOBlock.h"
#include "playback/TovAudioFIFOCmd.h"

static bool hasTimesAndRate(const TovAudioContext& context, const TovAudioFIFOCmd& cmd)
{
  return context.sampleRate >= 1 && std::isfinite(cmd.startTime) && std::isfinite(cmd.endTime);
}

TovAudioBlockPlan tovPlanAudioBlock(const TovAudioProvider& provider,
                                    const TovAudioContext& context, const TovAudioFIFOCmd& cmd)
{
  constexpr long long kFrames = TovAudioFIFOBlock::kFrames;
  TovAudioBlockPlan plan;
  if (!hasTimesAndRate(context, cmd))
    return plan;
  plan.isBackward = !(cmd.startTime <= cmd.endTime);
  const long long cur = provider.getSampleIndex(context, cmd.curTime);
  const long long end = provider.getSampleIndex(context, cmd.endTime);
  if (plan.isBackward) {
    const long long low = std::max(tovSaturatingDifference(cur, kFrames), end);
    plan.t0 = provider.getTimeOfSample(context, low);
    plan.t1 = provider.getTimeOfSample(context, cur);
    plan.next = plan.t0;
  } else {
    const long long high = std::min(end, tovSaturatingSum(cur, kFrames));
    plan.t0 = cmd.curTime;
    plan.t1 = provider.getTimeOfSample(context, high);
    plan.next = plan.t1;
  }
  const long long frames = provider.getNumSampleFrames(context, plan.t0, plan.t1);
  if (frames > kFrames)
    return plan;
  plan.isPlayable = true;
  plan.frames = static_cast<int>(std::max(frames, 0LL));
  const bool isMoving = plan.next < cmd.curTime || plan.next > cmd.curTime;
  plan.reachesEnd = !isMoving || provider.getSampleIndex(context, plan.next) == end;
  return plan;
}

bool tovIsEmptySpan(const TovAudioProvider& provider, const TovAudioContext& context,
                    const TovAudioFIFOCmd& cmd)
{
  return provider.getSampleIndex(context, cmd.startTime) ==
         provider.getSampleIndex(context, cmd.endTime);
}
