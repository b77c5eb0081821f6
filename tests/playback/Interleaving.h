#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <type_traits>
#include <vector>

namespace support {

/** Runs two programs on one thread and changes over between their atomic
 *  operations, and only there, as it is told:
 *
 *      first    o--o-----o-o          o: an operation of a SteppedAtomic
 *      second      '-o--o' '--o
 *
 *  One at a time.  Memory is one for both, so this shows what the order of the
 *  operations does, not what their memory orders leave open. */
class Interleaving {
public:
  /** Chooses the program, 0 or 1, whose next operation is carried out, where
   *  both have one. */
  using Choice = std::function<int(const Interleaving&)>;

  /** Runs both programs to their ends.  What one throws ends it, and comes out
   *  of this once both have ended. */
  static void run(const std::function<void()>& first, const std::function<void()>& second,
                  const Choice& choice);

  /** A program is about to carry out an operation: gives the other one its
   *  turns.  Nothing outside run(). */
  static void point();

  /** What an operation of the running program told it. */
  static void observed(std::uint64_t value);

  /** The running program goes on from this place of its own the same way,
   *  whatever it was told before. */
  static void forget(std::uint64_t place);

  /** The program that is running, 0 or 1. */
  static int running();

  /** How often the weak exchange fails though it need not: every n-th time, or
   *  never for 0. */
  static void setSpuriousFailures(int everyNth);
  static bool nextFailsForNoReason();

  /** All that a program has been told since it last forgot, which, since it
   *  does the same each time, is where it stands. */
  std::uint64_t history(int program) const { return histories[program]; }

  static std::uint64_t mixed(std::uint64_t hash, std::uint64_t value);

private:
  struct Fiber;
  static constexpr long long kMostOperations = 20000; ///< beyond that it runs for ever

  explicit Interleaving(const Choice& c);
  ~Interleaving();
  void changeOver();
  void switchTo(int target);
  static void entry();

  static Interleaving* current;
  Choice choice;
  std::unique_ptr<Fiber> fibers[3]; ///< the programs, and the one that runs them
  std::uint64_t histories[2] = {1, 2};
  long long operations = 0;
  int active = 2;
};

/** Goes through every state that two programs can come to, by running them
 *  again and again, each time another way; two ways that come to one state go
 *  on the same, so that one of them suffices. */
class Exploration {
public:
  /** Runs both programs once from the beginning, with this choice. */
  using Run = std::function<void(const Interleaving::Choice& choice)>;

  /** The memory that both programs work on, and all that the judgement of the
   *  run depends on. */
  using State = std::function<std::uint64_t()>;

  Exploration(const Run& run, const State& state, bool (*isOver)());

  /** After how many it gives up: all there are, but under a sanitizer. */
  static long long mostRuns();

  long long states = 0;
  long long runs = 0;
};

/** std::atomic, as far as lists use it, with a point before every operation. */
template <typename T>
class SteppedAtomic {
public:
  SteppedAtomic(T initial) : value(initial) {}
  SteppedAtomic(const SteppedAtomic&) = delete;
  SteppedAtomic& operator=(const SteppedAtomic&) = delete;

  T load(std::memory_order) const
  {
    Interleaving::point();
    return told(value);
  }
  void store(T desired, std::memory_order)
  {
    Interleaving::point();
    value = desired;
  }
  T exchange(T desired, std::memory_order)
  {
    Interleaving::point();
    const T before = value;
    value = desired;
    // Who takes a list gets to know all of it.
    if constexpr (requires { before->next; }) {
      T node = before;
      for (int i = 0; i < 8 && node; ++i, node = node->next)
        told(node);
    }
    return told(before);
  }
  bool compare_exchange_weak(T& expected, T desired, std::memory_order, std::memory_order)
  {
    Interleaving::point();
    const bool isEqual = value == expected && !Interleaving::nextFailsForNoReason();
    if (isEqual)
      value = desired;
    else
      expected = value;
    Interleaving::observed(isEqual);
    told(expected);
    // What was handed over may be in use before the next operation here.
    if (isEqual)
      Interleaving::point();
    return isEqual;
  }

private:
  static std::uint64_t asWord(T v)
  {
    if constexpr (std::is_pointer_v<T>)
      return reinterpret_cast<std::uintptr_t>(v);
    else
      return static_cast<std::uint64_t>(v);
  }

  static T told(T v)
  {
    Interleaving::observed(asWord(v));
    return v;
  }

  T value;
};

} // namespace support
