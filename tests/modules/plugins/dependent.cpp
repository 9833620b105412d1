// A plug-in that the system loads only when it finds the dependency, too.
#include "tests/modules/plugins/plugin.h"

extern "C" __declspec(dllimport) int dependency_answer();

PLUGIN_EXPORT int plugin_answer() {
  return dependency_answer() + 1;
}
