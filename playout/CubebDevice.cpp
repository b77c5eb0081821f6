#include "playout/CubebLibrary.h"
#include "playout/PlayoutDevice.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace {

using Milliseconds = std::chrono::milliseconds;

/** Buffered ahead where the library does not need more: short enough for a
 *  hand on a fader, long enough for a desktop that is busy. */
constexpr double kLatencySeconds = 0.035;

// How long the library's calls are waited for.  Only a server that stands still
// without having ended takes longer: the library would give it half a minute.
// Opening may have to start a server first.
constexpr Milliseconds kOpeningLimit{3000};
constexpr Milliseconds kLimit{800};

/** A running stream that has not pulled for so long is lost: of servers that
 *  stand still, and of those of JACK that are killed, the library says
 *  nothing.  A headset may take seconds to wake up. */
constexpr std::chrono::seconds kStandstill{4};

/** The state of a device, which only its present session changes: one that the
 *  device has given up may still be reporting.  Any thread; real-time safe but
 *  for watched() and watch(), which are not for the output callback. */
class SharedState {
public:
  using State = PlayoutDevice::State;

  State get() const { return stateOf(word); }

  /** The output callback has pulled. */
  void pulled() { pulls.fetch_add(1, std::memory_order_relaxed); }

  /** From now on there have to be pulls. */
  void watch()
  {
    const std::lock_guard<std::mutex> guard(watching);
    pulledAt = Clock::now();
  }

  /** The state; a stream that runs and stands still is lost now. */
  State watched()
  {
    const std::lock_guard<std::mutex> guard(watching);
    const unsigned int seen = word;
    if (stateOf(seen) != State::running)
      return stateOf(seen);
    const unsigned int count = pulls.load(std::memory_order_relaxed);
    const Clock::time_point now = Clock::now();
    // Where nobody has looked for a while, the whole process may have stood
    // still: then the stream gets its time again.
    const bool isLookedAt = now - std::exchange(lookedAt, now) < kStandstill / 2;
    if (std::exchange(knownPulls, count) != count || !isLookedAt)
      pulledAt = now;
    else if (now - pulledAt > kStandstill)
      lose(seen >> kBits);
    return get();
  }

  /** Sets the state and gives the say to a new session, whose number this is. */
  unsigned int hand(State state)
  {
    const unsigned int session = (word.load() >> kBits) + 1;
    word = of(session, state);
    return session;
  }

  /** Whether that session has the say, and is in the state. */
  bool is(unsigned int session, State state) const { return word == of(session, state); }

  bool change(unsigned int session, State from, State to)
  {
    unsigned int expected = of(session, from);
    return word.compare_exchange_strong(expected, of(session, to));
  }

  void lose(unsigned int session)
  {
    unsigned int seen = word;
    while (seen >> kBits == session &&
           !word.compare_exchange_weak(seen, of(session, State::lost))) {
    }
  }

private:
  using Clock = std::chrono::steady_clock;

  static constexpr unsigned int kBits = 3;
  static constexpr unsigned int kStateBits = (1U << kBits) - 1;

  static State stateOf(unsigned int bits) { return static_cast<State>(bits & kStateBits); }
  static unsigned int of(unsigned int session, State state)
  {
    return session << kBits | static_cast<unsigned int>(state);
  }

  std::atomic<unsigned int> word{of(0, State::closed)};
  std::atomic<unsigned int> pulls{0};
  std::mutex watching;
  unsigned int knownPulls = 0; ///< protected by watching
  Clock::time_point pulledAt;  ///< protected by watching; when that many were seen
  Clock::time_point lookedAt;  ///< protected by watching; of watched()
};

/** One context with one stream on its default output: what lives from open()
 *  to close(), and longer where the library does not come back from a call.
 *
 *  Made, started, stopped and destroyed by one thread at a time; pull() and
 *  changed() are the library's callbacks.
 */
class CubebSession {
public:
  CubebSession(PlayoutSource& pulledSource, std::shared_ptr<SharedState> deviceState)
      : source(pulledSource), state(std::move(deviceState)),
        number(state->hand(PlayoutDevice::State::stopped))
  {
  }
  ~CubebSession();
  CubebSession(const CubebSession&) = delete;
  CubebSession& operator=(const CubebSession&) = delete;

  int open(double rate, int channels);

