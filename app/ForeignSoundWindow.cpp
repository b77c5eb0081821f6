#include "app/ForeignSoundWindow.h"

#include <algorithm>

static constexpr long long kPiecesInWindow = 16;

std::size_t ForeignSoundWindow::samplesOf(long long frames) const
{
  return static_cast<std::size_t>(frames * file.getInfo().channels);
}

void ForeignSoundWindow::reset()
{
  constexpr int kSamplesAtOnce = 1 << 16;
  piece = std::clamp(kSamplesAtOnce / file.getInfo().channels, 64, 4096);
  samples.assign(samplesOf(piece * kPiecesInWindow), 0.0f);
  first = decoded = next = keptUntil = 0;
  kept.reset();
}

const float* ForeignSoundWindow::at(long long start, long long& count)
{
  if (start < first || start > first + decoded) {
    if (!moveTo(start)) {
      return nullptr;
    }
  }
  while (start >= first + decoded) {
    if (!decodeMore()) {
      return nullptr;
    }
  }
  count = std::min(count, first + decoded - start);
  return samples.data() + samplesOf(start - first);
}

/** Makes the window end at @p start or before it, or hold it. */
bool ForeignSoundWindow::moveTo(long long start)
{
  if (file.isSeekExact()) {
    const bool isThere = file.seek(start);
    first = next = isThere || !file.restart() ? start : 0;
    decoded = 0;
    return isThere;
  }
  if (start < keptUntil) {
    return readKept(start);
  }
  if (start < first) {
    kept.reset(std::tmpfile()); // without one every way back begins anew
    first = decoded = next = keptUntil = 0;
    return file.restart();
  }
  // What lies between is decoded on the way; the window goes along.
  if (first + decoded < next) {
    first = next;
    decoded = 0;
  }
  return true;
}

void ForeignSoundWindow::dropOldest(long long room)
{
  const long long capacity = piece * kPiecesInWindow;
  if (decoded + room <= capacity) {
    return;
  }
  const long long dropped = std::min(decoded, capacity / 2);
  std::copy(samples.begin() + static_cast<std::ptrdiff_t>(samplesOf(dropped)),
            samples.begin() + static_cast<std::ptrdiff_t>(samplesOf(decoded)), samples.begin());
  first += dropped;
  decoded -= dropped;
}

bool ForeignSoundWindow::decodeMore()
{
  if (first + decoded < next) {
    return readKept(first + decoded);
  }
  dropOldest(piece);
  float* const target = samples.data() + samplesOf(decoded);
  const long long got = file.read(target, piece);
  if (got == 0) {
    return false;
  }
  if (kept && !keep(target, got)) {
    kept.reset();
    keptUntil = 0;
  }
  decoded += got;
  next += got;
  return true;
}

bool ForeignSoundWindow::keep(const float* decodedSamples, long long frames)
{
  const std::size_t count = samplesOf(frames);
  const bool isKept =
      fseeko(kept.get(), static_cast<off_t>(samplesOf(keptUntil) * sizeof(float)), SEEK_SET) == 0 &&
      std::fwrite(decodedSamples, sizeof(float), count, kept.get()) == count;
  keptUntil += isKept ? frames : 0;
  return isKept;
}

bool ForeignSoundWindow::readKept(long long start)
{
  const long long frames = std::min(piece * kPiecesInWindow / 2, keptUntil - start);
  const std::size_t count = samplesOf(frames);
  first = start;
  decoded = 0;
  if (frames <= 0 ||
      fseeko(kept.get(), static_cast<off_t>(samplesOf(start) * sizeof(float)), SEEK_SET) != 0 ||
      std::fread(samples.data(), sizeof(float), count, kept.get()) != count) {
    return false;
  }
  decoded = frames;
  return true;
}
