#include "app/Terminal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "app/Failures.h"

static constexpr int kKeys = TerminalMode::kKeys;
static constexpr int kScreen = TerminalMode::kScreen;

bool Terminal::isThere()
{
  const char* const kind = std::getenv("TERM");
  return isatty(kKeys) != 0 && isatty(kScreen) != 0 && kind != nullptr && *kind != '\0' &&
         std::strcmp(kind, "dumb") != 0;
}

int Terminal::width() const
{
  constexpr int kUnknownWidth = 80;
  winsize size = {};
  const bool isKnown = ioctl(kScreen, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : kUnknownWidth;
}

std::string Terminal::read(double seconds)
{
  // Without the terminal there is nothing to wait for but the time.
  pollfd keys = {mode.isOurs() ? kKeys : -1, POLLIN, 0};
  if (poll(&keys, 1, static_cast<int>(seconds * 1000.0)) <= 0) {
    return std::string();
  }
  std::array<char, 256> buffer;
  const ssize_t count = ::read(kKeys, buffer.data(), buffer.size());
  if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN)) {
    throw Interrupted();
  }
  return std::string(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
}

static bool canBeWritten()
{
  pollfd screen = {kScreen, POLLOUT, 0};
  return poll(&screen, 1, 0) == 1 && (screen.revents & POLLOUT) != 0;
}

void Terminal::showLine(const std::string& line)
{
  if (!mode.isOurs() || !canBeWritten()) {
    return;
  }
  // Another width, or whoever had the terminal meanwhile, spoils what stands there.
  const int columns = width();
  if (!mode.takeEntry() && line == shown && columns == shownWidth) {
    return;
  }
  // In one piece and without clearing first, so that nothing flickers.
  const std::string text = "\r" + line + "\033[K";
  [[maybe_unused]] const ssize_t written = write(kScreen, text.data(), text.size());
  shown = line;
  shownWidth = columns;
}

void Terminal::say(const std::string& text)
{
  if (!mode.isOurs() || !canBeWritten()) {
    return;
  }
  const std::string all = "\r\033[K" + text;
  [[maybe_unused]] const ssize_t written = write(kScreen, all.data(), all.size());
  shown.clear();
}
