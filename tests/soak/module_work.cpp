// Libraries opened and closed, and programs started and waited for.
#include <string>

#include "orsincore/modules.h"
#include "tests/soak/site.h"

namespace orsin::soak {
namespace {

class ModuleWork : public Work {
 public:
  ModuleWork(const Site& site, std::uint64_t seed)
      : Work("modules", seed), plugin_(site.plugin), child_(site.child) {}

  void step() override {
    open_plugin();
    if (dice_.once_in(3)) {
      expect(ov_open_library("soak_nowhere.dll", 0) == nullptr, "a missing library was opened");
      count_refused();
    }
    if (dice_.once_in(10)) {
      start_program();
    }
    mp_timedwait(20'000'000);
  }

 private:
  using Add = int (*)(int, int);

  void open_plugin() {
    void* const module = ov_open_library(plugin_.c_str(), 0);
    if (!expect(module != nullptr, "the plug-in cannot be opened")) {
      return;
    }
    const auto add = reinterpret_cast<Add>(ov_resolve_symbol(module, "plugin_add"));
    if (expect(add != nullptr && add(2, 3) == 5, "the plug-in cannot be called")) {
      count_done();
    }
    ov_close_library(module, false);
  }

  void start_program() {
    std::string command = "exit";
    std::string code = std::to_string(dice_.below(90));
    char* argv[] = {child_.data(), command.data(), code.data(), nullptr};
    ProcessResultStruct result = {};
    const bool ran =
        SpawnAndLoopUntilFinished(child_.c_str(), argv, true, nullptr, nullptr, result, 5);
    if (expect(ran && result.exited && std::to_string(result.exit_code) == code,
               "a program ended with " + std::to_string(result.exit_code) + " for " + code)) {
      count_done();
    }
  }

  std::string plugin_;
  std::string child_;
};

}  // namespace

Works module_works(const Site& site, std::uint64_t seed) {
  Works works;
  works.push_back(std::make_unique<ModuleWork>(site, seed));
  return works;
}

}  // namespace orsin::soak
