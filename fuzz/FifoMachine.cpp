#include "fuzz/FifoMachine.h"

#include <algorithm>
#include <stdexcept>

#include "core/TovAudioContext.h"
#include "playback/TovAudioFIFO.h"
#include "tests/playback/SteppedHost.h"
#include "tests/support/Buffers.h"

namespace fuzz {

namespace {

using support::IndexedProvider;
using support::SteppedHost;

constexpr int kMostLives = 3;

} // namespace

FifoMachine::FifoMachine(Input& bytes) : program(bytes), provider(new IndexedProvider)
{
  provider->keepRequests(false);
  provider->setAnswer([this](const TovAudioContext&, double, double) {
    if (answer == FifoModel::Answer::Failure && (lives & 1) != 0)
      throw std::runtime_error("a provider that throws");
    return answer == FifoModel::Answer::Failure ? 1 : answer == FifoModel::Answer::Silence ? 5 : 0;
  });
  start();
}

FifoMachine::~FifoMachine()
{
  stop();
}

void FifoMachine::start()
{
  ++lives;
  model = FifoModel();
  fifo = std::make_unique<TovAudioFIFO>(provider.get());
  fifo->setStopRequestCallback(stopped, this);
  SteppedHost::settle();
  model.turn(answer, [] {});
}

void FifoMachine::stop()
{
  wish = Wish::Nothing;
  fifo.reset();
  SteppedHost::takeHostPauses();
  require(SteppedHost::threadsAlive() == 0, "the feeder thread ends with its FIFO");
  require(support::referenceCount(*provider) == 1, "and lets its provider go");
}

/** On the feeder thread, while this one waits. */
void FifoMachine::stopped(void* data)
{
  FifoMachine& self = *static_cast<FifoMachine*>(data);
  ++self.callbacks;
  if (self.wish == Wish::Add)
    self.fifo->addBlock(TovAudioContext(self.wishedSpan.rate, 0, 0.0, 0.0), self.wishedSpan.start,
                        self.wishedSpan.end, self.wishedSpan.loop);
  else if (self.wish == Wish::Flush)
    self.fifo->flush();
  else if (self.wish == Wish::NoMoreCallbacks)
    self.fifo->setStopRequestCallback(nullptr, nullptr);
}

FifoModel::Span FifoMachine::anySpan()
{
  constexpr int kRates[] = {48000, 44100, 8000, 1, 0, -1, 192000, 0x7fffffff};
  FifoModel::Span span;
  const unsigned int shape = program.u8();
  span.rate = kRates[shape % 8];
  span.loop = shape >= 192;
  span.start = program.seconds();
  span.end = (shape & 8) != 0 ? program.seconds() : span.start + program.s8() * 400 / 48000.0;
  return span;
}

void FifoMachine::add(const FifoModel::Span& span)
{
  fifo->addBlock(TovAudioContext(span.rate, 0, 0.0, 0.0), span.start, span.end, span.loop);
  model.add(span);
}

void FifoMachine::fill(int frames, bool hasRight)
{
  support::Buffers buffers(2, std::max(frames, 0));
  TovNLPArray<float> outputs(buffers.pointers());
  if (!hasRight)
    outputs.set(1, nullptr);
  const FifoModel::Filled wanted = model.fill(frames);
  require(fifo->fillAudioBuffers(outputs, frames) == wanted.status, "the status of filling");
  require(buffers.guardsIntact(), "nothing is written outside the buffers");
  for (std::size_t i = 0; i < wanted.frames.size(); ++i) {
    const long long index = wanted.frames[i];
    const bool isSilent = index == IndexedProvider::kSilence;
    const int frame = static_cast<int>(i);
    require(buffers.channel(0)[frame] == (isSilent ? 0.0f : IndexedProvider::left(index)),
            "the left output is what the model plays");
    require(!hasRight ||
                buffers.channel(1)[frame] == (isSilent ? 0.0f : IndexedProvider::right(index)),
            "the right output is what the model plays");
  }
}

void FifoMachine::step()
{
  const int operation = static_cast<int>(program.u8()) % kOperations;
  switch (operation) {
  case 0:
    add(anySpan());
    break;
  case 1:
    fifo->flush();
    model.flush(false);
    break;
  case 2:
  case 3: {
    const int before = callbacks;
    int wanted = 0;
    const double pause = model.turn(answer, [&] {
      ++wanted;
      if (wish == Wish::Add)
        model.add(wishedSpan);
      else if (wish == Wish::Flush)
        model.flush(true);
      else if (wish == Wish::NoMoreCallbacks)
        model.hasStopCallback = false;
    });
    require(SteppedHost::step() == pause, "the feeder pauses as long as the model");
    require(callbacks - before == wanted, "a stop is told when the model tells it");
    break;
  }
  case 4: {
    const unsigned int size = program.u8();
    fill(size < 128 ? static_cast<int>(size) * 8 : static_cast<int>(size - 130) * 128,
         size % 16 != 15);
    break;
  }
  case 5:
    answer = static_cast<FifoModel::Answer>(program.below(3));
    break;
  case 6:
    wish = static_cast<Wish>(program.below(4));
    if (wish == Wish::Add)
      wishedSpan = anySpan();
    model.hasStopCallback = program.u8() < 200;
    fifo->setStopRequestCallback(model.hasStopCallback ? stopped : nullptr, this);
    break;
  default:
    if (program.flag()) {
      TovAudioFIFOCmd* queued = fifo->claimCmds();
      TovAudioFIFO::deallocateCmds(queued, true);
      TovAudioFIFO::deallocateCmds(queued, false);
      model.forgetQueued();
    } else if (lives < kMostLives) {
      stop();
      start();
    }
  }
}

} // namespace fuzz
