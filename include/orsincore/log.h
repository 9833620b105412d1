// The message log: one diagnostic channel for the library and the application that loads it.
#pragma once

#include <cstdarg>
#include <cstdio>

#include "orsincore/base.h"

ORSIN_API int msg(int level, const char* format, ...) ORSIN_PRINTF(2, 3);
ORSIN_API int msgerror(const char* format, ...) ORSIN_PRINTF(1, 2);
ORSIN_API int vmsgerror(const char* format, std::va_list arguments) ORSIN_PRINTF(1, 0);
ORSIN_API int msgwarn(const char* format, ...) ORSIN_PRINTF(1, 2);
ORSIN_API int vmsgwarn(const char* format, std::va_list arguments) ORSIN_PRINTF(1, 0);
ORSIN_API int msginfo(const char* format, ...) ORSIN_PRINTF(1, 2);
ORSIN_API int vmsginfo(const char* format, std::va_list arguments) ORSIN_PRINTF(1, 0);
ORSIN_API int msgdebug(const char* format, ...) ORSIN_PRINTF(1, 2);
ORSIN_API int vmsgdebug(const char* format, std::va_list arguments) ORSIN_PRINTF(1, 0);
ORSIN_API int msg_trace(const char* format, ...) ORSIN_PRINTF(1, 2);
ORSIN_API int msgcont(const char* format, ...) ORSIN_PRINTF(1, 2);
ORSIN_API int vmsgcont(const char* format, std::va_list arguments) ORSIN_PRINTF(1, 0);
ORSIN_API int msglist(const char* text);
ORSIN_API void msg_setlevel(int level);
ORSIN_API int msg_getlevel();
ORSIN_API void msg_repeatdisplayoverride();
ORSIN_API std::FILE* msg_get_file();
ORSIN_API const char* os_errormsg();
ORSIN_API void msg_os_error(const char* text);
ORSIN_API void msg_os_error(const char* text, int code);
ORSIN_API void msg_open(std::FILE* stream);
ORSIN_API void msg_close();
