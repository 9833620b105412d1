// How the native transfer port behaves, for tests of everything above it.
//
//   FakeTransfers transfers;                    // Plain files again when it goes.
//   transfers.next({.error = 38});              // The next transfer fails at its start.
//   transfers.next({.pends = true, .bytes = 5});  // The one after it runs, and ends short.
//   transfers.release_oldest();                 // Now it has ended.
//
// Files opened unbuffered refuse what Windows refuses: transfers whose offset, size or address is not
// a multiple of the sector, with error 87.
//
// A pending transfer ends when it is released, cancelled, or waited for with a time-out other than
// 0: then it is the waiter who carries it out, so that one thread is enough for a test. With
// `ends_by_release_only` waiters really wait, for a thread that plays the disk.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "files/io_port.h"

namespace orsin::test {

struct TransferFate {
  bool pends = false;                  // Starts, and ends later.
  bool signals_early = false;          // Its event is signalled before its status is written.
  std::uint32_t error = 0;             // Why it fails: at its start, or at its end when it pends.
  std::optional<std::uint32_t> bytes;  // How many are transferred; all that there are without it.
};

struct StartedTransfer {
  bool is_read;
  std::uint64_t offset;
  std::uint32_t size;
  bool operator==(const StartedTransfer&) const = default;
};

/// What opening a file gives: by itself what the file system says, with a code as last error.
struct OpenFate {
  bool is_refused = false;
  std::uint32_t error = 0;
};

class FakeTransfers {
 public:
  FakeTransfers();
  ~FakeTransfers();
  FakeTransfers(const FakeTransfers&) = delete;
  FakeTransfers& operator=(const FakeTransfers&) = delete;

  void next(const TransferFate& fate);   ///< For one transfer, in the order of their starts.
  void every(const TransferFate& fate);  ///< For those that have no fate of their own.

  bool release_oldest();  ///< False when nothing is pending.
  void release_all();
  void ends_by_release_only();
  [[nodiscard]] int pending_count() const;
  [[nodiscard]] int most_pending() const;   ///< At any time since the beginning.
  [[nodiscard]] int cancellations() const;  ///< How often a file's transfers were cancelled.

  void refuse_events();             ///< None can be had as long as this object is there.
  void time_out_waits(int count);   ///< The next waits that last end without result.
  void interrupt_waits(int count);  ///< The next waits are ended by a completion routine.
  void fail_waits(int count, std::uint32_t error);

  void next_open(const OpenFate& fate);
  void refuse_sizes(int count, std::uint32_t error);
  void refuse_zeroing(std::uint32_t error);
  void refuse_size_questions(int count);  ///< The next sizes of files and volumes are not told.

  [[nodiscard]] std::vector<StartedTransfer> started() const;
  [[nodiscard]] std::vector<port::OpenMode> opened() const;
  [[nodiscard]] std::vector<std::uint64_t> sizes() const;  ///< What files were to be cut to.
  [[nodiscard]] std::string volume_root() const;           ///< The one last asked for.
};

}  // namespace orsin::test
