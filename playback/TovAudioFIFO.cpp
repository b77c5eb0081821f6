#include "playback/TovAudioFIFO.h"

#include <algorithm>
#include <climits>
#include <new>

#include "core/TovLock.h"
#include "core/TovPlug.h"
#include "core/TovSys.h"
#include "core/TovThread.h"
#include "graph/TovAudioProvider.h"
#include "playback/TovAudioBlockPlan.h"
#include "playback/TovPlaybackSettings.h"

namespace {

constexpr int kNothingToDeliver = 5;
constexpr int kFailed = 1;

// Seconds.
constexpr double kPauseWithoutWork = 0.01;
constexpr double kPauseWithoutBlock = 0.005;
constexpr double kPauseAfterFailure = 0.005;
constexpr double kPauseForFeederLock = 0.0001;

int playbackQuality()
{
  return std::clamp(TovPlaybackSettings::instance().quality->asInt(), 0, 3);
}

/** A rate that does not fit is none. */
int contextRate(unsigned int sampleRate)
{
  return sampleRate <= static_cast<unsigned int>(INT_MAX) ? static_cast<int>(sampleRate) : 0;
}

void removeHead(TovAudioFIFOCmd*& list)
{
  TovAudioFIFOCmd* const head = list;
  list = head->next;
  delete head;
}

/** Where the link to the first flush of the list stands, or its last link. */
TovAudioFIFOCmd** linkToFlush(TovAudioFIFOCmd*& list)
{
  TovAudioFIFOCmd** link = &list;
  while (*link && (*link)->type != TovAudioFIFOCmd::kFlush)
    link = &(*link)->next;
  return link;
}

} // namespace

// --- Life -----------------------------------------------------------------

TovAudioFIFO::TovAudioFIFO(TovAudioProvider* p)
    : provider(p), feederThread(nullptr), stopFlag(false), isFeederRunning(false), feederLock(0),
      cmdQueue(nullptr), stopCallback(nullptr), stopCallbackData(nullptr), flushesOfOthers(0)
{
  for (TovAudioFIFOBlock& block : storage)
    blocks.freeBlock(&block);
  feederThread = TovThread::t_create(feederThreadFuncStatic, this); // may throw
  if (provider)
    provider->reference();
  if (feederThread)
    isFeederRunning.wait(false);
  else
    TovSys::error("%ETovAudioFIFO: Could not start the feeder thread\n");
}

TovAudioFIFO::~TovAudioFIFO()
{
  stopFlag = true;
  TovLock::acquireNice(feederLock, kPauseForFeederLock);
  TovLock::release(feederLock);
  TovThread::t_join(feederThread);
  TovAudioFIFOCmd* left = claimCmds();
  deallocateCmds(left, false);
  if (provider)
    provider->dereference();
}

// --- Commands -------------------------------------------------------------

void TovAudioFIFO::addBlock(const TovAudioContext& context, double startTime, double endTime,
                            bool loop)
{
  TovAudioFIFOCmd* const cmd = new TovAudioFIFOCmd;
  cmd->startTime = startTime;
  cmd->endTime = endTime;
  cmd->curTime = startTime;
  cmd->sampleRate = static_cast<unsigned int>(context.sampleRate);
  cmd->loop = loop;
  queueCmd(cmd);
}

void TovAudioFIFO::flush()
{
  TovAudioFIFOCmd* const cmd = new TovAudioFIFOCmd;
  cmd->type = TovAudioFIFOCmd::kFlush;
  cmd->isFeeders = isFeederThread();
  queueCmd(cmd);
}

void TovAudioFIFO::queueCmd(TovAudioFIFOCmd* cmd)
{
  hc_test_then_link_i32(cmdQueue, cmd);
}

TovAudioFIFOCmd* TovAudioFIFO::claimCmds()
{
  return hc_test_then_swap_ptr(cmdQueue, nullptr);
}

