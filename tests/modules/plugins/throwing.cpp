// A plug-in whose entry throws an exception of a class that only the plug-in knows.
#include "tests/modules/plugins/plugin.h"

namespace {

struct PluginError {
  PluginError() = default;
  PluginError(const PluginError&) = default;
  PluginError& operator=(const PluginError&) = default;
  ~PluginError() { plugin::count("ORSIN_PLUGIN_ERROR_DESTROYED"); }
};

}  // namespace

PLUGIN_EXPORT int plugin_main(int, char**) {
  throw PluginError();
}
