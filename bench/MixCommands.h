#pragma once

#include <string>
#include <vector>

/** A program and its arguments. */
typedef std::vector<std::string> Command;

constexpr int kMixRate = 48000;

/** What the names of files end in that are not at kMixRate. */
constexpr const char* kOtherRateSuffix = "-44.wav";

// Each mixes files into one stereo WAV file of 16 bits at kMixRate.

Command tovMix(const std::string& tov, const std::vector<std::string>& files,
               const std::string& output);

/** What SoX does with the level of its inputs: divides it by their number,
 *  unless it is told, or leaves it, as ours does. */
enum class SoxLevel { divided, kept };

/** A file whose name ends in #kOtherRateSuffix comes through a SoX of its own:
 *  its -m wants one rate. */
Command soxMix(const std::vector<std::string>& files, const std::string& output, SoxLevel level);

Command ffmpegMix(const std::vector<std::string>& files, const std::string& output);
