// Opening the process's log file.
#pragma once

namespace orsin {

/// Finds out the paths from the module path and opens the log below the data path, rotating the one
/// before unless this process continues it. Without an application name, and where no file can be
/// opened, the log goes to standard error.
void set_paths_and_open_log(const char* application_name, const char* data_variable,
                            bool continues_log);

}  // namespace orsin
