#pragma once

#include <cstddef>
#include <optional>
#include <string>

/** Where the audio command stands in a script: from the first letter of its
 *  name to behind its closing parenthesis.
 *
 *      Read("plate.dpx"); SetAudio("z1AAAA..."); // the mix
 *                         ^begin              ^end
 */
struct AudioCommand {
  std::size_t begin;
  std::size_t end;
  std::optional<std::string> argument; ///< unquoted; none for an empty argument list
};

/** The first audio command of a script, just as TovScript::runAudio() finds
 *  it, which does not tell where it was; nothing where there is none. */
std::optional<AudioCommand> findAudioCommand(const std::string& script);
