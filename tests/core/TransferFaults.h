#pragma once

#include <cstddef>
#include <initializer_list>
#include <vector>

namespace support {

/** What the system does with one call of read() or write(). */
struct TransferStep {
  int error;         ///< the error it fails with, or 0
  std::size_t limit; ///< else the most bytes that it transfers
};

TransferStep interrupted();
TransferStep failing(int error);
TransferStep atMost(std::size_t bytes);

/** Makes the calling thread's next read() and write() calls go by a plan, one
 *  step a call; later calls go on as usual.  One at a time. */
class TransferFaults {
public:
  TransferFaults(std::initializer_list<TransferStep> plan);
  ~TransferFaults();
  TransferFaults(const TransferFaults&) = delete;
  TransferFaults& operator=(const TransferFaults&) = delete;

  /** The steps that no call has used yet. */
  std::size_t remaining() const;

private:
  std::vector<TransferStep> steps;
};

/** Makes the calling thread's next close() report an error, though it closes. */
class CloseFault {
public:
  explicit CloseFault(int error);
  ~CloseFault();
  CloseFault(const CloseFault&) = delete;
  CloseFault& operator=(const CloseFault&) = delete;

  bool happened() const;
};

} // namespace support
