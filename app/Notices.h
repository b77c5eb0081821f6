#pragma once

#include <string>

/** Where the program says what the user should know and what is no error:
 *  standard error, or nowhere with --quiet. */
class Notices {
public:
  explicit Notices(bool isQuiet) : quiet(isQuiet) {}

  /** One line: the file, a colon and the text. */
  void say(const std::string& file, const std::string& text) const;

  bool isQuiet() const { return quiet; }

private:
  bool quiet;
};
