// What the transfer layer asks of the platform. io_win.cpp answers.
#pragma once

#include <cstdint>

namespace orsin::port {

/// The system's record of an asynchronous transfer; opaque, and at a fixed place while it runs.
struct TransferRecord {
  alignas(8) unsigned char storage[32];
};

enum class EventWait { kSignalled, kTimedOut, kCompletionRoutine, kFailed };
constexpr std::uint32_t kWaitForever = 0xFFFFFFFF;

/// Manual-reset events, not signalled at first; null when the system has none left. A transfer may be
/// started without one.
[[nodiscard]] void* create_event() noexcept;
void close_event(void* event) noexcept;
void reset_event(void* event) noexcept;

/// Alertable: a completion routine of this thread may end the wait.
[[nodiscard]] EventWait wait_for_event(void* event, std::uint32_t timeout_ms) noexcept;

// Error codes that the rules name.
constexpr std::uint32_t kErrorPathNotFound = 3;
constexpr std::uint32_t kErrorSharingViolation = 32;
constexpr std::uint32_t kErrorEndOfFile = 38;
constexpr std::uint32_t kErrorInvalidParameter = 87;
constexpr std::uint32_t kErrorAlreadyExists = 183;
constexpr std::uint32_t kErrorNameTooLong = 206;
constexpr std::uint32_t kErrorIncomplete = 996;
constexpr std::uint32_t kErrorPending = 997;
constexpr std::uint32_t kErrorNoAccess = 998;

/// How a transfer started: completed at once with so many bytes, or with an error code, which for a
/// running transfer is kErrorPending. Also the thread's last error.
struct TransferStart {
  bool is_complete = false;
  std::uint32_t bytes = 0;
  std::uint32_t error = 0;
};

/// Marks a record as running before its transfer is issued: until then a look at the record, or at
/// the event, would find the transfer before it.
void arm_record(TransferRecord& record) noexcept;

/// After a start that failed the record no longer counts as running.
[[nodiscard]] TransferStart start_read(void* file, void* buffer, std::uint64_t offset,
                                       std::uint32_t size, TransferRecord& record,
                                       void* event) noexcept;
[[nodiscard]] TransferStart start_write(void* file, const void* buffer, std::uint64_t offset,
                                        std::uint32_t size, TransferRecord& record,
                                        void* event) noexcept;

/// True once the system has filled in the record's status; costs no system call.
[[nodiscard]] bool is_complete(const TransferRecord& record) noexcept;

/// The bytes of a transfer that has ended; false when it failed or still runs (see the last error).
[[nodiscard]] bool transfer_result(void* file, TransferRecord& record,
                                   std::uint32_t& bytes) noexcept;

/// All of the handle's, whichever thread started them; they still end, as failed.
void cancel_transfers(void* file) noexcept;

struct OpenMode {
  bool read = false;
  bool write = false;
  bool share_read = false;
  bool create = false;  // Open or create; otherwise the file must exist.
  bool unbuffered = false;
  bool overlapped = false;
  bool write_through = false;
};

/// The invalid handle, -1, on failure. The last error is always set: 0, or why it failed, or that
/// the file existed.
[[nodiscard]] void* open_file(const unsigned short* name, const OpenMode& mode) noexcept;
void close_file(void* file) noexcept;

[[nodiscard]] bool get_file_size(void* file, std::uint64_t& size) noexcept;
[[nodiscard]] bool set_file_size(void* file, std::uint64_t size) noexcept;
[[nodiscard]] bool zero_range(void* file, std::uint64_t size) noexcept;

/// The capacity of the volume with this root, as in "C:\"; false on failure.
[[nodiscard]] bool volume_capacity(const char* root, std::uint64_t& bytes) noexcept;

}  // namespace orsin::port
