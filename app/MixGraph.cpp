#include "app/MixGraph.h"

#include <algorithm>
#include <cmath>

#include "app/Failures.h"
#include "app/RefusalReason.h"
#include "app/SourceBlocks.h"
#include "core/TovGlobals.h"
#include "pcm/TovPcm.h"

static constexpr int kNothingToDeliver = 5;

static std::vector<SourceFile> openSources(const MixRequest& request)
{
  std::vector<SourceFile> sources;
  for (const TrackRequest& track : request.tracks) {
    sources.push_back(openSource(track.file));
  }
  return sources;
}

static int mixRate(const MixRequest& request, const std::vector<SourceFile>& sources)
{
  if (request.rate) {
    return *request.rate;
  }
  int highest = 0;
  for (const SourceFile& source : sources) {
    highest = std::max(highest, source.rate());
  }
  return highest;
}

static void sayWhichChannels(const SourceFile& source, const TrackPlan& plan,
                             const Notices& notices)
{
  if (source.channels() > 2) {
    notices.say(source.name, "of its " + std::to_string(source.channels()) + " channels, " +
                                 std::to_string(plan.leftChannel + 1) + " and " +
                                 std::to_string(plan.rightChannel + 1) +
                                 " are used and the others dropped (--channels L,R)");
  }
}

/** The timeline's rate is the host's setting; the library reads it there. */
static double setFramesPerSecond(const MixRequest& request)
{
  TovPlug* setting = TovGlobals::ref(TovName::getString("script.framesPerSecond"), kTovIdFloat, 0);
  if (request.framesPerSecond) {
    setting->set(std::to_string(*request.framesPerSecond).c_str());
  }
  return static_cast<double>(setting->asFloat());
}

MixGraph::MixGraph(const MixRequest& request, const Notices& notices)
    : sources(openSources(request)), mixer(new TovAudioMixer()),
      context(mixRate(request, sources), request.quality, setFramesPerSecond(request), 0.0),
      leftAndRight(everyChannel(2))
{
  mixer->setMasterGain(TovPcm::dBToFactor(request.master));
  for (std::size_t i = 0; i < sources.size(); ++i) {
    plans.push_back(planTrack(request.tracks[i], sources[i], context.sampleRate));
    sayWhichChannels(sources[i], plans[i], notices);
    addTrack(request.tracks[i], sources[i], plans[i]);
  }
}

MixGraph::~MixGraph() = default;

void MixGraph::addTrack(const TrackRequest& request, const SourceFile& source,
                        const TrackPlan& plan)
{
  files.emplace_back(new WatchedFile(source));
  WatchedFile* file = files.back().get();
  if (request.playRate) {
    file->setPlaybackRate(plan.playRate);
  }
  file->setSrcIn(plan.srcIn);
  file->setSrcOut(plan.srcOut);
  file->chooseChannels(plan.leftChannel, plan.rightChannel);
  mixer->addProvider(file);
  mixer->setGain(file, TovPcm::dBToFactor(request.gain));
  mixer->setPan(file, request.pan);
  mixer->setWide(file, request.width);
  mixer->setMute(file, request.mute);
  mixer->setSolo(file, request.solo);
  mixer->setStartTime(file, plan.startTime);
  mixer->setEndTime(file, plan.endTime);
}

bool MixGraph::isHeard(int track) const
{
  return mixer->isTrackHeard(mixer->getTrack(track));
}

long long MixGraph::getEndFrame() const
{
  double end = plans.front().endTime;
  for (const TrackPlan& plan : plans) {
    end = std::max(end, plan.endTime);
  }
  return std::llround(end * context.sampleRate);
}

void MixGraph::activate()
{
  mixer->activate(context);
  // The mixer passes over inputs that could not be opened again.
  for (const ProviderReference<WatchedFile>& file : files) {
    if (file->hasError() != 0) {
      throw Failure(file->getSource().name, refusalReason(file->getSource().path));
    }
  }
}

void MixGraph::render(const ChannelBuffers& block, long long firstFrame)
{
  const double t0 = mixer->getTimeOfSample(context, firstFrame);
  const double t1 = mixer->getTimeOfSample(context, firstFrame + block.getFrames());
  const int status = mixer->getAudio(block.all(), leftAndRight, context, t0, t1);
  for (const ProviderReference<WatchedFile>& file : files) {
    file->throwIfFailed();
  }
  if (status == kNothingToDeliver) {
    for (int c = 0; c < block.getChannels(); ++c) {
      std::fill_n(block.channel(c), block.getFrames(), 0.0f);
    }
  } else if (status != 0) {
    throw Failure("mix", "the mixer failed with status " + std::to_string(status));
  }
}

void MixGraph::checkInputs() const
{
  for (int track = 0; track < getTrackCount(); ++track) {
    if (isHeard(track)) {
      throwIfCutShort(getSource(track));
    }
  }
}
