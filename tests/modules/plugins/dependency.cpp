// What the dependent plug-in needs beside it.
#include "tests/modules/plugins/plugin.h"

PLUGIN_EXPORT int dependency_answer() {
  return 41;
}
