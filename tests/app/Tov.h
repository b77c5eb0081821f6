#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/IntegerSound.h"
#include "tests/support/Program.h"
#include "tests/support/TempFolder.h"

namespace support {

/** Runs the built program in a folder of its own, where files have their bare
 *  names. */
class TovTest : public testing::Test {
protected:
  /** The program with these arguments. */
  Launch launch(const std::vector<std::string>& arguments) const;
  Outcome tov(const std::vector<std::string>& arguments) const;

  /** As tov(); a test failure with what was said where it does not exit with 0. */
  Outcome succeed(const std::vector<std::string>& arguments) const;

  /** Runs and expects this exit status, with @p sentence in a line on standard
   *  error, one line in all, or two where the usage is pointed at, and nothing
   *  on standard output. */
  void expectError(const std::vector<std::string>& arguments, int exitCode,
                   const std::string& sentence) const;

  /** Writes a file whose suffix says the format. */
  void write(const std::string& name, const IntegerSound& sound) const;

  /** What a file of the program's holds, checked down to the last header byte. */
  IntegerSound read(const std::string& name) const;

  /** The only sound file that a call makes: runs and reads "out.wav". */
  IntegerSound mixed(std::vector<std::string> arguments) const;

  /** The names in the folder, hidden ones too, sorted. */
  std::vector<std::string> names() const;

  TempFolder folder;
};

/** Whether a text holds another. */
testing::AssertionResult holds(const std::string& text, const std::string& part);

/** The lines of a text, without their line feeds. */
std::vector<std::string> linesOf(const std::string& text);

/** Each line as JSON; throws where one is none. */
std::vector<nlohmann::json> jsonLines(const std::string& text);

/** Decibels of a factor. */
double decibels(double factor);

} // namespace support
