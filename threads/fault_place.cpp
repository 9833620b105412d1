// The line in the log that says where a fault came from.
//
// Code that runs here stands in a broken process: it formats and logs, and allocates nothing.
#include "threads/fault_place.h"

#include <cinttypes>
#include <cstdio>

#include "orsincore/log.h"
#include "orsincore/threads.h"
#include "threads/module_place_port.h"

namespace orsin {
namespace {

struct PlaceText {
  char text[sizeof(port::ModulePlace::file) + 32];
};

PlaceText describe(std::uintptr_t address) {
  PlaceText place;
  port::ModulePlace module;
  if (port::find_module_place(address, module)) {
    std::snprintf(place.text, sizeof(place.text), "%s+0x%" PRIxPTR, module.file, module.offset);
  } else {
    std::snprintf(place.text, sizeof(place.text), "0x%016" PRIxPTR, address);
  }
  return place;
}

}  // namespace

void write_fault_place(const EscapedFault& fault) {
  if (!fault.is_place_known) {
    return;
  }
  const bool has_caller = fault.caller != 0;
  msginfo("THREAD(%s): Exception 0x%08x at %s%s%s", mp_get_thread_name(), fault.code,
          describe(fault.instruction).text, has_caller ? ", called from " : "",
          has_caller ? describe(fault.caller).text : "");
}

}  // namespace orsin
