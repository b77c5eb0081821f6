#pragma once

#include <stdexcept>
#include <string>

/** The command line is wrong: exit status 2.  what() says how, in one sentence. */
class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/** A file or the system does not do what is needed: exit status 1. */
class Failure : public std::runtime_error {
public:
  Failure(const std::string& file, const std::string& reason)
      : std::runtime_error(file + ": " + reason), reasonText(reason)
  {
  }

  /** The sentence without the file's name. */
  const std::string& reason() const { return reasonText; }

private:
  std::string reasonText;
};

/** The user or the system asked the program to stop: exit status 130. */
class Interrupted {};