  /** Lets pull() call the source, to be followed by start(); false where the
   *  session cannot be started. */
  bool joinSource();
  int start();
  int stop();

  /** Ends the pulling without the library: from now on pull() delivers
   *  silence.  Also while a start() or stop() is under way. */
  void leaveSource();

  long long position() const;
  long latency() const;
  void lose() { state->lose(number); }

private:
  void askServer();
  static long pull(cubeb_stream*, void* self, const void*, void* output, long frames) noexcept;
  static void changed(cubeb_stream*, void* self, cubeb_state to) noexcept;
  bool change(PlayoutDevice::State from, PlayoutDevice::State to)
  {
    return state->change(number, from, to);
  }

  PlayoutSource& source;
  const std::shared_ptr<SharedState> state;
  const unsigned int number; ///< of this session, for the state
  const CubebLibrary* const library = CubebLibrary::get();
  cubeb* context = nullptr;
  cubeb_stream* stream = nullptr;
  int channelCount = 0;
  long bufferedAhead = 0;             ///< frames, as asked for
  bool isExhausted = false;           ///< output callback only
  std::atomic<bool> hasSource{false}; ///< whether pull() may call the source
  std::atomic<bool> isPulling{false}; ///< whether pull() is under way
  std::atomic<long long> pulled{0};   ///< frames; set by the output callback
};

CubebSession::~CubebSession()
{
  // The library wants a stream stopped before it is destroyed.
  if (stream) {
    library->streamStop(stream);
    library->streamDestroy(stream);
  }
  if (context)
    library->destroy(context);
}

int CubebSession::open(double rate, int channels)
{
  // The library counts whole frames a second only.
  if (rate != std::floor(rate))
    return 1;
  // A context does not outlive its server, hence a new one for each opening.
  if (!library || library->init(&context, "Tov", nullptr) != CUBEB_OK) {
    context = nullptr;
    return 1;
  }
  cubeb_stream_params format{};
  format.format = CUBEB_SAMPLE_FLOAT32NE;
  format.rate = static_cast<std::uint32_t>(rate);
  format.channels = static_cast<std::uint32_t>(channels);
  format.layout = channels == 1   ? CUBEB_LAYOUT_MONO
                  : channels == 2 ? CUBEB_LAYOUT_STEREO
                                  : CUBEB_LAYOUT_UNDEFINED;
  format.prefs = CUBEB_STREAM_PREF_NONE;

  auto latency = static_cast<std::uint32_t>(rate * kLatencySeconds);
  std::uint32_t least = 0;
  if (library->getMinLatency(context, &format, &least) == CUBEB_OK)
    latency = std::max(latency, least);
  bufferedAhead = static_cast<long>(latency);
  channelCount = channels;

  if (library->streamInit(context, &stream, "Playout", nullptr, nullptr, nullptr, &format, latency,
                          pull, changed, this) != CUBEB_OK) {
    stream = nullptr;
    return 1;
  }
  return 0;
}

bool CubebSession::joinSource()
{
  state->watch();
  if (!change(PlayoutDevice::State::stopped, PlayoutDevice::State::running))
    return false;
  hasSource = true;
  return true;
}

void CubebSession::askServer()
{
  cubeb_device_collection devices{};
  if (std::strcmp(library->getBackendId(context), "pulse") == 0 &&
      library->enumerateDevices(context, CUBEB_DEVICE_TYPE_OUTPUT, &devices) == CUBEB_OK)
    library->deviceCollectionDestroy(context, &devices);
}

int CubebSession::start()
{
  // The library aborts the process when it starts a stream whose server has
  // died without its having noticed.  A question to the server lets it notice,
  // and changed() is called; what is left is the moment between the two.
  askServer();
  if (state->is(number, PlayoutDevice::State::running) && library->streamStart(stream) == CUBEB_OK)
    return 0;
  leaveSource();
  lose();
  return 1;
}

int CubebSession::stop()
{
  const int result = library->streamStop(stream);
  leaveSource();
  if (result != CUBEB_OK) {
    lose();
    return 1;
  }
  change(PlayoutDevice::State::running, PlayoutDevice::State::stopped);
  return 0;
}

void CubebSession::leaveSource()
{
  // Either pull() sees this, or it has said before that it is under way.
  hasSource = false;
  while (isPulling)
    std::this_thread::sleep_for(std::chrono::microseconds(100));
}

