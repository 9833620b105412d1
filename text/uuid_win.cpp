// New identifiers from the system's generator.
#include <cstring>

#include "base/win/windows.h"
#include "orsincore/text.h"

#include <rpc.h>

const char* ov_create_uuid(char* dst) {
  constexpr std::size_t kTextBytes = 64;
  if (dst == nullptr) {
    return nullptr;
  }
  UUID uuid;
  // Any other status, "unique on this computer only" included, is not good enough to name a
  // project.
  if (UuidCreate(&uuid) != RPC_S_OK) {
    return nullptr;
  }
  RPC_CSTR text = nullptr;
  if (UuidToStringA(&uuid, &text) != RPC_S_OK) {
    return nullptr;
  }
  std::strncpy(dst, reinterpret_cast<const char*>(text), kTextBytes);
  RpcStringFreeA(&text);
  return dst;
}
