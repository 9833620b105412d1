// Threads: primitives and clock, named threads, the all-processors executor.
#pragma once

#include "orsincore/base.h"

ORSIN_API __mutex_str* mp_new_mutex(int locked, unsigned int reserved);
ORSIN_API void mp_delete_mutex(__mutex_str* mutex);
ORSIN_API int mp_get_mutex(__mutex_str* mutex);
ORSIN_API int mp_release_mutex(__mutex_str* mutex);
ORSIN_API int mp_test_mutex(__mutex_str* mutex);
ORSIN_API __cond_str* mp_new_cond_block();
ORSIN_API void mp_delete_cond_block(__cond_str* condition);
ORSIN_API void mp_cond_wait(__cond_str* condition, __mutex_str* mutex);
ORSIN_API int mp_cond_timedwait(__cond_str* condition, __mutex_str* mutex, long long nanoseconds);
ORSIN_API void mp_cond_signal(__cond_str* condition);
ORSIN_API void mp_cond_broadcast(__cond_str* condition);
ORSIN_API __tls_key_str* mp_key_create();
ORSIN_API void mp_key_delete(__tls_key_str* key);
ORSIN_API int mp_setspecific(__tls_key_str* key, const void* value);
ORSIN_API void* mp_getspecific(__tls_key_str* key);
ORSIN_API int mp_timedwait(long long nanoseconds);
ORSIN_API void mp_yield();
ORSIN_API double mp_getclock();
ORSIN_API double mp_getclockfrequency();
ORSIN_API unsigned int mp_start_thread(const char* name, void (*entry)(void*), void* argument);
ORSIN_API int mp_join_thread(unsigned int identifier, unsigned int timeout_ms);
ORSIN_API const char* mp_get_thread_name();
ORSIN_API void smp_exec(void (*function)(), void* a1, void* a2, void* a3, void* a4, void* a5,
                        void* a6);
ORSIN_API int smp_id();
ORSIN_API int smp_numprocs();
