#pragma once

#include <string>
#include <vector>

namespace support {

/** What is to become of a file. */
enum class Verdict {
  Handled,       ///< facts and samples are those of libsndfile
  ScaledFloats,  ///< deliberate: 32 bits under the integer tag of WAV are floats
  Unsupported,   ///< it opens, but its sample format is not handled
  NotOpened,     ///< its header is not acceptable
  NobodysSuffix, ///< no reader goes by it, and the one that its header leads to refuses it
};

/** A file of a Debian package. */
struct DebianSound {
  std::string name; ///< below the folder of all packages
  Verdict verdict;
  std::string reason; ///< what the program says where the file is not handled
};

/** Every sound file of the packages, in the order of their names. */
inline std::vector<DebianSound> debianSounds()
{
  const std::string alsa = "alsa-utils/usr/share/sounds/alsa/";
  const std::string python = "libpython3.11-testsuite/usr/lib/python3.11/test/";
  const std::string scipy =
      "python3-scipy/usr/lib/python3/dist-packages/scipy/io/tests/data/test-";
  const std::string supercollider = "supercollider-common/usr/share/SuperCollider/sounds/";
  const std::string padByte = "holds a pad byte behind a chunk of odd size, which is not supported";
  const std::string aifc =
      "the suffix .aifc is not supported; files end in .wav, .wave, .aif, .aiff";
  const std::string rifx = "big-endian WAV (RIFX) is not supported";
  const std::string floats = "32-bit float WAV is not supported";
  using enum Verdict;
  return {
      {alsa + "Front_Center.wav", Handled, ""},
      {alsa + "Front_Left.wav", Handled, ""},
      {alsa + "Front_Right.wav", Handled, ""},
      {alsa + "Noise.wav", Handled, ""},
      {alsa + "Rear_Center.wav", Handled, ""},
      {alsa + "Rear_Left.wav", Handled, ""},
      {alsa + "Rear_Right.wav", Handled, ""},
      {alsa + "Side_Left.wav", Handled, ""},
      {alsa + "Side_Right.wav", Handled, ""},
      {python + "Sine-1000Hz-300ms.aif", Handled, ""},
      {python + "audiodata/pluck-alaw.aifc", NobodysSuffix, aifc},
      {python + "audiodata/pluck-pcm16.aiff", NotOpened, padByte},
      {python + "audiodata/pluck-pcm16.wav", Handled, ""},
      {python + "audiodata/pluck-pcm24.aiff", NotOpened, padByte},
      {python + "audiodata/pluck-pcm24.wav", Handled, ""},
      {python + "audiodata/pluck-pcm32.aiff", NotOpened, padByte},
      {python + "audiodata/pluck-pcm32.wav", ScaledFloats, ""},
      {python + "audiodata/pluck-pcm8.aiff", NotOpened, padByte},
      {python + "audiodata/pluck-pcm8.wav", Handled, ""},
      {python + "audiodata/pluck-ulaw.aifc", NobodysSuffix, aifc},
      {python + "sndhdrdata/sndhdr.aifc", NobodysSuffix, aifc},
      {python + "sndhdrdata/sndhdr.aiff", Handled, ""},
      {python + "sndhdrdata/sndhdr.wav", Handled, ""},
      {python + "test_email/data/sndhdr.aifc", NobodysSuffix, aifc},
      {python + "test_email/data/sndhdr.aiff", Handled, ""},
      {python + "test_email/data/sndhdr.wav", Handled, ""},
      {scipy + "44100Hz-2ch-32bit-float-be.wav", NotOpened, rifx},
      {scipy + "44100Hz-2ch-32bit-float-le.wav", Unsupported, floats},
      {scipy + "44100Hz-be-1ch-4bytes.wav", NotOpened, rifx},
      {scipy + "44100Hz-le-1ch-4bytes-early-eof-no-data.wav", NotOpened,
       "holds no \"data\" chunk"},
      {scipy + "44100Hz-le-1ch-4bytes-early-eof.wav", Unsupported,
       "32-bit extensible WAV is not supported"},
      {scipy + "44100Hz-le-1ch-4bytes-incomplete-chunk.wav", NotOpened, "holds no \"fmt \" chunk"},
      {scipy + "44100Hz-le-1ch-4bytes.wav", Unsupported, "32-bit extensible WAV is not supported"},
      {scipy + "48000Hz-2ch-64bit-float-le-wavex.wav", Unsupported,
       "64-bit float WAV (extensible) is not supported"},
      {scipy + "8000Hz-be-3ch-5S-24bit.wav", NotOpened, rifx},
      {scipy + "8000Hz-le-1ch-10S-20bit-extra.wav", Handled, ""},
      {scipy + "8000Hz-le-1ch-1byte-ulaw.wav", Unsupported, "mu-law WAV is not supported"},
      {scipy + "8000Hz-le-2ch-1byteu.wav", Handled, ""},
      {scipy + "8000Hz-le-3ch-5S-24bit-inconsistent.wav", Handled, ""},
      {scipy + "8000Hz-le-3ch-5S-24bit.wav", Handled, ""},
      {scipy + "8000Hz-le-3ch-5S-36bit.wav", Unsupported, "36-bit WAV is not supported"},
      {scipy + "8000Hz-le-3ch-5S-45bit.wav", Unsupported, "45-bit WAV is not supported"},
      {scipy + "8000Hz-le-3ch-5S-53bit.wav", Unsupported, "53-bit WAV is not supported"},
      {scipy + "8000Hz-le-3ch-5S-64bit.wav", Unsupported, "64-bit WAV is not supported"},
      {scipy + "8000Hz-le-4ch-9S-12bit.wav", Handled, ""},
      {scipy + "8000Hz-le-5ch-9S-5bit.wav", Handled, ""},
      {supercollider + "SinedPink.aiff", NotOpened,
       "compressed AIFF (AIFC, type \"fl32\") is not supported"},
      {supercollider + "a11wlk01-44_1.aiff", Handled, ""},
      {supercollider + "a11wlk01.wav", Handled, ""},
  };
}

/** Where a file of the packages is. */
inline std::string debianPath(const DebianSound& sound)
{
  return std::string(TOV_DEBIAN_SOUNDS "/") + sound.name;
}

} // namespace support
