// What the test plug-ins share: how they export, and how they tell the test what happened to them.
#pragma once

#include <cstdlib>
#include <string>

#include "base/win/windows.h"

#define PLUGIN_EXPORT extern "C" __declspec(dllexport)

namespace plugin {

/// Adds one to a number in the process's environment, which outlives the plug-in.
inline void count(const char* name) {
  char text[16] = "0";
  GetEnvironmentVariableA(name, text, sizeof(text));
  SetEnvironmentVariableA(name, std::to_string(std::atoi(text) + 1).c_str());
}

}  // namespace plugin
