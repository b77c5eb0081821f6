// A host that brings its own messages, files and settings: the library must
// call these, and everything else stays the default.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/TovFile.h"
#include "core/TovGlobals.h"
#include "core/TovSys.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"

namespace {

std::string messages;
int opens = 0;

} // namespace

// --- Messages -------------------------------------------------------------

void TovSys::error(const char* format, ...)
{
  char text[1024];
  const bool hasSeverity = format[0] == '%' && (format[1] == 'E' || format[1] == 'W');
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, hasSeverity ? format + 2 : format, arguments);
  va_end(arguments);
  messages += text;
}

void TovSys::setMessageHandler(MessageHandler, void*) {}
void TovSys::sleep(double) {}

int TovSys::strcasecmp(const char* a, const char* b)
{
  return std::strcmp(a, b);
}

// --- Files: there are none ------------------------------------------------

TovFile::TovFile() noexcept : descriptor(-1) {}
TovFile::~TovFile() {}
int TovFile::open(const char*, const char*)
{
  ++opens;
  return -1;
}
unsigned long TovFile::read(void*, unsigned long) { return 0; }
unsigned long TovFile::write(const void*, unsigned long) { return 0; }
int TovFile::printf(const char*, ...) { return 0; }
int TovFile::seek(long long, int) { return 0; }
long long TovFile::tell() { return 0; }
int TovFile::close() { return 0; }
TovName TovFile::replaceEnvVars(const TovName& text) { return text; }
void TovFile::uncFileName(char* out, const char* in)
{
  std::snprintf(out, kMaxPath, "/host/%s", in);
}

// --- Settings: 25 frames a second, whatever is asked ------------------------

TovPlug* TovGlobals::def(const TovName&, const char*, TovId)
{
  static TovPlug* const plug = new TovPlug;
  return plug;
}
TovPlug* TovGlobals::def(const TovName& name, const TovName&, TovId type)
{
  return def(name, static_cast<const char*>(nullptr), type);
}
TovPlug* TovGlobals::ref(const TovName&, TovId, int)
{
  static TovPlug* const plug = [] {
    TovPlug* const created = new TovPlug;
    created->set("25");
    return created;
  }();
  return plug;
}

int main()
{
  TovAudioFile* const file = new TovAudioFile;
  const int status = file->initialize("voice.wav");
  TovAudioMixer* const mixer = new TovAudioMixer;
  mixer->addProvider(file);
  const double start = mixer->getStartTime(file);
  mixer->dereference();
  file->dereference();

  std::printf("status %d, %d opens, start %g, messages: %s", status, opens, start,
              messages.c_str());
  const bool isRight = status == 3 && opens == 1 && start == 1.0 / 25.0 &&
                       messages == "TovAudioFile: Could not read \"/host/voice.wav\"\n";
  return isRight ? EXIT_SUCCESS : EXIT_FAILURE;
}
