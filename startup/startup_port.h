// What start-up and its report ask of the platform. startup_win.cpp answers.
#pragma once

#include <cstddef>
#include <cstdio>

namespace orsin::port {

/// The executable's file name, UTF-8.
void module_file_name(char* path, std::size_t size) noexcept;

/// The folder for the data of all users, made if it is missing.
[[nodiscard]] bool common_application_data(char* path, std::size_t size) noexcept;

/// Whether somebody has the file open to write to it, or keeps us from doing so.
[[nodiscard]] bool is_file_written(const char* path) noexcept;

/// Copies a file, also one that somebody has open, over what the other name holds.
[[nodiscard]] bool copy_file(const char* from, const char* to) noexcept;

/// Points the process's standard-error handle at the stream's file.
void redirect_standard_error(std::FILE* stream) noexcept;

/// Closes the process's standard error if that has been done; the host's own is left alone.
void close_redirected_standard_error() noexcept;

/// The computer's network name as UTF-8; false when the system does not tell or it does not fit.
[[nodiscard]] bool computer_name(char* name, std::size_t size) noexcept;

struct Version {
  int parts[4];
};

/// The product version of the system's core library; false when it cannot be read.
[[nodiscard]] bool system_product_version(Version& version) noexcept;

struct SystemVersion {
  int major;
  int minor;
  int build;
  char service_pack[128];
};
[[nodiscard]] SystemVersion system_version() noexcept;

/// A string value of the system's registration; false when it is absent, empty or no plain string.
[[nodiscard]] bool registered(const char* value_name, char* text, std::size_t size) noexcept;

}  // namespace orsin::port