long long CubebSession::position() const
{
  // The library counts a little ahead before anything is played.
  if (pulled == 0)
    return 0;
  std::uint64_t frames = 0;
  if (!stream || library->streamGetPosition(stream, &frames) != CUBEB_OK)
    return -1;
  return static_cast<long long>(frames);
}

long CubebSession::latency() const
{
  // Not cubeb_stream_get_latency(): it aborts the process where the position
  // has run past what was written, as after the death of the server.
  const long long heard = position();
  if (heard <= 0)
    return bufferedAhead;
  return static_cast<long>(std::max(0LL, pulled.load() - heard));
}

long CubebSession::pull(cubeb_stream*, void* self, const void*, void* output, long frames) noexcept
{
  auto& session = *static_cast<CubebSession*>(self);
  auto* const samples = static_cast<float*>(output);
  session.isPulling = true;
  long delivered = frames;
  session.state->pulled();
  if (!session.hasSource || session.state->get() == PlayoutDevice::State::lost)
    std::fill_n(samples, frames * session.channelCount, 0.0f);
  else if (session.isExhausted)
    // Fewer than are asked for begin the drain; not in the call in which the
    // source said so, as its frames are to be heard.
    delivered = 0;
  else
    session.isExhausted = !session.source.render(samples, frames);
  session.pulled.fetch_add(delivered, std::memory_order_relaxed);
  session.isPulling = false;
  return delivered;
}

void CubebSession::changed(cubeb_stream*, void* self, cubeb_state to) noexcept
{
  auto& session = *static_cast<CubebSession*>(self);
  if (to == CUBEB_STATE_ERROR)
    session.lose();
  else if (to == CUBEB_STATE_DRAINED)
    session.change(PlayoutDevice::State::running, PlayoutDevice::State::ended);
}

constexpr int kLate = -1;

/** Runs @p step on a thread of its own and returns its result, or kLate when
 *  it has not come back in time; the thread then ends when it does. */
int within(Milliseconds limit, std::function<int()> step)
{
  const auto task = std::make_shared<std::packaged_task<int()>>(std::move(step));
  std::future<int> result = task->get_future();
  try {
    std::thread worker([task] { (*task)(); });
    if (result.wait_for(limit) != std::future_status::ready) {
      worker.detach();
      return kLate;
    }
    worker.join();
  } catch (const std::system_error&) {
    (*task)(); // no thread to be had
  }
  return result.get();
}

/** The computer's audio output through the cubeb library. */
class CubebDevice final : public PlayoutDevice {
public:
  ~CubebDevice() override { CubebDevice::close(); }

  int open(PlayoutSource& source, double rate, int channels) override;
  int start() override;
  int stop() override;
  long long position() override { return session ? session->position() : -1; }
  long latency() override { return session ? session->latency() : 0; }
  State state() const override { return current->watched(); }
  void close() override;

private:
  int step(Milliseconds limit, const std::function<int(CubebSession&)>& action);

  const std::shared_ptr<SharedState> current = std::make_shared<SharedState>();
  std::shared_ptr<CubebSession> session;
};

int CubebDevice::open(PlayoutSource& source, double rate, int channels)
{
  close();
  session = std::make_shared<CubebSession>(source, current);
  const int result =
      step(kOpeningLimit, [=](CubebSession& opened) { return opened.open(rate, channels); });
  if (result != 0)
    close();
  return result;
}

int CubebDevice::start()
{
  return session && session->joinSource() ? step(kLimit, &CubebSession::start) : 1;
}

int CubebDevice::stop()
{
  return session ? step(kLimit, &CubebSession::stop) : 1;
}

/** Has the session do something.  A step that is late holds the session, which
 *  is not to be touched by another then, and destroys it when it comes back. */
int CubebDevice::step(Milliseconds limit, const std::function<int(CubebSession&)>& action)
{
  const int result = within(limit, [held = session, action] { return action(*held); });
  if (result == kLate) {
    session->leaveSource();
    session->lose();
    session.reset();
  }
  return result;
}

void CubebDevice::close()
{
  if (session) {
    session->leaveSource();
    within(kLimit, [held = std::exchange(session, nullptr)]() mutable {
      held.reset();
      return 0;
    });
  }
  current->hand(State::closed);
}

} // namespace

std::unique_ptr<PlayoutDevice> makeCubebDevice()
{
  return std::make_unique<CubebDevice>();
}
