// The module around a code address; see threads/module_place_port.h.
//
// The loader would know it, too, but asks for its lock first. The memory manager knows the file by the
// name of its device, of which the last part is the same.
#include <cwchar>

#include "base/win/windows.h"

#include <psapi.h>

#include "orsincore/utf.h"
#include "threads/module_place_port.h"

namespace orsin::port {

bool find_module_place(std::uintptr_t address, ModulePlace& place) noexcept {
  constexpr DWORD kPathUnits = 1024;  // A longer one is cut: its file's name would be lost.
  MEMORY_BASIC_INFORMATION region = {};
  wchar_t path[kPathUnits + 1] = {};
  const auto* code = reinterpret_cast<const void*>(address);
  if (VirtualQuery(code, &region, sizeof(region)) == 0 || region.Type != MEM_IMAGE) {
    return false;
  }
  const DWORD units =
      GetMappedFileNameW(GetCurrentProcess(), region.AllocationBase, path, kPathUnits);
  if (units == 0 || units >= kPathUnits - 1) {
    return false;
  }
  const wchar_t* separator = std::wcsrchr(path, L'\\');
  ov_wchar_to_utf8(separator != nullptr ? separator + 1 : path, place.file, sizeof(place.file));
  place.offset = address - reinterpret_cast<std::uintptr_t>(region.AllocationBase);
  return true;
}

}  // namespace orsin::port
