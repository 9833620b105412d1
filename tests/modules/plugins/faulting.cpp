// A plug-in whose entry writes through a null pointer.
#include "tests/modules/plugins/plugin.h"

namespace {

int* volatile nowhere = nullptr;

}  // namespace

PLUGIN_EXPORT int plugin_main(int, char**) {
  *nowhere = 1;
  return 0;
}
