#include "tests/platform/machine/machine.h"

#include <cerrno>

#include "tests/platform/machine/process_memory.h"

namespace orsin::simulation {
namespace {

Machine* running = nullptr;

constexpr std::uint64_t kTicksUntil2024 = 133'485'408'000'000'000;

}  // namespace

Machine& machine() {
  ORSIN_EXPECT(running != nullptr, "there is no machine");
  return *running;
}

bool has_machine() {
  return running != nullptr;
}

Schedule& active_schedule() {
  return machine().schedule;
}

std::uint64_t file_time_now() {
  constexpr Nanoseconds kNanosecondsPerTick = 100;
  return kTicksUntil2024 +
         static_cast<std::uint64_t>(machine().schedule.now() / kNanosecondsPerTick);
}

Machine::Machine(const MachineSettings& settings)
    : schedule(settings.seed, settings.is_traced, settings.steps),
      refusals(settings.seed, settings.refusals),
      chance(settings.seed, 3) {
  running = this;
  schedule.at_end_of_threads(cancel_transfers_of);
}

Machine::~Machine() {
  running = nullptr;
}

Holdings Machine::holdings() const {
  Holdings all = held;
  all.blocks = library_blocks();
  all.handles = handles.count();
  all.threads = schedule.running_count();
  return all;
}

void Machine::become_willing() {
  refusals.stop();
  transfers.short_one_in = 0;
  transfers.late_one_in = 0;
  transfers.no_event_one_in = 0;
  network.pieces_one_in = 0;
  disk.make_room();
}

std::uint32_t Machine::shortened(std::uint32_t bytes) {
  if (!chance.one_in(transfers.short_one_in)) {
    return bytes;
  }
  was_unkind = true;
  return static_cast<std::uint32_t>(chance.below(bytes));
}

void Machine::take_time() {
  schedule.sleep(
      static_cast<Nanoseconds>(chance.below(static_cast<std::uint64_t>(transfers.latency))));
}

Inside::Inside() {
  ++machine().schedule.current().calls_into_library;
}

Inside::~Inside() {
  --machine().schedule.current().calls_into_library;
}

Outside::Outside() {
  ++machine().schedule.current().calls_into_machine;
}

Outside::~Outside() {
  --machine().schedule.current().calls_into_machine;
}

Call::Call(const char* name, std::uint64_t detail)
    : last_error_(static_cast<std::uint32_t>(errno)) {
  machine().schedule.step(name, detail);
}

Call::~Call() {
  errno = static_cast<int>(last_error_);
}

bool Call::is_refused(std::initializer_list<std::uint32_t> errors) {
  const std::uint32_t error = machine().refusals.at_call(errors);
  if (error != 0) {
    machine().schedule.step("refused", error);
    last_error_ = error;
  }
  return error != 0;
}

bool Call::fail(std::uint32_t error) {
  last_error_ = error;
  return false;
}

}  // namespace orsin::simulation
