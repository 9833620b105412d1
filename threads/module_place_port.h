// Which module a code address lies in, as a thread that has just faulted may ask it.
// module_place_win.cpp answers.
#pragma once

#include <cstdint>

namespace orsin::port {

struct ModulePlace {
  char file[260];         // The module's file without its folder.
  std::uintptr_t offset;  // From where the module was loaded.
};

/// False for an address that no module's file stands behind. Takes no lock: the fault may have come
/// while a library was loaded.
[[nodiscard]] bool find_module_place(std::uintptr_t address, ModulePlace& place) noexcept;

}  // namespace orsin::port
