// A host that brings every host core service: files in memory, names that are
// never freed, locks and a thread of the standard library, settings in a table,
// text as hexadecimal digits.  A sound is written, read, mixed, saved and loaded
// through them alone.
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/TovBuffer.h"
#include "core/TovCompressor.h"
#include "core/TovFile.h"
#include "core/TovGlobals.h"
#include "core/TovLock.h"
#include "core/TovScript.h"
#include "core/TovSys.h"
#include "core/TovThread.h"
#include "core/TovVArray.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "io/TovAudioTranslator.h"
#include "io/TovAudioWriter.h"
#include "playback/TovAudioFIFO.h"

namespace {

// What the library loads before main() asks for names and settings, so these
// are made by whoever comes first, and never destroyed.
template <typename Value>
Value& lasting()
{
  static Value* const value = new Value;
  return *value;
}

std::string formatted(const char* format, std::va_list arguments)
{
  std::array<char, 65536> text;
  std::vsnprintf(text.data(), text.size(), format, arguments);
  return text.data();
}

using Files = std::map<std::string, std::string>;
struct OpenFile {
  std::string* contents = nullptr;
  std::size_t position = 0;
};
using OpenFiles = std::map<int, OpenFile>;
OpenFile& openFile(int descriptor)
{
  return lasting<OpenFiles>()[descriptor];
}

std::string messages;
std::atomic<int> locksTaken = 0;
std::atomic<int> threads = 0;

} // namespace

// --- Messages, sleep and comparison -----------------------------------------

void TovSys::error(const char* format, ...)
{
  const bool hasSeverity = format[0] == '%' && (format[1] == 'E' || format[1] == 'W');
  std::va_list arguments;
  va_start(arguments, format);
  messages += formatted(format + (hasSeverity ? 2 : 0), arguments);
  va_end(arguments);
}
void TovSys::setMessageHandler(MessageHandler, void*) {}
void TovSys::sleep(double seconds)
{
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}
int TovSys::strcasecmp(const char* a, const char* b)
{
  const auto small = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  for (; *a && small(*a) == small(*b); ++a)
    ++b;
  return small(*a) - small(*b);
}

// --- Names: a set of texts that only grows ----------------------------------

struct TovName::Entry {
  std::string text;
  bool operator<(const Entry& other) const { return text < other.text; }
};

constinit const TovName TovName::nullName;

TovName::TovName(const TovName& other) noexcept : entry(other.entry) {}
TovName& TovName::operator=(const TovName& other) noexcept
{
  entry = other.entry;
  return *this;
}
TovName::~TovName() {}
TovName TovName::getString(const char* text)
{
  return text ? getString(text, std::strlen(text)) : TovName();
}
TovName TovName::getString(const char* text, unsigned long length)
{
  static std::mutex* const mutex = new std::mutex;
  const std::lock_guard<std::mutex> guard(*mutex);
  if (length == 0)
    return TovName();
  const Entry& entry = *lasting<std::set<Entry>>().insert({std::string(text, length)}).first;
  return TovName(const_cast<Entry*>(&entry));
}
TovName TovName::getString(int number)
{
  return getString(std::to_string(number).c_str());
}
TovName TovName::sprintf(const char* format, ...)
{
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = formatted(format, arguments);
  va_end(arguments);
  return getString(text.c_str());
}
const char* TovName::c_str() const
{
  return entry ? entry->text.c_str() : "";
}
unsigned long TovName::getLength() const
{
  return entry ? entry->text.size() : 0;
}
TovName& TovName::operator+=(const TovName& tail)
{
  return *this = getString((std::string(c_str()) + tail.c_str()).c_str());
}
TovName TovName::addSep(const TovName& tail, char separator) const
{
  const bool isEither = !entry || !tail.entry;
  return getString((c_str() + std::string(isEither ? 0 : 1, separator) + tail.c_str()).c_str());
}
TovName TovName::suffix(int parts, char separator) const
{
  std::string text(c_str());
  std::size_t begin = text.size() + 1;
  for (int i = 0; i < parts && begin > 0; ++i)
    begin = begin < 2 ? 0 : text.rfind(separator, begin - 2) + 1;
  return begin == 0 ? TovName() : getString(text.substr(begin).c_str());
}

