// What a simulated machine is used for: one named story, told twice in each run.
//
// The first time the machine refuses and delays what its plan says; the second time, on the same disk,
// it is willing. A scenario judges each call of the library by its contract: success means the whole
// outcome, a failure has left a line in the log. After the second time everything must have succeeded.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tests/platform/machine/machine.h"

namespace orsin::simulation {

/// One telling.
class Pass {
 public:
  Pass(Machine& machine, std::uint64_t seed, bool must_succeed)
      : it(machine), choice(seed, 4), must_succeed(must_succeed) {}

  /// Fails the run where a result is a failure and nothing has been refused.
  void expect_success(bool succeeded, const char* what, long long result) const;

  Machine& it;
  Random choice;  // The same in both tellings.
  bool must_succeed;
};

struct Scenario {
  const char* name;
  void (*run)(Pass& pass);
};

/// All there are.
[[nodiscard]] std::span<const Scenario> scenarios();
[[nodiscard]] const Scenario* find_scenario(const std::string& name);

void copy_to_one(Pass& pass);
void copy_to_three(Pass& pass);
void copy_to_sixteen(Pass& pass);
void copy_with_callers_streams(Pass& pass);
void copy_securely(Pass& pass);
void copy_small(Pass& pass);
void copy_tree(Pass& pass);
void list_directory(Pass& pass);
void delete_directory(Pass& pass);
void read_beside_others(Pass& pass);
void write_beside_others(Pass& pass);
void load_heap(Pass& pass);
void open_log_again(Pass& pass);
void run_executor(Pass& pass);
void run_worker(Pass& pass);
void move_file_by_http(Pass& pass);
void call_by_http(Pass& pass);
void talk_by_websocket(Pass& pass);
void start_translation(Pass& pass);

}  // namespace orsin::simulation
