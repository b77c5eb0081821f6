// A resampler whose input is replaced by one thread while others use it.

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Owned;
using support::RecordingProvider;

const TovAudioContext kContext(48000, 1, 24.0, 0.0);

/** Tells with its answers to activate() and deactivate() whether it lived
 *  throughout, and counts the living. */
class MortalProvider : public RecordingProvider {
public:
  static constexpr int kAlive = 7321;

  explicit MortalProvider(std::atomic<int>& count)
      : living(count), isAlive(std::make_shared<std::atomic<bool>>(true))
  {
    ++living;
  }
  int activate(const TovAudioContext&) override { return answer(); }
  int deactivate() override { return answer(); }

protected:
  ~MortalProvider() override
  {
    *isAlive = false;
    --living;
  }

private:
  int answer() const
  {
    const std::shared_ptr<std::atomic<bool>> flag = isAlive;
    for (int turn = 0; turn < 3; ++turn)
      std::this_thread::yield();
    return *flag ? kAlive : -1;
  }

  std::atomic<int>& living;
  std::shared_ptr<std::atomic<bool>> isAlive;
};

/** Replaces the input again and again by one that only the resampler holds. */
void replaceInputs(TovAudioResampler& resampler, std::atomic<int>& living, int times)
{
  for (int i = 0; i < times; ++i) {
    Owned<MortalProvider> input = support::make<MortalProvider>(living);
    resampler.setInputProvider(input.get());
    input.drop();
    if (i % 5 == 0)
      resampler.setInputProvider(nullptr);
  }
}

TEST(ResamplerThreadsTest, InputLivesWhileItIsActivatedOrDeactivated)
{
  std::atomic<int> living{0};
  Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(nullptr);
  std::atomic<int> running{2};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      replaceInputs(*resampler, living, 3000);
      --running;
    });
  }
  std::atomic<int> wrong{0};
  const std::vector<std::function<int()>> operations = {
      [&] { return resampler->activate(kContext); }, [&] { return resampler->deactivate(); }};
  for (const std::function<int()>& operation : operations) {
    threads.emplace_back([&] {
      do {
        const int answer = operation();
        if (answer != MortalProvider::kAlive && answer != 0)
          ++wrong;
      } while (running > 0);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(0, wrong);
  EXPECT_LE(living, 1);
  resampler.drop();
  EXPECT_EQ(0, living);
}

TEST(ResamplerThreadsTest, RendersSavesAndCopiesWhileTheInputIsReplaced)
{
  std::atomic<int> living{0};
  Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(nullptr);
  std::atomic<bool> running{true};
  std::thread replacing([&] {
    replaceInputs(*resampler, living, 1500);
    running = false;
  });
  std::thread changing([&] {
    for (int i = 0; running; ++i)
      resampler->setSourceRate(i % 3 ? 8000 + i % 1000 : 0);
  });
  do {
    support::Buffers buffers(2, 64);
    const int status = resampler->getAudio(buffers.pointers(), support::channelMap({0, 1}),
                                           kContext, 0.0, 64.0 / 48000.0);
    EXPECT_TRUE(status == 0 || status == 5) << status;
    EXPECT_TRUE(buffers.guardsIntact());
    void* blob = nullptr;
    EXPECT_EQ(13, resampler->serialize(&blob));
    delete[] static_cast<unsigned char*>(blob);
    Owned<TovAudioResampler> copy = support::make<TovAudioResampler>(*resampler);
    EXPECT_EQ(0, copy->getSourceRate());
  } while (running);
  replacing.join();
  changing.join();
  resampler.drop();
  EXPECT_EQ(0, living);
}

TEST(ResamplerThreadsTest, CirclesAreLookedForWhileTheGraphRenders)
{
  const Owned<RecordingProvider> leaf = support::make<RecordingProvider>();
  const Owned<TovAudioMixer> inner = support::make<TovAudioMixer>();
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(inner.get());
  const Owned<TovAudioMixer> outer = support::make<TovAudioMixer>();
  ASSERT_EQ(0, outer->addProvider(resampler.get()));
  std::atomic<bool> running{true};
  std::thread changing([&] {
    for (int i = 0; i < 400; ++i) {
      EXPECT_EQ(0, inner->addProvider(leaf.get()));
      EXPECT_EQ(4, inner->addProvider(outer.get()));
      resampler->setInputProvider(outer.get()); // refused
      EXPECT_EQ(0, inner->removeProvider(leaf.get()));
    }
    running = false;
  });
  do {
    support::Buffers buffers(2, 64);
    const int status = outer->getAudio(buffers.pointers(), support::channelMap({0, 1}), kContext,
                                       1.0, 1.0 + 64.0 / 48000.0);
    EXPECT_TRUE(status == 0 || status == 5) << status;
  } while (running);
  changing.join();
  EXPECT_EQ(1, outer->getNumTracks());
  EXPECT_EQ(0, inner->getNumTracks());
}

} // namespace
