// Taking a mutex where the calls of mp_get_mutex() would cost as much as the lock itself.
//
// On Windows the mutex begins with its critical section (primitives_win.cpp makes sure), and the two
// system functions are declared here in the headers' own words, so that no system header comes in.
#pragma once

#include "orsincore/primitives.h"

#if defined(_WIN32)
struct _RTL_CRITICAL_SECTION;
extern "C" {
__declspec(dllimport) void __stdcall EnterCriticalSection(_RTL_CRITICAL_SECTION* section);
__declspec(dllimport) void __stdcall LeaveCriticalSection(_RTL_CRITICAL_SECTION* section);
}
#endif

namespace orsin {

/// mp_get_mutex(), inline.
inline void take_mutex(__mutex_str* mutex) {
#if defined(_WIN32)
  EnterCriticalSection(reinterpret_cast<_RTL_CRITICAL_SECTION*>(mutex));
#else
  mp_get_mutex(mutex);
#endif
}

/// mp_release_mutex(), inline.
inline void release_mutex(__mutex_str* mutex) {
#if defined(_WIN32)
  LeaveCriticalSection(reinterpret_cast<_RTL_CRITICAL_SECTION*>(mutex));
#else
  mp_release_mutex(mutex);
#endif
}

}  // namespace orsin
