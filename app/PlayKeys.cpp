#include "app/PlayKeys.h"

#include <map>

static constexpr unsigned char kBell = 0x07;
static constexpr unsigned char kEscape = 0x1b;

static void addCharacter(char character, std::vector<Key>& keys)
{
  static const std::map<char, Key::Kind> kKinds = {
      {' ', Key::playOrPause}, {',', Key::frameLeft},   {'.', Key::frameRight},
      {'j', Key::shuttleLeft}, {'k', Key::shuttleStop}, {'l', Key::shuttleRight},
      {'[', Key::loopIn},      {']', Key::loopOut},     {'\\', Key::loopOff},
      {'m', Key::mute},        {'s', Key::solo},        {'+', Key::louder},
      {'=', Key::louder},      {'-', Key::softer},      {'f', Key::filter},
      {'?', Key::help},        {'q', Key::quit}};
  if (character >= '0' && character <= '9') {
    keys.push_back({Key::digit, character - '0'});
  } else if (const auto found = kKinds.find(character); found != kKinds.end()) {
    keys.push_back({found->second});
  }
}

/** The arrows and shift with them; another modifier makes another key. */
static void addArrow(const std::string& parameters, char last, std::vector<Key>& keys)
{
  const bool isPlain = parameters.empty() || parameters == "1" || parameters == "1;1";
  const bool isShifted = parameters == "1;2" || parameters == "2";
  if (isPlain && (last == 'C' || last == 'D')) {
    keys.push_back({last == 'C' ? Key::right : Key::left});
  } else if ((isShifted && (last == 'C' || last == 'D')) ||
             (parameters.empty() && (last == 'c' || last == 'd'))) {
    keys.push_back({last == 'C' || last == 'c' ? Key::farRight : Key::farLeft});
  }
}

std::vector<Key> KeyDecoder::take(const std::string& bytes)
{
  std::vector<Key> keys;
  for (const char byte : bytes) {
    takeByte(static_cast<unsigned char>(byte), keys);
  }
  return keys;
}

void KeyDecoder::rest(double seconds)
{
  // The bytes of one key come together; of a paste, in portions.
  constexpr double kKeySeconds = 0.1;
  constexpr double kPasteSeconds = 2.0;
  const bool isPasting = state == paste || state == pasteEscape || state == pasteSequence;
  if (seconds >= (isPasting ? kPasteSeconds : kKeySeconds)) {
    state = ground;
  }
}

void KeyDecoder::takeByte(unsigned char byte, std::vector<Key>& keys)
{
  switch (state) {
  case ground:
    if (byte == kEscape) {
      state = escape;
    } else {
      addCharacter(static_cast<char>(byte), keys);
    }
    break;
  case escape:
    takeEscaped(byte);
    break;
  case sequence:
    takeInSequence(byte, keys);
    break;
  case functionKey:
    state = ground;
    break;
  case singleShift:
    addArrow(std::string(), static_cast<char>(byte), keys);
    state = ground;
    break;
  case text:
    state = byte == kBell ? ground : byte == kEscape ? textEscape : text;
    break;
  case textEscape:
    state = byte == '\\' ? ground : byte == kEscape ? textEscape : text;
    break;
  case paste:
  case pasteEscape:
  case pasteSequence:
    takeInPaste(byte);
    break;
  }
}

void KeyDecoder::takeEscaped(unsigned char byte)
{
  parameters.clear();
  switch (byte) {
  case kEscape:
    break;
  case '[':
    state = sequence;
    break;
  case 'O':
    state = singleShift;
    break;
  case 'N':
    state = functionKey;
    break;
  case ']':
  case 'P':
  case 'X':
  case '^':
  case '_':
    state = text;
    break;
  default:
    // Characters between "!" and "/" are followed by another one.
    state = byte > ' ' && byte < '0' ? escape : ground;
    break;
  }
}

void KeyDecoder::takeInSequence(unsigned char byte, std::vector<Key>& keys)
{
  constexpr std::size_t kMostParameters = 16;
  if (byte == kEscape) {
    state = escape;
  } else if (byte == '[' && parameters.empty()) {
    state = functionKey;
  } else if (byte >= ' ' && byte < '@') {
    if (parameters.size() < kMostParameters) {
      parameters += static_cast<char>(byte);
    }
  } else {
    const bool isPaste = byte == '~' && parameters == "200";
    addArrow(parameters, static_cast<char>(byte), keys);
    parameters.clear();
    state = isPaste ? paste : ground;
  }
}

void KeyDecoder::takeInPaste(unsigned char byte)
{
  if (byte == kEscape) {
    state = pasteEscape;
  } else if (state == pasteEscape && byte == '[') {
    parameters.clear();
    state = pasteSequence;
  } else if (state == pasteSequence && byte >= '0' && byte <= '9' && parameters.size() < 3) {
    parameters += static_cast<char>(byte);
  } else {
    const bool isEnd = state == pasteSequence && byte == '~' && parameters == "201";
    state = isEnd ? ground : paste;
  }
}
