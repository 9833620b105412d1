#include "tests/simulation/scenario.h"

namespace orsin::simulation {
namespace {

constexpr Scenario kScenarios[] = {
    {"copy-1", copy_to_one},
    {"copy-3", copy_to_three},
    {"copy-16", copy_to_sixteen},
    {"copy-streams", copy_with_callers_streams},
    {"copy-secure", copy_securely},
    {"copy-small", copy_small},
    {"copy-tree", copy_tree},
    {"list", list_directory},
    {"delete", delete_directory},
    {"read-beside", read_beside_others},
    {"write-beside", write_beside_others},
    {"heap", load_heap},
    {"log", open_log_again},
    {"executor", run_executor},
    {"worker", run_worker},
    {"http-file", move_file_by_http},
    {"http-call", call_by_http},
    {"websocket", talk_by_websocket},
    {"translation", start_translation},
};

}  // namespace

std::span<const Scenario> scenarios() {
  return kScenarios;
}

const Scenario* find_scenario(const std::string& name) {
  for (const Scenario& scenario : kScenarios) {
    if (name == scenario.name) {
      return &scenario;
    }
  }
  return nullptr;
}

void Pass::expect_success(bool succeeded, const char* what, long long result) const {
  const bool may_fail = !must_succeed && it.has_refused();
  ORSIN_EXPECT(succeeded || may_fail, "%s: %lld, though nothing was refused", what, result);
}

}  // namespace orsin::simulation
