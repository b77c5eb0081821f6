#pragma once

#include <cstdint>
#include <vector>

namespace reference {

// Bytes that one sample of one channel occupies; 0 for a code outside 0..9.
int bytesPerSample(int encoding);

// One vector of `frames` floats per entry of channelMap. Entries outside
// 0..channels-1 are taken as the nearest valid channel. A code outside 0..9, or
// a block without channels, delivers nothing: every vector stays empty.
// Throws std::out_of_range when the block is shorter than `frames` frames.
std::vector<std::vector<float>> decode(const std::vector<std::uint8_t>& block, int encoding,
                                       bool bigEndian, int channels,
                                       const std::vector<int>& channelMap, long long frames);

// Interleaved bytes; input i becomes channel i of inputs.size() channels. A code
// outside 0..9 delivers no bytes. Throws std::out_of_range when an input holds
// fewer than `frames` samples.
std::vector<std::uint8_t> encode(const std::vector<std::vector<float>>& inputs, int encoding,
                                 bool bigEndian, long long frames);

} // namespace reference