bool TovAudioFIFO::checkForFlush(const TovAudioFIFOCmd* list)
{
  while (list && list->type != TovAudioFIFOCmd::kFlush)
    list = list->next;
  return list != nullptr;
}

bool TovAudioFIFO::isIncompleteCmd(const TovAudioFIFOCmd* cmd)
{
  return !cmd->complete;
}

void TovAudioFIFO::deallocateCmds(TovAudioFIFOCmd*& list, bool stopAtFlush)
{
  bool isFlush = false;
  while (list && !(stopAtFlush && isFlush)) {
    isFlush = list->type == TovAudioFIFOCmd::kFlush;
    removeHead(list);
  }
}

void TovAudioFIFO::setStopRequestCallback(void (*function)(void*), void* data)
{
  const std::lock_guard<std::recursive_mutex> guard(stopCallbackMutex);
  stopCallback = function;
  stopCallbackData = data;
}

// --- Feeder thread --------------------------------------------------------
//
// 1. Holds feederLock from beginning to end.
// 2. Until it is told to stop:
//    a. answers a stop request of the output,
//    b. takes over what was queued, oldest first,
//    c. carries out flushes,
//    d. rests where nothing is left to do,
//    e. works on the oldest command,
//    f. rests where that was the last one.
// 3. Releases feederLock.

void TovAudioFIFO::feederThreadFuncStatic(TovThread*, void* fifo)
{
  if (fifo)
    static_cast<TovAudioFIFO*>(fifo)->feederThreadFunc();
}

void TovAudioFIFO::feederThreadFunc()
{
  TovLock::acquire(feederLock); // Step (1)
  feederThreadId = std::this_thread::get_id();
  isFeederRunning = true;
  isFeederRunning.notify_one();

  TovAudioFIFOCmd* pending = nullptr;
  while (!stopFlag) {
    answerStopRequest(pending); // Step (2a)
    appendClaimedCmds(pending); // Step (2b)
    carryOutFlushes(pending);   // Step (2c)
    if (!pending) {             // Step (2d)
      TovSys::sleep(kPauseWithoutWork);
      continue;
    }
    workOnHead(pending); // Step (2e)
    if (!pending)        // Step (2f)
      TovSys::sleep(kPauseWithoutWork);
  }
  deallocateCmds(pending, false);
  TovLock::release(feederLock); // Step (3)
}

bool TovAudioFIFO::isFeederThread() const
{
  return feederThread && std::this_thread::get_id() == feederThreadId;
}

/** A request that a flush of the host has overtaken is dropped: the host has
 *  moved on, and what it queued since must not be stopped. */
void TovAudioFIFO::answerStopRequest(TovAudioFIFOCmd*& pending)
{
  if (!stopFlush)
    stopFlush.reset(new (std::nothrow) TovAudioFIFOCmd);
  if (!stopFlush || !blocks.takeStopRequest())
    return;
  const std::lock_guard<std::recursive_mutex> guard(stopCallbackMutex);
  appendClaimedCmds(pending);
  if (!stopCallback || checkForFlush(pending))
    return;
  stopCallback(stopCallbackData);
  stopFlush->type = TovAudioFIFOCmd::kFlush;
  stopFlush->isFeeders = true;
  stopFlush->flushesBefore = flushesOfOthers;
  queueCmd(stopFlush.release());
}

void TovAudioFIFO::appendClaimedCmds(TovAudioFIFOCmd*& pending)
{
  TovAudioFIFOCmd** end = &pending;
  while (*end)
    end = &(*end)->next;
  *end = tovOldestFirst(claimCmds());
}

void TovAudioFIFO::carryOutFlushes(TovAudioFIFOCmd*& pending)
{
  while (TovAudioFIFOCmd*& flush = *linkToFlush(pending)) {
    if (isOvertaken(*flush)) {
      removeHead(flush);
      continue;
    }
    flushesOfOthers += flush->isFeeders ? 0 : 1;
    deallocateCmds(pending, true);
    blocks.flush();
  }
}

