// A whole machine that can be replayed: threads' turn, clock, disk, transfers, network, memory.
//
// One seed drives it, and it answers every port of the library. Each call into a port is a step, at
// which another thread may go on, and a point at which the machine may refuse, with an error that
// documented Windows may give there.
//
//   Machine machine({.seed = 7});
//   machine.disk.add_volume('C', 1 << 30);
//   Inside library;                        // From here on allocations are the library's.
//   EXPECT(file_copy(...) == 0);
#pragma once

#include <cstdint>
#include <cstdio>
#include <initializer_list>

#include "tests/platform/machine/disk.h"
#include "tests/platform/machine/failure.h"
#include "tests/platform/machine/handles.h"
#include "tests/platform/machine/network.h"
#include "tests/platform/machine/random.h"
#include "tests/platform/machine/refusals.h"
#include "tests/platform/machine/schedule.h"

namespace orsin::simulation {

struct MachineSettings {
  std::uint64_t seed = 1;
  RefusalPlan refusals = {};
  bool is_traced = false;
  std::uint64_t* steps = nullptr;  // Where they are counted; null: nowhere else.
};

/// What the library holds at a moment.
struct Holdings {
  long blocks = 0;  // Of the process heap.
  int handles = 0;
  int threads = 0;
  int mutexes = 0;
  int conditions = 0;
  int keys = 0;
  int page_ranges = 0;
  int searches = 0;
  bool operator==(const Holdings&) const = default;
};

/// How transfers behave in a run.
struct TransferManners {
  std::uint64_t pend_one_in = 2;  // 1: all, 0: none.
  std::uint64_t short_one_in = 0;
  std::uint64_t late_one_in = 0;  // Later than the library's patience.
  std::uint64_t no_event_one_in = 0;
  Nanoseconds latency = 20 * kMillisecond;
};

class Machine {
 public:
  explicit Machine(const MachineSettings& settings);
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  [[nodiscard]] Holdings holdings() const;

  /// Whether anything went otherwise than asked so far: a refusal, a short transfer, a full disk.
  [[nodiscard]] bool has_refused() const { return was_unkind || refusals.refused() > 0; }

  /// From now on every call is carried out, and transfers do all that they are asked to.
  void become_willing();

  /// How much of so many bytes a transfer moves: all, or fewer where the run wants that.
  [[nodiscard]] std::uint32_t shortened(std::uint32_t bytes);

  /// The calling thread waits for what is far away.
  void take_time();

  Schedule schedule;
  Refusals refusals;
  Random chance;  // For whatever the machine's parts choose.
  Handles handles;
  Disk disk;
  Network network;
  TransferManners transfers;
  bool was_unkind = false;
  std::FILE* standard_error = nullptr;  // What the library has made of it; the scenario's to close.
  Holdings held;  // Counted by the parts; blocks and handles are counted elsewhere.
};

/// The one that runs.
[[nodiscard]] Machine& machine();
[[nodiscard]] bool has_machine();

/// The system gives up what a thread has started and that has not ended: done, or aborted.
void cancel_transfers_of(const Task& task);

/// The calling thread is in the library: what it allocates is the library's.
class Inside {
 public:
  Inside();
  ~Inside();
  Inside(const Inside&) = delete;
  Inside& operator=(const Inside&) = delete;
};

/// The calling thread is not in the library for a moment.
class Outside {
 public:
  Outside();
  ~Outside();
  Outside(const Outside&) = delete;
  Outside& operator=(const Outside&) = delete;
};

/// A call into one of the machine's ports.
///
///   Call call("open file");
///   if (call.is_refused({kErrorAccessDenied})) return nullptr;
class Call {
 public:
  explicit Call(const char* name, std::uint64_t detail = 0);

  /// Leaves the last error as it was, or as fail() has set it.
  ~Call();
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  /// Whether the machine refuses here; the last error is one of these then.
  [[nodiscard]] bool is_refused(std::initializer_list<std::uint32_t> errors);

  /// Sets the last error; false.
  bool fail(std::uint32_t error);

  /// For answers that are errors themselves: true for 0.
  bool answer(std::uint32_t error) { return error == 0 || fail(error); }

  [[nodiscard]] std::uint32_t last_error() const { return last_error_; }
  void set_last_error(std::uint32_t error) { last_error_ = error; }

 private:
  Outside outside_;
  std::uint32_t last_error_;
};

}  // namespace orsin::simulation
