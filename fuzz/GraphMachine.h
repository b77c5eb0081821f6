#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/Input.h"
#include "graph/TovAudioProvider.h"
#include "tests/support/Buffers.h"
#include "tests/support/Listener.h"
#include "tests/support/Owned.h"
#include "tests/support/Setting.h"

class TovAudioFile;
class TovAudioMixer;
class TovAudioResampler;

namespace fuzz {

/** Carries out a program, one byte an operation and then its arguments, on a
 *  few providers, and compares after every operation what they are made of,
 *  who holds them and whether their locks are free with a model of its own.
 *
 *  Requests are for up to 4096 frames, at any time.  The number of ways from a
 *  provider down to files is bounded: a request takes every one of them. */
class GraphMachine {
public:
  explicit GraphMachine(Input& program);

  /** One operation; every value that an operation byte can have means one. */
  void step();

  static constexpr int kOperations = 16;

private:
  /** What a provider should be: its inputs, in order, and what holds it. */
  struct Model {
    enum Kind { File, Resampler, Mixer };
    Kind kind;
    std::vector<std::shared_ptr<Model>> inputs = {};
    TovAudioProvider* provider = nullptr; ///< not owned; null where nobody asked for it yet
  };

  struct Slot {
    support::Owned<TovAudioProvider> provider;
    std::shared_ptr<Model> model;
    std::unique_ptr<support::Listener> listener;
  };

  static constexpr std::size_t kSlots = 6;

  Slot& anySlot() { return slots[static_cast<std::size_t>(program.below(kSlots))]; }
  Slot* slotOf(Model::Kind kind);
  void put(Slot& slot, TovAudioProvider* provider, std::shared_ptr<Model> model);
  void changeFile(TovAudioFile& file);
  void changeMixer(Slot& slot);
  void changeTrack(TovAudioMixer& mixer, TovAudioProvider* provider);
  void changeInput(Slot& slot);
  void copy(Slot& from, Slot& to);
  void reload(Slot& slot);
  void render(Slot& slot);
  bool hasRoomFor(const Slot& outer, const Slot& inner) const;
  void check();

  static bool reaches(const Model& from, const Model* to);
  static int waysDown(const Model& model);
  static std::shared_ptr<Model> copied(const Model& model);
  static bool isOfFiles(const Model& model, int depth);
  static void countUses(const std::shared_ptr<Model>& model, std::vector<const Model*>& seen,
                        std::vector<const Model*>& uses);

  Input& program;
  std::array<Slot, kSlots> slots;
  support::SoloOverridesMute soloOverridesMute;
};

} // namespace fuzz
