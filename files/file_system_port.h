// What the file utilities ask of the file system. file_system_win.cpp answers.
//
// Paths are UTF-8 and are cut at 259 UTF-16 units. Failures leave the last error, and those of
// the run-time library's calls errno.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orsin::port {

constexpr std::uint32_t kAttributeHidden = 0x2;
constexpr std::uint32_t kAttributeSystem = 0x4;
constexpr std::uint32_t kAttributeDirectory = 0x10;

struct FileAttributes {
  std::uint32_t bits = 0;
  std::uint64_t write_time = 0;  // 100 ns since 1601 UTC.
  std::uint64_t size = 0;
};

[[nodiscard]] bool query_attributes(const char* path, FileAttributes& attributes) noexcept;

[[nodiscard]] bool make_directory(const char* path) noexcept;
[[nodiscard]] bool remove_directory(const char* path) noexcept;
[[nodiscard]] bool remove_file(const char* path) noexcept;

/// Fails when the new name exists.
[[nodiscard]] bool rename_file(const char* from, const char* to) noexcept;

/// The last-write time of a file opened for reading, with or without others reading it.
[[nodiscard]] bool read_write_time(const char* path, bool share, std::uint64_t& time) noexcept;

enum class SetTime { kDone, kNotOpened, kRefused };

/// Sets the last-write time alone. Opened for writing with nobody else, or for attributes only with
/// anybody.
SetTime set_write_time_alone(const char* path, std::uint64_t time) noexcept;
SetTime set_write_time_shared(const char* path, std::uint64_t time) noexcept;

[[nodiscard]] bool read_attribute_bits(const char* path, std::uint32_t& bits) noexcept;
[[nodiscard]] bool write_attribute_bits(const char* path, std::uint32_t bits) noexcept;

/// The same through the narrow-character calls, with the path in the system's code page.
[[nodiscard]] bool read_write_time_narrow(const char* path, std::uint64_t& time) noexcept;
[[nodiscard]] bool set_write_time_narrow(const char* path, std::uint64_t time) noexcept;
[[nodiscard]] bool read_attribute_bits_narrow(const char* path, std::uint32_t& bits) noexcept;
[[nodiscard]] bool write_attribute_bits_narrow(const char* path, std::uint32_t bits) noexcept;

/// An environment variable; 0 when there is none or it does not fit.
std::size_t environment_variable(const char* name, char* value, std::size_t size) noexcept;

/// Date and time texts of a time in units of 100 ns since 1601 UTC. Each returns the characters
/// written without the terminator, 0 on failure.
enum class DateStyle { kUserShort, kIso };
enum class TimeStyle { kShort24Hours, kIsoSeconds };
std::size_t date_text(std::uint64_t time, bool local, DateStyle style, char* out,
                      std::size_t size) noexcept;
std::size_t time_text(std::uint64_t time, bool local, TimeStyle style, char* out,
                      std::size_t size) noexcept;

/// The system's text for the thread's last error in the user's language; empty for 0.
void last_error_text(char* text, std::size_t size) noexcept;

}  // namespace orsin::port
