#include "fuzz/GraphMachine.h"

#include <algorithm>
#include <cmath>

#include "fuzz/Target.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/support/FileFormats.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/SettingsBlobs.h"
#include "tests/support/TempFolder.h"

namespace fuzz {

namespace {

using support::Bytes;

constexpr int kMostWaysDown = 24;
constexpr long long kMostFrames = 4096;
constexpr long long kMostRequestFrames = 1LL << 28;

/** Files of all kinds, some of them not what they say. */
const std::vector<std::string>& files()
{
  static const std::vector<std::string> paths = [] {
    const Bytes samples16 = support::encoded<support::Wav>(support::noise(2, 3000, 1), 2);
    const Bytes samples8 = support::encoded<support::Wav>(support::noise(1, 900, 2), 1);
    const Bytes samples24 = support::encoded<support::Wav>(support::noise(3, 500, 3), 3);
    const Bytes samples32 = support::encoded<support::Wav>(support::noise(2, 4000, 4), 4);
    const Bytes big16 = support::encoded<support::Aiff>(support::noise(2, 2500, 5), 2);
    return std::vector<std::string>{
        scratch().write("stereo.wav", support::wavFile(2, 44100, 16, samples16)),
        scratch().write("mono.wav", support::wavFile(1, 8000, 8, samples8)),
        scratch().write("three.wav", support::wavFile(3, 48000, 24, samples24)),
        scratch().write("fast.wav", support::wavFile(2, 192000, 32, samples32)),
        scratch().write("stereo.aiff", support::aiffFile(2, 2500, 44100, 16, big16)),
        scratch().write("slow.aif", support::aiffFile(1, 900, 22050, 8, samples8)),
        scratch().write("rateless.wav", support::wavFile(1, 0, 8, samples8)),
        scratch().write("hasty.wav", support::wavFile(1, 0x7fffffff, 8, samples8)),
        scratch().write("hastier.wav", support::wavFile(1, 0xffffffff, 8, samples8)),
        scratch().write("short.aiff", support::aiffFile(2, 100000, 44100, 16, big16)),
        scratch().write("stereo", support::wavFile(2, 44100, 16, samples16)),
        scratch().write("text.wav", Bytes().text("this is no sound")),
        scratch().path("absent.wav"),
        scratch().folder(),
        ""};
  }();
  return paths;
}

const std::string& anyFile(Input& program)
{
  return files()[static_cast<std::size_t>(program.below(static_cast<int>(files().size())))];
}

/** Rates of a million to eight million frames are possible and take seconds;
 *  those above are refused, and those of 2^31 and more are negative. */
std::uint32_t anyRate(Input& program)
{
  const std::uint32_t rate = program.u32() >> program.u8() % 32;
  return rate <= 8000000 ? rate % 1000000 : rate;
}

TovAudioContext anyContext(Input& program)
{
  constexpr int kRates[] = {44100, 48000, 8000, 22050, 192000, 96000, 11025, 0, -1, 0x7fffffff};
  const int rate = kRates[program.below(10)];
  const unsigned int shape = program.u8();
  return TovAudioContext(rate, static_cast<int>(shape % 6) - 1, shape < 240 ? 24.0 : program.f64(),
                         shape < 128 ? 0.0 : program.seconds());
}

} // namespace

GraphMachine::GraphMachine(Input& bytes) : program(bytes), soloOverridesMute("0") {}

// --- The model --------------------------------------------------------------

bool GraphMachine::reaches(const Model& from, const Model* to)
{
  return &from == to ||
         std::any_of(from.inputs.begin(), from.inputs.end(),
                     [&](const std::shared_ptr<Model>& input) { return reaches(*input, to); });
}

int GraphMachine::waysDown(const Model& model)
{
  int ways = 1;
  for (const std::shared_ptr<Model>& input : model.inputs)
    ways += waysDown(*input);
  return ways;
}

/** A mixer clones its inputs, a resampler shares its own. */
std::shared_ptr<GraphMachine::Model> GraphMachine::copied(const Model& model)
{
  const auto copy = std::make_shared<Model>(Model{model.kind});
  for (const std::shared_ptr<Model>& input : model.inputs)
    copy->inputs.push_back(model.kind == Model::Mixer ? copied(*input) : input);
  return copy;
}

/** Whether a mixer's tracks are files, and mixers of files down to @p depth. */
bool GraphMachine::isOfFiles(const Model& model, int depth)
{
  return model.kind == Model::File || (model.kind == Model::Mixer && depth > 0 &&
                                       std::all_of(model.inputs.begin(), model.inputs.end(),
                                                   [&](const std::shared_ptr<Model>& input) {
                                                     return isOfFiles(*input, depth - 1);
                                                   }));
}

void GraphMachine::countUses(const std::shared_ptr<Model>& model, std::vector<const Model*>& seen,
                             std::vector<const Model*>& uses)
{
  uses.push_back(model.get());
  if (std::find(seen.begin(), seen.end(), model.get()) != seen.end())
    return;
  seen.push_back(model.get());
  for (const std::shared_ptr<Model>& input : model->inputs)
    countUses(input, seen, uses);
}

/** Whether the ways stay few, for whatever contains the outer one too. */
bool GraphMachine::hasRoomFor(const Slot& outer, const Slot& inner) const
{
  const int added = waysDown(*inner.model);
  int most = 0;
  for (const Slot& slot : slots)
    if (slot.model && reaches(*slot.model, outer.model.get()))
      most = std::max(most, waysDown(*slot.model));
  return most * added + added <= kMostWaysDown;
}

void GraphMachine::check()
{
  std::vector<const Model*> seen;
  std::vector<const Model*> uses;
  for (const Slot& slot : slots)
    if (slot.model)
      countUses(slot.model, seen, uses);

  for (Slot& slot : slots) {
    if (!slot.model)
      continue;
    TovAudioProvider& provider = *slot.provider;
    require(!support::isLockHeld(provider), "every lock is free again");
    require(slot.listener->lockWasFree(), "no notification comes with the lock held");
    const auto held = std::count(uses.begin(), uses.end(), slot.model.get());
    const auto listened = std::count_if(
        slots.begin(), slots.end(), [&](const Slot& other) { return other.model == slot.model; });
    require(support::referenceCount(provider) == held + listened,
            "a provider is held by whom it should be");
    if (slot.model->kind != Model::Mixer)
      continue;
    const TovAudioMixer& mixer = dynamic_cast<TovAudioMixer&>(provider);
    require(mixer.getNumTracks() == static_cast<int>(slot.model->inputs.size()),
            "a mixer has the tracks that it was given");
    for (int i = 0; i < mixer.getNumTracks(); ++i) {
      const Model& input = *slot.model->inputs[static_cast<std::size_t>(i)];
      require(!input.provider || mixer.getTrack(i)->getProvider() == input.provider,
              "in their order");
      require(mixer.getTrack(i)->getProvider() != nullptr, "each with its provider");
    }
  }
}

// --- Operations -------------------------------------------------------------

GraphMachine::Slot* GraphMachine::slotOf(Model::Kind kind)
{
  Slot& slot = anySlot();
  return slot.model && slot.model->kind == kind ? &slot : nullptr;
}

void GraphMachine::put(Slot& slot, TovAudioProvider* provider, std::shared_ptr<Model> model)
{
  model->provider = provider;
  slot.listener.reset();
  slot.provider = support::Owned<TovAudioProvider>(provider);
  slot.model = std::move(model);
  slot.listener = std::make_unique<support::Listener>(*provider);
}

void GraphMachine::step()
{
  const int operation = static_cast<int>(program.u8()) % kOperations;
  Slot& slot = anySlot();
  const auto isA = [&](Model::Kind kind) { return slot.model && slot.model->kind == kind; };
  switch (operation) {
  case 0: {
    TovAudioFile* const file = new TovAudioFile;
    file->initialize(anyFile(program).c_str());
    put(slot, file, std::make_shared<Model>(Model{Model::File}));
    break;
  }
  case 1: {
    TovAudioResampler* const resampler = new TovAudioResampler(nullptr);
    resampler->setSourceRate(200 * program.below(220));
    put(slot, resampler, std::make_shared<Model>(Model{Model::Resampler}));
    break;
  }
  case 2:
    put(slot, new TovAudioMixer, std::make_shared<Model>(Model{Model::Mixer}));
    break;
  case 3:
  case 4:
    if (isA(Model::Mixer))
      changeMixer(slot);
    break;
  case 5:
    if (isA(Model::Mixer))
      changeTrack(dynamic_cast<TovAudioMixer&>(*slot.provider), anySlot().provider.get());
    break;
  case 6:
    if (isA(Model::File))
      changeFile(dynamic_cast<TovAudioFile&>(*slot.provider));
    break;
  case 7:
    if (isA(Model::Resampler))
      changeInput(slot);
    break;
  case 8:
    if (slot.model)
      copy(slot, anySlot());
    break;
  case 9:
    if (slot.model) {
      require(slot.provider->activate(anyContext(program)) <= 3, "the status of activating");
      require(slot.provider->deactivate() == 0, "the status of deactivating");
    }
    break;
  case 10:
    if (isA(Model::Mixer))
      reload(slot);
    break;
  case 11:
    soloOverridesMute.set(program.flag() ? "1" : "0");
    break;
  case 12:
    slot = Slot();
    break;
  default:
    if (slot.model)
      render(slot);
  }
  check();
}

void GraphMachine::changeMixer(Slot& slot)
{
  TovAudioMixer& mixer = dynamic_cast<TovAudioMixer&>(*slot.provider);
  std::vector<std::shared_ptr<Model>>& inputs = slot.model->inputs;
  slot.listener->take();
  const unsigned int kind = program.u8() % 8;
  Slot& other = anySlot();
  int expected = 0;
  if (kind < 4 && other.model) {
    const bool isCircle = reaches(*other.model, slot.model.get());
    if (!isCircle && !hasRoomFor(slot, other))
      return;
    expected = isCircle ? 4 : 0;
    if (!isCircle)
      inputs.push_back(other.model);
    require(mixer.addProvider(other.provider.get()) == expected, "the status of adding");
  } else if (kind == 4) {
    const auto found = std::find(inputs.begin(), inputs.end(), other.model);
    expected = found == inputs.end() ? 1 : 0;
    if (found != inputs.end())
      inputs.erase(found);
    require(mixer.removeProvider(other.provider.get()) == expected, "the status of removing");
    expected = 0;
  } else if (kind == 5) {
    inputs.clear();
    mixer.clear();
  } else if (kind == 6) {
    mixer.setMasterGain(program.factor());
    require(!(mixer.getMasterGain() < 0.0f) && !(mixer.getMasterGain() > 8.0f),
            "the master gain lies in its range, or is no number");
  } else if (kind == 7) {
    require(mixer.slideAll(program.seconds()) == 0, "the status of sliding");
  } else {
    require(mixer.addProvider(nullptr) == 4, "nothing cannot be added");
    expected = 4;
  }
  require(expected == 4 || slot.listener->take() > 0, "a change is told");
}

void GraphMachine::changeTrack(TovAudioMixer& mixer, TovAudioProvider* provider)
{
  const bool hasTrack = mixer.getTrack(provider) != nullptr;
  const auto isKept = [&](double kept, double given) {
    const double wanted = hasTrack ? given : 0.0;
    return kept == wanted || (std::isnan(kept) && std::isnan(wanted));
  };
  const bool given = program.flag();
  const unsigned int kind = program.u8() % 8;
  const float factor = kind < 3 ? program.factor() : 0.0f;
  const double time = kind >= 5 ? program.seconds() : 0.0;
  switch (kind) {
  case 0:
    mixer.setGain(provider, factor);
    require(isKept(mixer.getGain(provider), std::clamp(factor, 0.0f, 8.0f)) || !hasTrack,
            "the gain");
    break;
  case 1:
    mixer.setPan(provider, factor);
    require(isKept(mixer.getPan(provider), std::clamp(factor, -1.0f, 1.0f)), "the place");
    break;
  case 2:
    mixer.setWide(provider, factor);
    require(isKept(mixer.getWide(provider), std::clamp(factor, -1.0f, 1.0f)) || !hasTrack,
            "the width");
    break;
  case 3:
    mixer.setMute(provider, given);
    require(mixer.getMute(provider) == (hasTrack && given), "the mute");
    break;
  case 4:
    mixer.setSolo(provider, given);
    require(mixer.getSolo(provider) == (hasTrack && given), "the solo");
    require(mixer.isSoloOn() || !(hasTrack && given), "which the mixer knows");
    break;
  case 5:
    mixer.setStartTime(provider, time);
    require(isKept(mixer.getStartTime(provider), time), "the start");
    break;
  case 6:
    mixer.setEndTime(provider, time);
    require(isKept(mixer.getEndTime(provider), time), "the end");
    break;
  default:
    mixer.setTimeShift(provider, time);
    require(isKept(mixer.getTimeShift(provider), time), "the shift");
  }
  require(hasTrack || !mixer.isTrackHeard(mixer.getTrack(provider)), "no track is not heard");
}

void GraphMachine::changeFile(TovAudioFile& file)
{
  switch (program.u8() % 8) {
  case 0: {
    const double time = program.seconds();
    file.setSrcIn(time);
    require(file.getSrcIn() == time || std::isnan(time), "the start of what is used");
    break;
  }
  case 1: {
    const double time = program.seconds();
    file.setSrcOut(time);
    require(file.getSrcOut() == time || std::isnan(time), "the end of what is used");
    break;
  }
  case 2: {
    const int rate = static_cast<int>(anyRate(program));
    const int before = file.getPlaybackRate();
    require(file.setPlaybackRate(rate) == (rate > 0 ? 0 : 4), "the status of setting a rate");
    require(file.getPlaybackRate() == (rate > 0 ? std::clamp(rate, 200, 192000) : before),
            "the rate");
    break;
  }
  case 3:
    file.setFileName(anyFile(program).c_str());
    break;
  case 4:
    file.setFileName(nullptr);
    break;
  case 5:
    file.refresh();
    break;
  case 6:
    file.initialize(anyFile(program).c_str());
    break;
  default: {
    const std::string name = anyFile(program);
    const std::uint32_t rate = anyRate(program);
    const Bytes blob = support::fileBlob({name, rate, program.seconds(), program.seconds()});
    const support::ExactBlock block(blob.data());
    require(file.deserializeBounded(block.data(), block.size(), false) ==
                static_cast<int>(block.size()),
            "a blob is read whole");
    require(support::serialized(file) == blob.data() || name.empty(), "and written the same");
  }
  }
}

void GraphMachine::changeInput(Slot& slot)
{
  TovAudioResampler& resampler = dynamic_cast<TovAudioResampler&>(*slot.provider);
  if (program.flag()) {
    resampler.setSourceRate(static_cast<int>(program.u32() >> program.u8() % 32));
    return;
  }
  Slot& other = anySlot();
  const bool isCircle = other.model && reaches(*other.model, slot.model.get());
  if (other.model && !isCircle && !hasRoomFor(slot, other))
    return;
  resampler.setInputProvider(other.provider.get());
  if (!isCircle)
    slot.model->inputs.clear();
  if (!isCircle && other.model)
    slot.model->inputs.push_back(other.model);
}

void GraphMachine::copy(Slot& from, Slot& to)
{
  TovAudioProvider* const clone = from.provider->clone();
  require(support::referenceCount(*clone) == 1, "a clone is its maker's");
  if (isOfFiles(*from.model, kMostWaysDown))
    require(support::serialized(*clone) == support::serialized(*from.provider),
            "a clone has the same settings");
  put(to, clone, copied(*from.model));
}

/** Writes a mixer's settings and reads them into another. */
void GraphMachine::reload(Slot& slot)
{
  const std::vector<std::uint8_t> blob = support::serialized(*slot.provider);
  const support::ExactBlock block(blob);
  const auto mixer = support::make<TovAudioMixer>();
  int loads = 0;
  mixer->setDeserializeCallback([](void* count) { ++*static_cast<int*>(count); }, &loads);
  const int consumed = mixer->deserializeBounded(block.data(), block.size(), program.flag());
  require(loads == 1, "a load is told once");
  require(consumed >= 0 && consumed <= static_cast<int>(blob.size()),
          "no more is read than is there");
  if (isOfFiles(*slot.model, 1))
    require(consumed == static_cast<int>(blob.size()) &&
                mixer->getNumTracks() == static_cast<int>(slot.model->inputs.size()),
            "a mixer of files is read whole");
}

void GraphMachine::render(Slot& slot)
{
  const TovAudioContext context = anyContext(program);
  const double t0 = program.seconds();
  const unsigned int shape = program.u8();
  const double t1 = shape < 200 ? t0 + program.u16() % 4200 / 48000.0 : program.seconds();
  TovAudioProvider& provider = *slot.provider;
  const long long frames = std::max(provider.getNumSampleFrames(context, t0, t1), 0LL);
  if (frames > kMostFrames && frames <= kMostRequestFrames)
    return;

  const int channels = shape % 16 < 12 ? 2 : static_cast<int>(shape % 4);
  std::vector<int> map;
  for (int i = shape % 32 == 31 ? 1 : 0; i < channels; ++i)
    map.push_back(program.s8());
  const bool isTooLong = frames > kMostFrames;
  const auto request = [&](support::Buffers& buffers) {
    TovNLPArray<float> outputs(buffers.pointers());
    if (shape % 64 == 61)
      outputs.set(1, nullptr);
    const int status = provider.getAudio(outputs, support::channelMap(map), context, t0, t1);
    require(status >= 0 && status <= 5, "the status is one of the known");
    require(buffers.guardsIntact(), "nothing is written outside the buffers");
    require((status != 5 && status != 4) || buffers.untouched(),
            "without sound nothing is written");
    require(!isTooLong || (status != 0 && buffers.untouched()), "too long a request is refused");
    return status;
  };
  support::Buffers first(channels, isTooLong ? 0 : frames);
  support::Buffers again(channels, isTooLong ? 0 : frames);
  require(request(first) == request(again), "the same request has the same answer");
  for (int i = 0; i < channels; ++i)
    require(support::bits(first.samples(i)) == support::bits(again.samples(i)),
            "and gives the same sound");
}

} // namespace fuzz
