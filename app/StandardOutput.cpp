#include "app/StandardOutput.h"

#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "app/Failures.h"
#include "app/Interruption.h"
#include "app/OutputFile.h"

void occupyClosedStreams()
{
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) {
      // The lowest that is free is given, which is this one.
      (void)open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
  }
}

bool isStandardOutput(const std::string& target)
{
  return target == "-";
}

std::string outputNameForPeople(const std::string& target)
{
  return isStandardOutput(target) ? "standard output" : target;
}

void refuseSoundAtTerminal()
{
  if (isatty(STDOUT_FILENO) != 0) {
    throw UsageError("standard output is a terminal; send the sound to a file or a program, as in "
                     "-o - | sox -t wav - out.flac");
  }
}

void refuseJsonBesideSound(const std::string& target, bool isJson)
{
  if (isJson && isStandardOutput(target)) {
    throw UsageError("the sound and JSON cannot both go to standard output; write the sound to a "
                     "file");
  }
}

[[noreturn]] static void rejectWriting(int errorNumber)
{
  throw Failure("standard output", errorNumber == EPIPE ? "was closed before it had taken all of it"
                                                        : "could not be written completely: " +
                                                              systemErrorText(errorNumber));
}

/** A reader may rest as long as it likes: a write that waits for it would not
 *  end when a signal asks the program to stop. */
static void waitForReader()
{
  constexpr int kMilliseconds = 100;
  pollfd output = {STDOUT_FILENO, POLLOUT, 0};
  while (poll(&output, 1, kMilliseconds) == 0 || (output.revents & (POLLOUT | POLLERR)) == 0) {
    throwIfInterrupted();
    if ((output.revents & (POLLNVAL | POLLHUP)) != 0) {
      return;
    }
  }
}

static void writePiece(const char* bytes, std::size_t count)
{
  while (count > 0) {
    waitForReader();
    const ssize_t written = write(STDOUT_FILENO, bytes, count);
    if (written < 0 && errno != EINTR && errno != EAGAIN) {
      rejectWriting(errno);
    }
    const std::size_t done = written > 0 ? static_cast<std::size_t>(written) : 0;
    bytes += done;
    count -= done;
  }
}

void copyToStandardOutput(int descriptor)
{
  // What a pipe takes at once whenever it says that it takes anything.
  constexpr std::size_t kPieceBytes = 4096;
  char piece[kPieceBytes];
  off_t position = 0;
  for (;;) {
    throwIfInterrupted();
    const ssize_t count = pread(descriptor, piece, sizeof piece, position);
    if (count < 0) {
      rejectWriting(errno);
    }
    if (count == 0) {
      return;
    }
    writePiece(piece, static_cast<std::size_t>(count));
    position += count;
  }
}
