#include "io/TovAiffTranslator.h"
#include "io/TovWavTranslator.h"

// The registry and its two built-in members stand together, so that whoever
// asks the registry, also in a static link, finds them in it.

constinit TovPArray<TovAudioTranslator>* TovAudioTranslator::_translators = nullptr;
constinit TovName* TovAudioTranslator::_readableFormats = nullptr;
constinit TovName* TovAudioTranslator::_writableFormats = nullptr;

extern "C" {
/** Named by the static library's link options, see cmake/TovTarget.cmake. */
extern const char tovBuiltinTranslators;
const char tovBuiltinTranslators = 0;
}

namespace {

// AIFF first: the registry is searched from its end, so that WAV is asked
// before AIFF, which decides who gets a file without a known suffix.  Never
// destroyed: a feeder thread may still look for readers while the process
// exits.
[[maybe_unused]] const TovAiffTranslator* const aiffTranslator = new TovAiffTranslator;
[[maybe_unused]] const TovWavTranslator* const wavTranslator = new TovWavTranslator;

} // namespace
