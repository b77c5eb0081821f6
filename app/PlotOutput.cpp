#include "app/PlotOutput.h"

#include <cerrno>

#include <unistd.h>

#include "app/Failures.h"
#include "app/Interruption.h"

static constexpr std::size_t kPendingBytes = 1 << 16;

PlotOutput::PlotOutput(const std::string& target) : file(target)
{
  file.allowToHide();
}

void PlotOutput::write(std::string_view bytes)
{
  pending += bytes;
  if (pending.size() >= kPendingBytes) {
    writePending();
  }
}

void PlotOutput::writePending()
{
  for (std::size_t done = 0; done < pending.size();) {
    const ssize_t written =
        ::write(file.getDescriptor(), pending.data() + done, pending.size() - done);
    if (written < 0 && errno != EINTR) {
      throw Failure(file.getTargetName(), "could not be written: " + systemErrorText(errno));
    }
    done += written > 0 ? static_cast<std::size_t>(written) : 0;
  }
  pending.clear();
}

void PlotOutput::finish()
{
  writePending();
  throwIfInterrupted();
  file.commit();
}
