// A plug-in that does nothing wrong.
#include <cstdio>

#include "tests/modules/plugins/plugin.h"

PLUGIN_EXPORT int plugin_add(int a, int b) {
  return a + b;
}

/// Prints its arguments, one a line; returns their number.
PLUGIN_EXPORT int plugin_main(int argc, char** argv) {
  for (int i = 0; i < argc; ++i) {
    std::printf("%d: %s\n", i, argv[i]);
  }
  return argc;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    plugin::count("ORSIN_PLUGIN_LOADED");
  } else if (reason == DLL_PROCESS_DETACH) {
    plugin::count("ORSIN_PLUGIN_UNLOADED");
  }
  return TRUE;
}
