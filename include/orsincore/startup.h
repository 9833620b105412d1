/// @file
/// Start-up and closedown of the process, its paths, restart, and what is known of the processors.
#pragma once

#include "orsincore/base.h"

// ---------------------------------------------------------------------------------------------
// Start-up and closedown. The host's main thread calls them, first thing and last thing.
// ---------------------------------------------------------------------------------------------

/// Starts everything: one instance per application name, paths, log file, system report, heaps,
/// threads.
///
/// Arguments that begin with "-" are read letter by letter: D or d one more log level each; P or p
/// the number of executor workers, in the same or the next argument; "restart" continues the log of
/// a predecessor that is still closing down. Any other letter ends the reading of its argument.
/// @param application_name  Names the instance, the log file and the main window's class. Null: no
///        single-instance check, and the log goes to standard error.
/// @param data_variable     Names an environment variable with the data path; may be null.
/// @param argv              argv[0] is the program's path.
/// @return False when another instance is running, which then has been brought to the front and can
///         read this command line with ov_get_instance_update(). Nothing was started: exit at once,
///         without ov_closedown().
ORSIN_API bool ov_initialize(char* application_name, const char* data_variable, int argc,
                             char** argv);

/// Starts what small tools need: no instance check, no log file (the log goes to standard error at
/// warning level), no report, no change of priority, no executor. Returns true.
///
/// @param application_name  Ignored.
/// @param create_pools      Also makes the standard heaps.
ORSIN_API bool ov_fast_initialize(const char* application_name, bool create_pools);

/// Takes everything down again and writes the closing line; starts the program anew when
/// RA_ActivateRestartProcess() was called. No other service may be used afterwards.
ORSIN_API void ov_closedown();

/// Whether a second instance was started since the last call, and its command line.
///
/// @param destination  At least 260 bytes; written (padded with zeros; without a terminator when
/// all
///        260 are used) only when the result is 1.
/// @return 1 when there was one; only the latest is kept.
ORSIN_API int ov_get_instance_update(char* destination);

/// Copies the program's path, at most `size` bytes. False when it is empty.
ORSIN_API bool ov_modulename(char* destination, int size);

/// The computer's network name; "???", cut to fit, and false when the system does not tell or the
/// buffer is null or of size 0. Windows: GetComputerNameA.
ORSIN_API bool ov_computername(char* destination, std::size_t size);

/// Splits a command line at blanks and tabs outside double quotes.
///
/// n backslashes before a quote give n/2 of them; an odd one makes the quote literal. Inside quotes
/// two quotes give one.
/// @param program  Becomes argv[0]; copied.
/// @param argc     Receives the number of arguments.
/// @param argv     Receives the vector, ended by null; one block that the caller releases with
///        free(). Null, with argc 0, when memory is exhausted.
ORSIN_API void setargv(char* program, char* command_line, int* argc, char*** argv);

/// A filter for the host's outermost structured exception handler: writes a fatal-error block with
/// the calling thread's name to the log.
///
/// @param information  The platform's exception pointers; not looked at.
/// @return 1: execute the handler.
ORSIN_API int orsinExceptionFilter(int code, void* information);

// ---------------------------------------------------------------------------------------------
// Restart
// ---------------------------------------------------------------------------------------------

/// Asks closedown to start the program again with the same arguments. Returns 1.
ORSIN_API int RA_ActivateRestartProcess();

/// 1 if this process was started with "-restart" or has waited for a predecessor, else 0.
ORSIN_API int RA_CheckProcessWasRestarted();

/// Start-up's part of the restart: waits until a predecessor that is closing down has ended.
/// Returns 1.
ORSIN_API int RA_WaitForPreviousProcessFinish();

/// Closedown's part of the restart: gives the successor up to two seconds. 1 when the time was
/// over.
ORSIN_API int RA_DoRestartProcessFinish();

// ---------------------------------------------------------------------------------------------
// Paths, set by start-up. They point into the library's own storage; empty before it.
// ---------------------------------------------------------------------------------------------

ORSIN_API const char* file_get_code();              ///< Where the program is installed.
ORSIN_API const char* file_get_data();              ///< Where its settings and logs live.
ORSIN_API const char* file_get_default_settings();  ///< The settings it was installed with.
ORSIN_API const char* file_get_logfile();           ///< The log; empty on standard error.

// ---------------------------------------------------------------------------------------------
// Processors and the floating-point unit
// ---------------------------------------------------------------------------------------------

/// Copies what start-up found out about the processors.
///
/// @param count     Physical cores.
/// @param ht_count  Logical processors.
/// @param name      At least 128 bytes.
/// @param features  Bits: 0x1 MMX, 0x2 SSE, 0x4 SSE2, 0x8 SSE3, 0x10 SSSE3, 0x20 SSE4.1, 0x40
///        SSE4.2, 0x80 AVX, 0x100 FMA.
/// @param ht_state  0 not capable of hyper-threading, 1 enabled, 2 disabled; 0xFFFFFFFF before
///        start-up.
/// @return 1.
ORSIN_API int ov_cpu_info(unsigned int* count, unsigned int* ht_count, char* name,
                          unsigned int* features, unsigned int* ht_state);

/// The asked feature bits that the processor has.
ORSIN_API unsigned int ov_cpu_support_feature(unsigned int mask);

/// Kind 0: physical cores. Any other kind: logical processors.
ORSIN_API int mp_get_numcpu(int kind);

/// The index itself when there is such a core, else -1.
ORSIN_API int mp_cpu_id(int index);

/// Records the calling thread's floating-point mode as the library's, once; reports its precision.
///
/// @param report_change  Also reports a precision other than 64 bits as changed, though the mode
///        itself stays.
ORSIN_API void fpu_setup(bool report_change);

/// Puts denormal control, exception mask and rounding of the calling thread back to the recorded
/// mode; precision stays.
ORSIN_API void fpu_default_mode();

/// True when the calling thread's mode is the recorded one; otherwise restores it as
/// fpu_default_mode() does and returns false.
ORSIN_API bool fpu_check();
