#include "fuzz/ReaderCheck.h"

#include <algorithm>
#include <climits>
namespace fuzz {

namespace {

constexpr int kMostOutputs = 5;
constexpr long long kMostFrames = 8192;

/** Frames, mostly few: what is longer than a pass through a reader's buffer
 *  costs time. */
long long frames(Input& input)
{
  constexpr long long kEdges[] = {LLONG_MIN, -1, LLONG_MAX, LLONG_MAX / 2, 1LL << 31, 1LL << 33};
  constexpr unsigned int kLong = 0xe0;
  const unsigned int kind = input.u8();
  const unsigned int low = input.u8();
  if (kind == 0xff)
    return kEdges[low % 6];
  return kind < kLong ? low : (kind - kLong) * 256 + low % 256;
}

} // namespace

ReadCall::ReadCall(Input& input) : outputs(0), absent(0), start(0), count(0)
{
  const unsigned int shape = input.u8();
  outputs = static_cast<int>(shape % kMostOutputs);
  const int entries = shape >= 240 ? outputs + 1 : outputs;
  absent = input.u8();
  absent = absent >= 192 ? absent : 0;
  for (int i = 0; i < entries; ++i)
    map.push_back(input.s8());
  start = frames(input);
  count = frames(input);
}

/** Whether the last byte asked for has a position in 64 bits. */
bool ReaderCheck::canHaveAddresses(const ReadCall& call) const
{
  const long long frameBytes =
      static_cast<long long>(found.format.bytesPerSample) * found.format.channels;
  const long long frames = (LLONG_MAX - std::max(found.offset, 0LL)) / frameBytes;
  return call.start >= 0 && call.start <= frames && call.count <= frames - call.start;
}

long long ReaderCheck::framesThere(const ReadCall& call) const
{
  const long long frameBytes =
      static_cast<long long>(found.format.bytesPerSample) * found.format.channels;
  const long long position = found.offset + call.start * frameBytes;
  const long long left = static_cast<long long>(file.size()) - position;
  return position < 0 ? 0 : std::clamp(left / frameBytes, 0LL, call.count);
}

int ReaderCheck::expectedStatus(const ReadCall& call) const
{
  if (!found.isOpen)
    return 1;
  if (call.outputs == 0 || static_cast<std::size_t>(call.outputs) != call.map.size())
    return 2;
  if (found.format.state != FormatValid)
    return 3;
  if (call.count <= 0)
    return 0;
  return !canHaveAddresses(call) || framesThere(call) < call.count ? cutShort : 0;
}

void ReaderCheck::read(TovAudioReader& reader, const ReadCall& call) const
{
  const long long room = std::clamp(call.count, 0LL, kMostFrames);
  support::Buffers buffers(call.outputs, room);
  TovNLPArray<float> outputs(buffers.pointers());
  const auto isAbsent = [&](int i) { return (call.absent >> i & 1) != 0; };
  for (int i = 0; i < call.outputs; ++i)
    if (isAbsent(i))
      outputs.set(i, nullptr);

  const int expected = expectedStatus(call);
  const bool isFirst = call.map == std::vector<int>{0} && call.outputs == 1;
  const int status =
      isFirst ? reader.readChannel(outputs[0], 7, call.start, call.count)
              : reader.readChannels(outputs, support::channelMap(call.map), call.start, call.count);
  require(status == expected, "the status of reading");
  require(buffers.guardsIntact(), "nothing is written outside the buffers");

  const bool isDelivered = (expected == 0 || expected == cutShort) && call.count > 0 &&
                           found.isOpen && found.format.state == FormatValid && call.outputs > 0 &&
                           canHaveAddresses(call) && !isAbsent(0);
  const long long delivered = isDelivered ? framesThere(call) : 0;
  std::vector<std::vector<float>> samples(call.map.size());
  if (delivered > 0) {
    const TovAudioIOFormat& format = found.format;
    const long long first =
        found.offset + call.start * static_cast<long long>(format.bytesPerSample) * format.channels;
    samples = reference::decode({file.begin() + first, file.end()},
                                static_cast<int>(format.encoding), format.bigEndian != 0,
                                static_cast<int>(format.channels), call.map, delivered);
  }
  for (int i = 0; i < call.outputs; ++i) {
    std::vector<float> wanted(static_cast<std::size_t>(room), support::Buffers::kUntouched);
    if (delivered > 0 && !isAbsent(i))
      std::copy(samples[static_cast<std::size_t>(i)].begin(),
                samples[static_cast<std::size_t>(i)].end(), wanted.begin());
    require(support::bits(buffers.samples(i)) == support::bits(wanted),
            "the samples are those of the file, and no more");
  }
}

void seedCalls(const SeedTaker& take, const std::string& name, const support::Bytes& file)
{
  using support::Bytes;
  take(name + "_whole", Bytes().u8(1).u8(2).u8(0).u8(0).u8(1).u16be(0).u16be(64).append(file));
  take(name + "_end", Bytes().u8(1).u8(1).u8(0).u8(0).u16be(3).u16be(0xefa0).append(file));
  take(name + "_edges", Bytes()
                            .u8(5)
                            .u8(0)
                            .u8(0)
                            .u16be(0)
                            .u16be(1)
                            .u8(241)
                            .u8(0)
                            .u8(0)
                            .u8(1)
                            .u8(0)
                            .u16be(0)
                            .u16be(1)
                            .u8(2)
                            .u8(193)
                            .u8(0xff)
                            .u8(9)
                            .u16be(1)
                            .u16be(2)
                            .u8(2)
                            .u8(194)
                            .u8(0)
                            .u8(0)
                            .u16be(1)
                            .u16be(2)
                            .u8(1)
                            .u8(0)
                            .u8(0)
                            .u16be(0xff02)
                            .u16be(0xff01)
                            .append(file));
}

} // namespace fuzz