// --- Files in memory --------------------------------------------------------

TovFile::TovFile() noexcept : descriptor(-1) {}
TovFile::~TovFile()
{
  close();
}
int TovFile::open(const char* path, const char* mode)
{
  close();
  Files& files = lasting<Files>();
  if (mode[0] == 'r' && files.count(path) == 0)
    return -1;
  static int opened = 0;
  descriptor = opened++;
  openFile(descriptor) = {&files[path], 0};
  if (mode[0] == 'w')
    files[path].clear();
  return 0;
}
unsigned long TovFile::read(void* buffer, unsigned long bytes)
{
  OpenFile& file = openFile(descriptor);
  if (!file.contents || file.position >= file.contents->size())
    return 0;
  const std::size_t count = file.contents->copy(static_cast<char*>(buffer), bytes, file.position);
  file.position += count;
  return count;
}
unsigned long TovFile::write(const void* buffer, unsigned long bytes)
{
  OpenFile& file = openFile(descriptor);
  if (!file.contents)
    return 0;
  if (file.contents->size() < file.position + bytes)
    file.contents->resize(file.position + bytes);
  std::memcpy(file.contents->data() + file.position, buffer, bytes);
  file.position += bytes;
  return bytes;
}
int TovFile::printf(const char* format, ...)
{
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = formatted(format, arguments);
  va_end(arguments);
  return static_cast<int>(write(text.data(), text.size()));
}
int TovFile::seek(long long offset, int)
{
  openFile(descriptor).position = static_cast<std::size_t>(offset);
  return 1;
}
long long TovFile::tell()
{
  return static_cast<long long>(openFile(descriptor).position);
}
int TovFile::close()
{
  lasting<OpenFiles>().erase(descriptor);
  descriptor = -1;
  return 0;
}
TovName TovFile::replaceEnvVars(const TovName& text)
{
  return text;
}
void TovFile::uncFileName(char* out, const char* in)
{
  std::snprintf(out, kMaxPath, "memory:%s", in);
}

// --- Locks and threads ------------------------------------------------------

void TovLock::acquire(unsigned int& word)
{
  while (!attempt(word))
    std::this_thread::yield();
}
int TovLock::attempt(unsigned int& word)
{
  const bool wasTaken = std::atomic_ref(word).exchange(1, std::memory_order_acquire) == 0;
  locksTaken += wasTaken ? 1 : 0;
  return wasTaken ? 1 : 0;
}
void TovLock::release(unsigned int& word)
{
  std::atomic_ref(word).store(0, std::memory_order_release);
}
void TovLock::acquireNice(unsigned int& word, double)
{
  acquire(word);
}

struct TovThread::Handle {
  std::thread thread;
};
TovThread::TovThread() : handle(new Handle) {}
TovThread::~TovThread()
{
  delete handle;
}
TovThread* TovThread::t_create(void (*function)(TovThread*, void*), void* argument)
{
  ++threads;
  TovThread* const thread = new TovThread;
  thread->handle->thread = std::thread(function, thread, argument);
  return thread;
}
void TovThread::t_join(TovThread* thread)
{
  if (thread)
    thread->handle->thread.join();
  delete thread;
}

// --- Settings ---------------------------------------------------------------

