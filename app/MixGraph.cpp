#include "app/MixGraph.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <sys/resource.h>

#include "app/Failures.h"
#include "app/MixerBlob.h"
#include "app/RefusalReason.h"
#include "app/SourceBlocks.h"
#include "core/TovGlobals.h"

static constexpr int kNothingToDeliver = 5;

static int mixRate(const MixRequest& request, const MixContents& contents)
{
  if (contents.tracks.empty()) {
    throw Failure("mix", "the session has no tracks");
  }
  if (request.rate) {
    return *request.rate;
  }
  int highest = 0;
  for (const MixTrack& track : contents.tracks) {
    highest = track.source ? std::max(highest, track.source->rate()) : highest;
  }
  if (highest == 0) {
    throw Failure("mix", "there is no file to take the rate from; --rate says it");
  }
  return highest;
}

static void sayWhichChannels(const MixTrack& track, const TrackPlan& plan, const Notices& notices)
{
  if (!track.source) {
    return;
  }
  const SourceFile& source = *track.source;
  if (source.channels() > 2) {
    notices.say(source.name, "of its " + std::to_string(source.channels()) + " channels, " +
                                 std::to_string(plan.leftChannel + 1) + " and " +
                                 std::to_string(plan.rightChannel + 1) +
                                 " are used and the others dropped (--channels L,R)");
  }
}

/** Every file of a mix stays open while it is rendered.  Opening them all to
 *  find out takes seconds where there are tens of thousands. */
static void refuseTooMany(const std::vector<MixTrack>& tracks)
{
  const auto files = std::count_if(tracks.begin(), tracks.end(),
                                   [](const MixTrack& track) { return !track.isMissing(); });
  struct rlimit limit = {};
  if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && static_cast<rlim_t>(files) >= limit.rlim_cur) {
    throw Failure("mix", std::to_string(files) +
                             " files are too many to be open at once: " + openFilesForPeople());
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

MixGraph::MixGraph(const MixContents& contents, const MixRequest& request, const Notices& notices)
    : MixGraph(contents, request, notices, ProviderReference<TovAudioMixer>(new TovAudioMixer()))
{
}

MixGraph::MixGraph(const MixContents& contents, const MixRequest& request, const Notices& notices,
                   ProviderReference<TovAudioMixer> filledMixer)
    : tracks(contents.tracks), mixer(std::move(filledMixer)),
      context(mixRate(request, contents), request.quality, setFramesPerSecond(request), 0.0),
      countingRate(contents.countingRate), leftAndRight(everyChannel(2))
{
  if (!std::isfinite(contents.masterGain)) {
    throw Failure("mix", "the session's master level is no number; --master sets another");
  }
  refuseTooMany(tracks);
  emptyWithGain(*mixer, contents.masterGain);
  for (const MixTrack& track : tracks) {
    plans.push_back(planTrack(track, context.sampleRate));
    sayWhichChannels(track, plans.back(), notices);
    addTrack(track, plans.back());
  }
}

MixGraph::~MixGraph() = default;

/** A missing file is an input that delivers nothing: its track may still be
 *  the one that silences all others. */
ProviderReference<TovAudioFile> MixGraph::inputFor(const MixTrack& track, const TrackPlan& plan)
{
  if (!track.source) {
    return ProviderReference<TovAudioFile>(new TovAudioFile());
  }
  WatchedFile* const file = new WatchedFile(*track.source);
  ProviderReference<TovAudioFile> input(file);
  file->chooseChannels(plan.leftChannel, plan.rightChannel);
  // Each look costs a tenth of a block; checkInputs() looks again at the end.
  file->setLookInterval(16);
  file->reference();
  ProviderReference<WatchedFile> own(file); // before there is room for it
  files.push_back(std::move(own));
  return input;
}

void MixGraph::addTrack(const MixTrack& track, const TrackPlan& plan)
{
  const TrackSettings& settings = track.settings;
  const ProviderReference<TovAudioFile> input = inputFor(track, plan);
  TovAudioFile* const file = input.get();
  setFileSettings(*file, settings.playRate, plan.srcIn, settings.srcOut);
  mixer->addProvider(file);
  // The mixer's own setters search all tracks for the provider.
  TovAudioTrack& last = *mixer->getTrack(mixer->getNumTracks() - 1);
  last.setGain(settings.gain);
  last.setPan(settings.pan);
  last.setWide(settings.width);
  last.setMute(settings.mute || plan.isTooShort);
  last.setSolo(settings.solo);
  last.setStartTime(plan.startTime);
  last.setEndTime(plan.endTime);
  last.setTimeShift(settings.shift);
}

bool MixGraph::isHeard(int track) const
{
  return !getTrack(track).isMissing() && mixer->isTrackHeard(mixer->getTrack(track));
}

long long MixGraph::getEndFrame() const
{
  double end = plans.front().soundEnd;
  for (const TrackPlan& plan : plans) {
    end = std::max(end, plan.soundEnd);
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
      throwIfCutShort(*getTrack(track).source);
    }
  }
}
