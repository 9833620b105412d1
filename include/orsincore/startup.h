/// @file
/// Start-up and closedown of the process and its restart; its paths, its processors and the libraries
/// and programs that it brings in come with it, from headers of their own.
///
/// A null name, path or program is none, which fails like one that is missing; a null buffer takes
/// nothing.
#pragma once

#include "orsincore/base.h"
#include "orsincore/modules.h"
#include "orsincore/paths.h"
#include "orsincore/processors.h"
#include "orsincore/threads.h"

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