TovPlug::TovPlug() noexcept : intValue(0), floatValue(0.0f), isSetByHost(false) {}
int TovPlug::asInt() const
{
  return intValue;
}
float TovPlug::asFloat() const
{
  return floatValue;
}
void TovPlug::set(const char* value)
{
  isSetByHost = true;
  store(value);
}
void TovPlug::setDefault(const char* value)
{
  if (!isSetByHost)
    store(value);
}
void TovPlug::store(const char* value)
{
  intValue = value ? std::atoi(value) : 0;
  floatValue = value ? static_cast<float>(std::atof(value)) : 0.0f;
}
TovPlug* TovGlobals::def(const TovName& name, const char* value, TovId type)
{
  TovPlug* const plug = ref(name, type, 1);
  plug->setDefault(value);
  return plug;
}
TovPlug* TovGlobals::def(const TovName& name, const TovName& value, TovId type)
{
  return def(name, value.c_str(), type);
}
TovPlug* TovGlobals::ref(const TovName& name, TovId, int)
{
  return &lasting<std::map<std::string, TovPlug>>()[name.c_str()];
}

// --- Bytes, text and the script ---------------------------------------------

TovBuffer::TovBuffer() noexcept : data(nullptr), size(0) {}
TovBuffer::~TovBuffer()
{
  delete[] data;
}
void TovBuffer::allocate(unsigned long bytes)
{
  delete[] data;
  data = bytes ? new unsigned char[bytes]() : nullptr;
  size = bytes;
}
int TovCompressor::compressBuffer(TovBuffer& buffer, int length)
{
  std::string text;
  for (int i = 0; i < length; ++i) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", buffer.getData()[i]);
    text += digits;
  }
  buffer.allocate(text.size() + 1);
  std::memcpy(buffer.getData(), text.c_str(), text.size() + 1);
  return 0;
}
int TovCompressor::decompressString(const char* text, TovBuffer& out)
{
  const std::string digits(text);
  out.allocate(digits.size() / 2);
  for (unsigned long i = 0; i < out.getSize(); ++i)
    out.getData()[i] =
        static_cast<unsigned char>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
  return 0;
}

namespace {

std::string kept(const char* text)
{
  return text ? text : "";
}

void (*loadHook)(const char*) = nullptr;
TovString (*toStringHook)() = nullptr;

} // namespace

TovString::TovString(const char* contents) : text(::strdup(kept(contents).c_str())) {}
TovString::TovString(const TovString& other) : TovString(other.text) {}
TovString& TovString::operator=(const TovString& other)
{
  char* const old = text;
  text = ::strdup(other.text);
  std::free(old);
  return *this;
}
TovString::~TovString()
{
  std::free(text);
}
const char* TovString::c_str() const
{
  return text;
}

const char* const TovScript::_audioLoadCmd = "Sound";
void TovScript::setAudioCallbacks(void (*)(TovFile*), void (*load)(const char*),
                                  TovString (*toString)())
{
  loadHook = load;
  toStringHook = toString;
}
int TovScript::saveAudio(TovFile*)
{
  return 1;
}
int TovScript::runAudio(const char*)
{
  return 1;
}
TovString TovScript::audioToString()
{
  return toStringHook();
}

// --- Arrays of pointers -----------------------------------------------------

struct TovVArray::Store {
  std::vector<void*> elements;
};
constinit const TovVArray TovVArray::null;
TovVArray::TovVArray(const TovVArray& other)
    : store(other.store ? new Store(*other.store) : nullptr)
{
}
TovVArray& TovVArray::operator=(const TovVArray& other)
{
  Store* const copy = other.store ? new Store(*other.store) : nullptr;
  delete store;
  store = copy;
  return *this;
}
TovVArray::~TovVArray()
{
  delete store;
}
unsigned long TovVArray::getCount() const
{
  return store ? store->elements.size() : 0;
}
void* TovVArray::getElement(unsigned long index) const
{
  return index < getCount() ? store->elements[index] : nullptr;
}
void TovVArray::append(void* element)
{
  if (!store)
    store = new Store;
  store->elements.push_back(element);
}
void TovVArray::removeByIndex(unsigned long index)
{
  if (index < getCount())
    store->elements.erase(store->elements.begin() + static_cast<std::ptrdiff_t>(index));
}
void TovVArray::clear()
{
  delete store;
  store = nullptr;
}

// --- The host ---------------------------------------------------------------