/** The flush behind a stop callback is for what that span left, not for what
 *  another thread queued behind a flush of its own. */
bool TovAudioFIFO::isOvertaken(const TovAudioFIFOCmd& flush) const
{
  return flush.flushesBefore != TovAudioFIFOCmd::kEveryFlush &&
         flush.flushesBefore != flushesOfOthers;
}

void TovAudioFIFO::workOnHead(TovAudioFIFOCmd*& pending)
{
  TovAudioFIFOCmd* const cmd = pending;
  if (cmd->type != TovAudioFIFOCmd::kSpan || !provider) {
    removeHead(pending);
    return;
  }
  addAudioBlock(cmd);
  if (isIncompleteCmd(cmd))
    return;
  if (cmd->loop) {
    cmd->curTime = cmd->startTime;
    cmd->complete = false;
  } else {
    removeHead(pending);
  }
}

/** Whatever a provider throws is a failure like any other: the host's output
 *  goes on. */
void TovAudioFIFO::addAudioBlock(TovAudioFIFOCmd* cmd)
{
  const TovAudioContext context(contextRate(cmd->sampleRate), playbackQuality(), 0.0, 0.0);
  TovAudioBlockPlan plan;
  try {
    plan = tovPlanAudioBlock(*provider, context, *cmd);
    cmd->loop = cmd->loop && plan.isPlayable;
    if (cmd->loop && tovIsEmptySpan(*provider, context, *cmd)) {
      TovSys::sleep(kPauseWithoutWork);
      return;
    }
  } catch (...) {
    TovSys::sleep(kPauseAfterFailure);
    return;
  }
  TovAudioFIFOBlock* const block = blocks.getFreeBlock();
  if (!block) {
    TovSys::sleep(kPauseWithoutBlock);
    return;
  }

  const int status = plan.isPlayable ? renderBlock(*block, context, plan.t0, plan.t1) : 0;
  if (status != 0 && status != kNothingToDeliver) {
    blocks.freeBlock(block);
    TovSys::sleep(kPauseAfterFailure);
    return;
  }
  block->silent = status == kNothingToDeliver;
  if (!block->silent && plan.isBackward) {
    std::reverse(block->left.begin(), block->left.begin() + plan.frames);
    std::reverse(block->right.begin(), block->right.begin() + plan.frames);
  }
  block->frames = plan.frames;
  block->readPos = 0;
  block->lastOfCmd = plan.reachesEnd && !cmd->loop;
  cmd->complete = plan.reachesEnd;
  cmd->curTime = plan.next;
  blocks.linkFinished(block);
}

int TovAudioFIFO::renderBlock(TovAudioFIFOBlock& block, const TovAudioContext& context, double t0,
                              double t1)
{
  TovNLPArray<float> outputs;
  outputs.append(block.left.data());
  outputs.append(block.right.data());
  TovNLArray<int> leftAndRight;
  leftAndRight.append(0);
  leftAndRight.append(1);
  int status = kFailed;
  try {
    provider->activate(context);
    status = provider->getAudio(outputs, leftAndRight, context, t0, t1);
  } catch (...) {
  }
  try {
    provider->deactivate();
  } catch (...) {
    status = kFailed;
  }
  return status;
}

// --- Output callback ------------------------------------------------------

int TovAudioFIFO::fillAudioBuffers(const TovNLPArray<float>& outputs, int frames)
{
  int filled = blocks.fillFromReadyBlocks(outputs, frames, 0);
  if (!blocks.isAnythingReady())
    blocks.claimFinished();
  if (filled < frames)
    filled = blocks.fillFromReadyBlocks(outputs, frames, filled);
  if (filled >= frames)
    return 0;
  for (int channel = 0; channel < 2; ++channel)
    if (float* const output = outputs[channel])
      std::fill_n(output + filled, frames - filled, 0.0f);
  return 1;
}
