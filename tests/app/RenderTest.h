#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "tests/app/Tov.h"
#include "tests/app/TracedProgram.h"

namespace support {

/** Renders onto an old target, which something goes wrong with. */
class RenderTest : public TovTest {
protected:
  RenderTest()
  {
    write("a.wav", randomSound(2, 2 * 44100, 44100, 16, 1, 0.4));
    write("b.aiff", randomSound(1, 2 * 48000, 48000, 24, 2, 0.4));
    write("old.wav", randomSound(2, 500, 44100, 16, 3));
    old = folder.read("old.wav");
    restore();
  }

  /** The old target again, and nothing beside it. */
  void restore() const
  {
    folder.write("out.wav", old);
    for (const std::string& name : names()) {
      if (name[0] == '.')
        std::filesystem::remove(folder.path(name));
    }
  }

  /** The temporary file beside the target; empty where there is none. */
  std::string temporary() const
  {
    for (const std::string& name : names()) {
      if (name[0] == '.')
        return name;
    }
    return {};
  }

  std::uintmax_t temporarySize() const
  {
    const std::string name = temporary();
    return name.empty() ? 0 : std::filesystem::file_size(folder.path(name));
  }

  void expectOldTargetAndNoTemporary() const
  {
    EXPECT_TRUE(folder.read("out.wav") == old);
    EXPECT_EQ(temporary(), "");
  }

  const std::vector<std::string> mix = {"mix", "a.wav", "b.aiff", "--start",
                                        "0.5", "-o",    "out.wav"};
  const std::vector<std::string> conversion = {"convert", "b.aiff", "out.wav", "--rate", "44100"};
  std::vector<std::uint8_t> old;
};

} // namespace support
