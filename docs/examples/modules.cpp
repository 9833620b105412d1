#include "orsincore/modules.h"

//! [example]
using PluginVersion = int (*)();

int version_of(const char* plugin) {
  void* module = ov_open_library(plugin, 0);
  if (module == nullptr) {
    return -1;  // The log says why.
  }
  const auto version = reinterpret_cast<PluginVersion>(ov_resolve_symbol(module, "plugin_version"));
  const int result = version != nullptr ? version() : -1;
  ov_close_library(module, false);
  return result;
}
//! [example]
