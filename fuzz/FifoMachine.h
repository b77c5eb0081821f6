#pragma once

#include <memory>
#include <string>

#include "fuzz/FifoModel.h"
#include "fuzz/Input.h"
#include "tests/playback/IndexedProvider.h"
#include "tests/support/Owned.h"

class TovAudioFIFO;

namespace fuzz {

/** Carries out a program, one byte an operation and then its arguments, on a
 *  FIFO and on its model, and compares every sample, every pause of the feeder
 *  and every stop callback.  The feeder moves only when the program says so. */
class FifoMachine {
public:
  explicit FifoMachine(Input& program);
  ~FifoMachine();
  FifoMachine(const FifoMachine&) = delete;
  FifoMachine& operator=(const FifoMachine&) = delete;

  void step();

  static constexpr int kOperations = 8;

private:
  enum class Wish { Nothing, Add, Flush, NoMoreCallbacks };

  void start();
  void stop();
  FifoModel::Span anySpan();
  void add(const FifoModel::Span& span);
  void fill(int frames, bool hasRight);
  static void stopped(void* machine);

  Input& program;
  support::Owned<support::IndexedProvider> provider;
  std::unique_ptr<TovAudioFIFO> fifo;
  FifoModel model;
  FifoModel::Answer answer = FifoModel::Answer::Sound;
  Wish wish = Wish::Nothing;
  FifoModel::Span wishedSpan;
  int callbacks = 0;
  int lives = 0;
};

} // namespace fuzz
