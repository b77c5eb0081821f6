#include "fuzz/ConversionCheck.h"

#include <algorithm>
#include <memory>

#include "fuzz/Input.h"
#include "pcm/TovPcm.h"
#include "tests/reference/Conversion.h"
#include "tests/support/Buffers.h"

namespace fuzz {

namespace {

using Octets = std::vector<std::uint8_t>;

/** Bytes at an address of any alignment, with nothing behind them. */
class Unaligned {
public:
  Unaligned(const Octets& bytes, std::size_t shift)
      : offset(shift), block(new std::uint8_t[bytes.size() + shift]), size(bytes.size())
  {
    std::copy(bytes.begin(), bytes.end(), block.get() + offset);
  }
  std::uint8_t* data() const { return block.get() + offset; }
  Octets contents() const { return Octets(data(), data() + size); }

private:
  std::size_t offset;
  std::unique_ptr<std::uint8_t[]> block;
  std::size_t size;
};

/** Into a first output that is null nothing goes, into any other just nothing
 *  there. */
void checkAbsentOutputs(const Octets& stored, const TovAudioIOFormat& format, long long frames)
{
  support::Buffers buffers(2, std::max(frames, 0LL));
  TovNLPArray<float> outputs(buffers.pointers());
  outputs.set(0, nullptr);
  const TovNLArray<int> map = support::channelMap({0, 0});
  require(TovPcm::toFloat(outputs, map, stored.data(), format, frames) ==
              (stored.empty() || format.state != FormatValid ? 1 : 2),
          "without a first output nothing is read");
  require(buffers.untouched(), "nor written");
  outputs.set(0, buffers.channel(0));
  outputs.set(1, nullptr);
  TovPcm::toFloat(outputs, map, stored.data(), format, frames);
  require(buffers.guardsIntact(), "nothing is written outside the buffers");
}

} // namespace

void checkDecoding(const Octets& stored, const TovAudioIOFormat& format, std::size_t shift,
                   const std::vector<int>& map, long long frames)
{
  checkAbsentOutputs(stored, format, frames);
  const Unaligned block(stored, shift);
  support::Buffers buffers(static_cast<int>(map.size()), std::max(frames, 0LL));
  const bool isFirst = map == std::vector<int>{0};
  const int status = isFirst ? TovPcm::toFloat(buffers.channel(0), block.data(), format, frames)
                             : TovPcm::toFloat(buffers.pointers(), support::channelMap(map),
                                               block.data(), format, frames);
  require(status == (map.empty() || format.state != FormatValid ? 1 : 0), "the status of reading");
  require(buffers.guardsIntact(), "nothing is written outside the buffers");
  const bool isDelivered = status == 0 && format.encoding <= EncFloat32Scaled16;
  if (!isDelivered || frames <= 0) {
    require(buffers.untouched(), "what is refused writes nothing");
    return;
  }
  const std::vector<std::vector<float>> wanted =
      reference::decode(stored, static_cast<int>(format.encoding), (format.bigEndian & 0xff) != 0,
                        static_cast<int>(format.channels), map, frames);
  for (std::size_t i = 0; i < map.size(); ++i)
    require(support::bits(buffers.samples(static_cast<int>(i))) == support::bits(wanted[i]),
            "the samples are those of the plain arithmetic");
}

void checkEncoding(const std::vector<std::vector<float>>& signal, const TovAudioIOFormat& format,
                   std::size_t shift, long long frames)
{
  const Octets wanted = reference::encode(signal, static_cast<int>(format.encoding),
                                          (format.bigEndian & 0xff) != 0, frames);
  const Unaligned block(Octets(wanted.size(), 0xa5), shift);
  TovNLPArray<float> inputs;
  TovNLArray<int> map;
  for (const std::vector<float>& channel : signal) {
    inputs.append(const_cast<float*>(channel.data()));
    map.append(-1); // only their number counts
  }
  const int status = signal.size() == 1
                         ? TovPcm::fromFloat(block.data(), inputs[0], format, frames)
                         : TovPcm::fromFloat(block.data(), map, inputs, format, frames);
  require(status == (format.state != FormatValid ? 1 : 0), "the status of writing");
  map.append(0);
  require(TovPcm::fromFloat(nullptr, map, inputs, format, frames) == (status == 0 ? 2 : 1),
          "a map of another length is refused");
  if (status == 0)
    require(block.contents() == wanted, "the bytes are those of the plain arithmetic");
}

} // namespace fuzz
