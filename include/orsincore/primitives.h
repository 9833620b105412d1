/// @file
/// What threads meet at: mutexes, conditions, thread-local cells, sleeping and the clock.
///
/// Locks, conditions and keys are used all the time, so these calls trust their callers: none may be
/// null but in the calls that free one.
#pragma once

#include "orsincore/base.h"

// ---------------------------------------------------------------------------------------------
// Mutexes
// ---------------------------------------------------------------------------------------------

/// Makes a recursive mutex: its thread may take it again, and each take needs a release.
///
/// @param locked    Non-zero: the calling thread holds it at once.
/// @param reserved  Ignored.
/// @return The caller's, until mp_delete_mutex(); null when memory is exhausted.
/// Any thread. Windows: a critical section, so taking a free one costs no system call.
ORSIN_API __mutex_str* mp_new_mutex(int locked, unsigned int reserved);

/// Frees a mutex that nobody holds. Null does nothing.
ORSIN_API void mp_delete_mutex(__mutex_str* mutex);

/// Waits until the mutex is taken. Returns 0.
ORSIN_API int mp_get_mutex(__mutex_str* mutex);

/// Undoes one take; only the thread that took it may. Returns 0.
ORSIN_API int mp_release_mutex(__mutex_str* mutex);

/// Takes the mutex if it is free or already this thread's, and returns 1 (release it once more); 0
/// without waiting otherwise.
ORSIN_API int mp_test_mutex(__mutex_str* mutex);

// ---------------------------------------------------------------------------------------------
// Conditions
// ---------------------------------------------------------------------------------------------

/// Makes a condition block, used together with a mutex that guards what is waited for.
///
/// @return The caller's, until mp_delete_cond_block(); null when memory is exhausted.
/// Windows: a condition variable.
ORSIN_API __cond_str* mp_new_cond_block();

/// Frees a condition that nobody waits for. Null does nothing.
ORSIN_API void mp_delete_cond_block(__cond_str* condition);

/// Lets go of the held mutex, waits without limit for a signal, takes the mutex again. A wait may
/// end without a signal: test what you wait for in a loop.
ORSIN_API void mp_cond_wait(__cond_str* condition, __mutex_str* mutex);

/// As mp_cond_wait(), for at most so many nanoseconds, used as whole milliseconds.
///
/// Below one millisecond (negative included), and for exactly 0xFFFFFFFF milliseconds, it returns 0
/// at once without letting go of the mutex.
/// @return Non-zero when woken, 0 when the time was over.
ORSIN_API int mp_cond_timedwait(__cond_str* condition, __mutex_str* mutex, long long nanoseconds);

/// Wakes one waiter, if there is one.
ORSIN_API void mp_cond_signal(__cond_str* condition);

/// Wakes all waiters.
ORSIN_API void mp_cond_broadcast(__cond_str* condition);

// ---------------------------------------------------------------------------------------------
// Thread-local cells
// ---------------------------------------------------------------------------------------------

/// Makes a key under which each thread keeps one pointer of its own, null at first.
///
/// @return The caller's, until mp_key_delete(); null when memory is exhausted, or, after an error
///         line with the system's code, when the process has no key left.
/// Windows: TlsAlloc.
ORSIN_API __tls_key_str* mp_key_create();

/// Frees a key; what the pointers point to stays. Null does nothing.
ORSIN_API void mp_key_delete(__tls_key_str* key);

/// Stores the calling thread's pointer. 0, or -1 after an error line with the system's code.
ORSIN_API int mp_setspecific(__tls_key_str* key, const void* value);

/// The calling thread's pointer; null when it was never set.
ORSIN_API void* mp_getspecific(__tls_key_str* key);

// ---------------------------------------------------------------------------------------------
// Sleeping and the clock
// ---------------------------------------------------------------------------------------------

/// Sleeps for so many nanoseconds, used as whole milliseconds and at least one. Exactly 0xFFFFFFFF
/// milliseconds do not sleep at all. Queued completion routines run meanwhile. Returns 0.
/// Windows: SleepEx.
ORSIN_API int mp_timedwait(long long nanoseconds);

/// Gives up the rest of the time slice; queued completion routines run.
ORSIN_API void mp_yield();

/// Seconds since the clock was initialised. 0.0 while it is not or when its counter cannot be read;
/// that is warned about once a process. Any thread. Windows: QueryPerformanceCounter.
ORSIN_API double mp_getclock();

/// Counts a second of the clock's counter; initialises the clock when needed. 0 without a usable
/// counter.
ORSIN_API double mp_getclockfrequency();
