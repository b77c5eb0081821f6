#pragma once

#include <cstddef>

// The seam between a program and its system where faults are put in.  The
// program's own definitions of the functions that read, write, seek, open and
// close files, that allocate, and that start threads stand before those of the
// system's libraries, for the libraries that it loads too.

namespace support {

enum class FaultKind { Read, Write, Seek, Open, Close, Allocation, ThreadStart };

const char* nameOf(FaultKind kind);

/** Whose calls are counted, and fail. */
enum class FaultReach { CallingThread, AllThreads };

/** Whether the one call fails alone, or every later one of its kind as well. */
enum class FaultLength { Once, Lasting };

/** Makes one call of a kind fail: the first for 1, the second for 2, and so on;
 *  none for 0.  Counts, and fails, only what is called while it is armed.  A
 *  close that fails closes all the same, as a system does.  One at a time. */
class Fault {
public:
  Fault(FaultKind kind, long number, FaultReach reach, FaultLength length = FaultLength::Once);
  ~Fault(); ///< disarms
  Fault(const Fault&) = delete;
  Fault& operator=(const Fault&) = delete;

  void arm();
  void disarm();

  /** Whether the call that was to fail came. */
  bool happened() const;

  /** The calls of the kind while it was armed. */
  long calls() const;

private:
  FaultKind faultKind;
  FaultReach faultReach;
};

/** Lets files take no byte at or behind a position while it lives, as a full
 *  disk does.  Calling thread.  One at a time. */
class FileRoom {
public:
  explicit FileRoom(long long bytes);
  ~FileRoom();
  FileRoom(const FileRoom&) = delete;
  FileRoom& operator=(const FileRoom&) = delete;
};

/** The blocks of memory that any thread takes while it lives, and has not given
 *  back.  One at a time. */
class TakenBlocks {
public:
  TakenBlocks();
  ~TakenBlocks();
  TakenBlocks(const TakenBlocks&) = delete;
  TakenBlocks& operator=(const TakenBlocks&) = delete;

  std::size_t left() const;
};

} // namespace support
