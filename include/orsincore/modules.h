/// @file
/// The libraries and programs that a process brings in while it runs.
///
/// A null name or program is none, which fails like one that is missing.
#pragma once

#include "orsincore/base.h"

// ---------------------------------------------------------------------------------------------
// Libraries loaded while the program runs
// ---------------------------------------------------------------------------------------------

/// Opens a library (a plug-in, a supporting module) and counts who uses it.
///
/// The name is looked for as file_find() does, and else handed to the system. A name that is open
/// already, spelled exactly so, gives the same handle. A load that changes the floating-point mode
/// is reported at DEBUG level and undone; one of more than a second is a warning.
/// @param name   At most 260 bytes with the terminator.
/// @param flags  Bit 0: the library's own directory is searched for what it depends on, during the
///        load in the whole process. What the host had set with SetDllDirectory() is set again, but
///        for an empty directory: the system does not tell that from none. A host that keeps the
///        current directory out of all searches uses SetDefaultDllDirectories() for it.
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
///         has no such entry; -2 when the entry threw anything: a processor fault, an exception
///         of whatever compiler's code, or a code that software raised.
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
/// The program shares the caller's standard streams and environment; but where standard error is the
/// log, a program that is not waited for gets none of it: it may outlive the caller, and would hold
/// the log's file. Each argument arrives as it
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
