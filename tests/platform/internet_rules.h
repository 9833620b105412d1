// What WinINet refuses of handles: every stand-in for it asks here.
#pragma once

#include <cstdint>

#include "tests/platform/system_errors.h"

namespace orsin::platform {

enum class InternetKind { kSession, kConnection, kRequest };

/// What an open handle stands for.
struct InternetState {
  InternetKind kind;
  bool is_sent = false;  // A request; only then it has an answer.
};

/// The error of a call that needs a handle of this kind; 0 when it is one.
inline std::uint32_t error_as(InternetKind kind, const InternetState& state) {
  return state.kind == kind ? 0 : kErrorIncorrectHandleType;
}

/// The error of a call that needs a request which was sent.
inline std::uint32_t error_as_sent(const InternetState& state) {
  const std::uint32_t error = error_as(InternetKind::kRequest, state);
  return error == 0 && !state.is_sent ? kErrorIncorrectHandleState : error;
}

}  // namespace orsin::platform