namespace {

int failures = 0;

void check(bool holds, const char* what)
{
  if (!holds)
    std::printf("wrong: %s\n", what);
  failures += holds ? 0 : 1;
}

TovNLArray<int> stereo()
{
  TovNLArray<int> channels;
  channels.append(0);
  channels.append(1);
  return channels;
}

void writeVoice()
{
  std::vector<float> samples(44100, 0.25f);
  TovNLPArray<float> input;
  input.append(samples.data());
  TovAudioIOFormat format{};
  format.bytesPerSample = 2;
  format.sampleRate = 44100;
  format.channels = 1;
  TovAudioTranslator* const wav = TovAudioTranslator::findWriter(TovName::getString("a.WAV"), 1);
  TovAudioWriter* const writer = wav->createWriter();
  check(writer->initialize("memory:voice.wav", format) == 0, "the file is started");
  check(writer->writeChannels(input, 0, 44100) == 0, "the file is written");
  writer->close();
  delete writer;
  check(lasting<Files>()["memory:voice.wav"].size() == 44 + 2 * 44100, "the file is in memory");
}

float sampleAt(TovAudioMixer& mixer, double time)
{
  std::array<float, 64> left{}, right{};
  TovNLPArray<float> buffers;
  buffers.append(left.data());
  buffers.append(right.data());
  const TovAudioContext context(44100, 0, 25.0, 0.0);
  mixer.activate(context);
  check(mixer.getAudio(buffers, stereo(), context, time, time + 64.0 / 44100) == 0, "it is mixed");
  mixer.deactivate();
  return left[32];
}

/** Renders ahead on a thread of the host's. */
float renderedAhead(TovAudioMixer& mixer)
{
  TovAudioFIFO fifo(&mixer);
  fifo.addBlock(TovAudioContext(44100, 0, 25.0, 0.0), 0.5, 0.8, false);
  std::array<float, 64> left{}, right{};
  TovNLPArray<float> buffers;
  buffers.append(left.data());
  buffers.append(right.data());
  for (int attempt = 0; attempt < 5000 && left[32] == 0.0f; ++attempt) {
    TovSys::sleep(0.001); // the feeder thread may be late
    fifo.fillAudioBuffers(buffers, 64);
  }
  return left[32];
}

} // namespace

int main()
{
  writeVoice();
  TovGlobals::ref(TovName::getString("script.framesPerSecond"), kTovIdFloat, 1)->set("25");
  TovAudioMixer* const mixer = TovAudioMixer::getMasterMixer();
  TovAudioFile* const file = new TovAudioFile;
  check(file->initialize("voice.wav") == 0, "the file is opened");
  mixer->addProvider(file);
  check(mixer->getStartTime(file) == 1.0 / 25.0, "the host's frame rate counts");
  mixer->setEndTime(file, 0.0);
  mixer->setGain(file, 0.5f);
  file->dereference();
  check(std::fabs(sampleAt(*mixer, 0.5) - 0.125f) < 1e-6f, "the file is heard");
  check(std::fabs(renderedAhead(*mixer) - 0.125f) < 1e-6f, "the file is heard ahead");
  check(threads == 1, "the thread is the host's");
  check(locksTaken > 10, "the locks are the host's");

  const std::string line = TovScript::audioToString().c_str();
  check(line.rfind("Sound(\"414d5852", 0) == 0, "the settings are in the host's text");
  loadHook(nullptr);
  check(mixer->getNumTracks() == 0, "nothing is loaded");
  loadHook(line.substr(7, line.size() - 7 - 4).c_str());
  check(mixer->getNumTracks() == 1, "the settings are loaded");
  check(std::fabs(sampleAt(*mixer, 0.5) - 0.125f) < 1e-6f, "the loaded file is heard");

  TovAudioFile* const missing = new TovAudioFile;
  check(missing->initialize("none.wav") == 3, "a file that is not there is refused");
  check(messages == "TovAudioFile: Could not read \"memory:none.wav\"\n",
        "the message is the host's");
  missing->dereference();
  mixer->clear();
  mixer->dereference();
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
