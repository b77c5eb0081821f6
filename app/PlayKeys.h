#pragma once

#include <string>
#include <vector>

/** What a key press asks for. */
struct Key {
  enum Kind {
    playOrPause,
    left,
    right,
    farLeft,
    farRight,
    frameLeft,
    frameRight,
    shuttleLeft,
    shuttleStop,
    shuttleRight,
    loopIn,
    loopOut,
    loopOff,
    digit,
    mute,
    solo,
    louder,
    softer,
    filter,
    help,
    quit
  };

  Kind kind;
  int number = 0; ///< of a digit

  bool operator==(const Key&) const = default;
};

/** Makes key presses of the bytes that a terminal sends.
 *
 *  A key is a character, or an escape sequence as the arrows send it:
 *
 *      ESC [ C        right       ESC [ 1 ; 2 C   shift and right
 *      ESC O C        right       ESC [ c         shift and right
 *
 *  Whole escape sequences that are no key, lone escapes, control characters,
 *  characters beyond ASCII and what is pasted (between ESC [ 200 ~ and
 *  ESC [ 201 ~) are passed over.
 */
class KeyDecoder {
public:
  /** The keys that these bytes complete. */
  std::vector<Key> take(const std::string& bytes);

  /** Nothing has come for so many seconds: what was begun stays incomplete. */
  void rest(double seconds);

private:
  enum State {
    ground,
    escape,       ///< behind ESC
    sequence,     ///< behind ESC [
    functionKey,  ///< behind ESC [ [ or ESC N, one character to come
    singleShift,  ///< behind ESC O
    text,         ///< of a sequence that ends with BEL or ESC "\"
    textEscape,   ///< behind ESC in such a text
    paste,        ///< pasted text
    pasteEscape,  ///< behind ESC in it
    pasteSequence ///< behind ESC [ in it
  };

  void takeByte(unsigned char byte, std::vector<Key>& keys);
  void takeEscaped(unsigned char byte);
  void takeInSequence(unsigned char byte, std::vector<Key>& keys);
  void takeInPaste(unsigned char byte);

  State state = ground;
  std::string parameters; ///< of the sequence so far
};
