/// @file
/// Start-up and closedown of the process, its paths, restart, what is known of the processors, and
/// the libraries and programs that it brings in.
///
/// A null name, path or program is none, which fails like one that is missing; a null buffer takes
/// nothing.
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
/// @param destination  At least 260 bytes; written only when the result is 1, padded with zeros,
///        without a terminator when all 260 are used.
/// @return 1 when there was one; only the latest is kept. 0 for a null `destination`, and it stays.
ORSIN_API int ov_get_instance_update(char* destination);

/// Copies the program's path, at most `size` bytes. False when it is empty.
ORSIN_API bool ov_modulename(char* destination, int size);

/// The computer's network name; "???", cut to fit, and false when the system does not tell or the
/// buffer is null or of size 0. Windows: GetComputerNameW.
ORSIN_API bool ov_computername(char* destination, std::size_t size);

/// Splits a command line at blanks and tabs outside double quotes.
///
/// n backslashes before a quote give n/2 of them; an odd one makes the quote literal. Inside quotes
/// two quotes give one.
/// @param program  Becomes argv[0]; copied. Null for it or the line is an empty text.
/// @param argc     Receives the number of arguments.
/// @param argv     Receives the vector, ended by null; one block that the caller releases with
///        free(). Null, with argc 0, when memory is exhausted. A null `argc` or `argv` does nothing.
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

/// Copies what start-up found out about the processors. Null for what is not wanted.
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

// ---------------------------------------------------------------------------------------------
// Libraries loaded while the program runs
// ---------------------------------------------------------------------------------------------

/// Opens a library (a plug-in, a supporting module) and counts who uses it.
///
/// The name is looked for as file_find() does, and else handed to the system. A name that is open
/// already, spelled exactly so, gives the same handle. A load that changes the floating-point mode
/// is reported at DEBUG level and undone; one of more than a second is a warning.
/// @param name   At most 260 bytes with the terminator.
/// @param flags  Bit 0: the library's own directory is searched for what it depends on.
/// @return The system's module handle, one reference of it the caller's until ov_close_library().
///         Null when it cannot be loaded: after a warning with the system's reason when there is
///         such a file, silently when there is none.
/// Any thread; loads one library at a time. Windows: LoadLibraryExW, SetDllDirectoryW.
ORSIN_API void* ov_open_library(const char* name, int flags);

/// Gives one reference back; the last one unloads the library. An unknown handle does nothing.
///
/// @param reserved  Ignored.
/// Any thread. Windows: FreeLibrary.
ORSIN_API void ov_close_library(void* module, bool reserved);

/// The address of a name that a library exports; null when it does not. Any thread.
/// Windows: GetProcAddress.
ORSIN_API void* ov_resolve_symbol(void* module, const char* symbol);

/// Loads a library, calls int entry(int argc, char** argv) in it and unloads it again.
///
/// @param module  The library's name without ".dll".
/// @param entry   Kept for ov_get_main_dll_entry_name(), so it must live as long as that is used.
/// @return What the entry returns; -1 when the library cannot be opened, or, after an error line,
///         has no such entry; -2 when the entry threw anything, a processor fault included.
/// Any thread.
ORSIN_API int ov_rundll(const char* module, const char* entry, int argc, char** argv);

/// The entry of the latest ov_rundll(), the caller's own text; null before the first. Any thread.
ORSIN_API const char* ov_get_main_dll_entry_name();

// ---------------------------------------------------------------------------------------------
// Other programs
// ---------------------------------------------------------------------------------------------

/// What became of a program.
struct ProcessResultStruct {
  bool started;   ///< It was started.
  int exit_code;  ///< Its exit code, once `exited`; -1 before. System codes are negative.
  bool exited;    ///< It has ended, and the exit code is its own.
  int reserved;   ///< Always 0.
};

/// Starts a program and, if asked, waits for its end while the caller's own loop goes on.
///
/// The program shares the caller's standard streams and environment. Each argument arrives as it
/// is given, whatever it consists of, in a program that splits its command line as C programs do.
/// @param program        Looked for along PATH; UTF-8.
/// @param argv           Ends with null; argv[0] is the program's name by convention. UTF-8.
/// @param wait           False: returns as soon as the program runs.
/// @param idle           Called once before each pause while the program runs; may be null.
/// @param idle_argument  Passed to `idle`.
/// @param result         Receives the outcome, in every case.
/// @param poll_ms        The pause, in milliseconds; 0 or less polls without a pause.
/// @return True when the program was started and, if asked, its exit code was collected; false
///         after an error line.
/// Any thread; `idle` is called on the same one. Windows: _wspawnvp, GetExitCodeProcess.
ORSIN_API bool SpawnAndLoopUntilFinished(const char* program, char* const* argv, bool wait,
                                         void (*idle)(void*), void* idle_argument,
                                         ProcessResultStruct& result, int poll_ms);
