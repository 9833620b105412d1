/// @file
/// The message log: one diagnostic channel for the library and the application that loads it.
///
/// Levels: 0 error, 1 warning, 2 information, 3 debug, 4 trace. A line is written when its level is
/// at most the current level, as "hh:mm:ss.ss LEVEL: text". Runs of identical lines (below 256
/// characters) become the line and "Repeated N times"; a line repeated once is dropped silently. The
/// text is cut to 8191 bytes. Every line reaches the file at once.
///
/// All functions may be called from any thread while the log is open, except where noted; none
/// changes the thread's last system error. Functions that write return 1 when the line was handed to
/// the writer and 0 when it was filtered. The log never reports its own failures.
#pragma once

#include <cstdarg>
#include <cstdio>

#include "orsincore/base.h"

/// Writes at a level given at run time; levels above 4 are cut to 4, negative ones are not written.
///
/// A level below 4 decides about the continuation lines that follow, even when it was filtered.
/// While the host silences the log with a negative current level, the line goes to standard error
/// instead, without the lock and with "##:##:##.##" for the time.
ORSIN_API int msg(int level, const char* format, ...) ORSIN_PRINTF(2, 3);

/// An error line. Continuation lines that follow share its fate; so it is with all head lines.
ORSIN_API int msgerror(const char* format, ...) ORSIN_PRINTF(1, 2);
/// The same with its arguments as a list.
ORSIN_API int vmsgerror(const char* format, std::va_list arguments) ORSIN_PRINTF(1, 0);

/// A warning line.
ORSIN_API int msgwarn(const char* format, ...) ORSIN_PRINTF(1, 2);
/// The same with its arguments as a list.
ORSIN_API int vmsgwarn(const char* format, std::va_list arguments) ORSIN_PRINTF(1, 0);

/// An information line.
ORSIN_API int msginfo(const char* format, ...) ORSIN_PRINTF(1, 2);
/// The same with its arguments as a list.
ORSIN_API int vmsginfo(const char* format, std::va_list arguments) ORSIN_PRINTF(1, 0);

/// A debug line. A filtered one leaves the continuation lines after it to the head before it.
ORSIN_API int msgdebug(const char* format, ...) ORSIN_PRINTF(1, 2);
/// The same with its arguments as a list.
ORSIN_API int vmsgdebug(const char* format, std::va_list arguments) ORSIN_PRINTF(1, 0);

/// Trace lines; they never take over the continuation lines.
ORSIN_API int msg_trace(const char* format, ...) ORSIN_PRINTF(1, 2);

/// Continues the head line before it, without time and level; written only if that line's level
/// passes the current level now.
ORSIN_API int msgcont(const char* format, ...) ORSIN_PRINTF(1, 2);
/// The same with its arguments as a list.
ORSIN_API int vmsgcont(const char* format, std::va_list arguments) ORSIN_PRINTF(1, 0);

/// Writes the text and a line feed as they are: no head, no level test, no folding. Not to be
/// called while the log is closed.
ORSIN_API int msglist(const char* text);

/// Sets the current level; ignored while the log is closed.
ORSIN_API void msg_setlevel(int level);

/// The current level; -1 while the log is closed.
ORSIN_API int msg_getlevel();

/// Identical lines are written instead of counted, until a pending count is next flushed.
ORSIN_API void msg_repeatdisplayoverride();

/// The stream the log writes to, which the log does not own; null while the log is closed.
ORSIN_API std::FILE* msg_get_file();

/// The system's text for the calling thread's last error, without its line end; "No Error" for 0.
///
/// Windows: FormatMessageW. The text lies in one static buffer of 256 bytes, so the next call or
/// msg_os_error() of any thread overwrites it; not for concurrent use.
ORSIN_API const char* os_errormsg();

/// Writes "text : 'reason'" at error level, with the reason of the thread's last error. Nothing
/// while the current level is negative. Leaves continuation lines to the head before it.
ORSIN_API void msg_os_error(const char* text);

/// The same whatever the current level, unless `code` is 0. The reason is still that of the
/// thread's last error: set it to `code` to have that in the line.
ORSIN_API void msg_os_error(const char* text, int code);

/// Opens the log on a stream at level 2, or with null on standard error at level 1.
///
/// For start-up only, while one thread runs. The stream must outlive the log and be unbuffered if
/// lines are to survive the process. Stays closed when the message buffer cannot be allocated.
ORSIN_API void msg_open(std::FILE* stream);

/// Closes the log, not its stream; a pending repeat count is forgotten. For closedown only.
ORSIN_API void msg_close();
