// Overlapped transfers on Windows handles; see files/io_port.h.
#include "files/io_port.h"

#include "base/win/windows.h"

#include <winioctl.h>

namespace orsin::port {
namespace {

constexpr DWORD kStatusPending = 0x103;
constexpr DWORD kStatusEndOfFile = 0xC0000011;

static_assert(sizeof(TransferRecord) == sizeof(OVERLAPPED));
static_assert(alignof(TransferRecord) >= alignof(OVERLAPPED));

OVERLAPPED* overlapped_of(TransferRecord& record) {
  return reinterpret_cast<OVERLAPPED*>(record.storage);
}

// The system writes the status behind the compiler's back: 32 bits, which share their place with a
// pointer, so that nothing is known of the others.
DWORD status_of(const TransferRecord& record) {
  return *reinterpret_cast<const volatile DWORD*>(record.storage);
}

void prepare(TransferRecord& record, std::uint64_t offset, void* event) {
  OVERLAPPED* overlapped = overlapped_of(record);
  overlapped->InternalHigh = 0;
  overlapped->Offset = static_cast<DWORD>(offset);
  overlapped->OffsetHigh = static_cast<DWORD>(offset >> 32);
  // The low bit keeps the completion away from a completion port; the event is signalled as ever.
  overlapped->hEvent = reinterpret_cast<HANDLE>(reinterpret_cast<ULONG_PTR>(event) | 1);
}

TransferStart started(BOOL completed, DWORD bytes, TransferRecord& record) {
  if (completed != 0) {
    return {true, bytes, 0};
  }
  DWORD error = GetLastError();
  // Some systems learn only after the start that there is nothing to read.
  if (error == ERROR_IO_PENDING && status_of(record) == kStatusEndOfFile) {
    error = ERROR_HANDLE_EOF;
    SetLastError(error);
  }
  if (error != ERROR_IO_PENDING && status_of(record) == kStatusPending) {
    overlapped_of(record)->Internal = static_cast<ULONG_PTR>(-1);  // Nothing runs.
  }
  return {false, 0, error};
}

}  // namespace

void* create_event() noexcept {
  return CreateEventA(nullptr, TRUE, FALSE, nullptr);
}

void close_event(void* event) noexcept {
  CloseHandle(event);
}

void reset_event(void* event) noexcept {
  ResetEvent(event);
}

EventWait wait_for_event(void* event, std::uint32_t timeout_ms) noexcept {
  switch (WaitForSingleObjectEx(event, timeout_ms, TRUE)) {
    case WAIT_OBJECT_0:
      return EventWait::kSignalled;
    case WAIT_TIMEOUT:
      return EventWait::kTimedOut;
    case WAIT_IO_COMPLETION:
      return EventWait::kCompletionRoutine;
    default:
      return EventWait::kFailed;
  }
}

void arm_record(TransferRecord& record) noexcept {
  overlapped_of(record)->Internal = kStatusPending;
}

TransferStart start_read(void* file, void* buffer, std::uint64_t offset, std::uint32_t size,
                         TransferRecord& record, void* event) noexcept {
  prepare(record, offset, event);
  DWORD bytes = 0;
  const BOOL completed = ReadFile(file, buffer, size, &bytes, overlapped_of(record));
  return started(completed, bytes, record);
}

TransferStart start_write(void* file, const void* buffer, std::uint64_t offset, std::uint32_t size,
                          TransferRecord& record, void* event) noexcept {
  prepare(record, offset, event);
  DWORD bytes = 0;
  const BOOL completed = WriteFile(file, buffer, size, &bytes, overlapped_of(record));
  return started(completed, bytes, record);
}

bool is_complete(const TransferRecord& record) noexcept {
  return status_of(record) != kStatusPending;
}

bool transfer_result(void* file, TransferRecord& record, std::uint32_t& bytes) noexcept {
  DWORD count = 0;
  const BOOL succeeded = GetOverlappedResult(file, overlapped_of(record), &count, FALSE);
  bytes = count;
  return succeeded != 0;
}

void cancel_transfers(void* file) noexcept {
  // Not CancelIo(), which leaves alone what other threads have started: closing would wait for it.
  CancelIoEx(file, nullptr);
}

void* open_file(const unsigned short* name, const OpenMode& mode) noexcept {
  const DWORD access =
      (mode.read ? GENERIC_READ : 0) | (mode.write ? static_cast<DWORD>(GENERIC_WRITE) : 0);
  const DWORD attributes = FILE_ATTRIBUTE_NORMAL | (mode.unbuffered ? FILE_FLAG_NO_BUFFERING : 0) |
                           (mode.overlapped ? FILE_FLAG_OVERLAPPED : 0) |
                           (mode.write_through ? FILE_FLAG_WRITE_THROUGH : 0);
  SetLastError(ERROR_SUCCESS);
  return CreateFileW(reinterpret_cast<const wchar_t*>(name), access,
                     mode.share_read ? FILE_SHARE_READ : 0, nullptr,
                     mode.create ? OPEN_ALWAYS : OPEN_EXISTING, attributes, nullptr);
}

void close_file(void* file) noexcept {
  const DWORD last_error = GetLastError();
  CloseHandle(file);
  SetLastError(last_error);
}

bool get_file_size(void* file, std::uint64_t& size) noexcept {
  LARGE_INTEGER value;
  if (GetFileSizeEx(file, &value) == 0) {
    return false;
  }
  size = static_cast<std::uint64_t>(value.QuadPart);
  return true;
}

bool set_file_size(void* file, std::uint64_t size) noexcept {
  // Not through the file pointer, which unbuffered handles accept at whole sectors only.
  FILE_END_OF_FILE_INFO end;
  end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
  return SetFileInformationByHandle(file, FileEndOfFileInfo, &end, sizeof(end)) != 0;
}

bool zero_range(void* file, std::uint64_t size) noexcept {
  FILE_ZERO_DATA_INFORMATION range = {};
  range.BeyondFinalZero.QuadPart = static_cast<LONGLONG>(size);
  OVERLAPPED overlapped = {};
  overlapped.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  DWORD bytes = 0;
  BOOL done = DeviceIoControl(file, FSCTL_SET_ZERO_DATA, &range, sizeof(range), nullptr, 0, &bytes,
                              &overlapped);
  if (done == 0 && GetLastError() == ERROR_IO_PENDING) {
    done = GetOverlappedResult(file, &overlapped, &bytes, TRUE);
  }
  close_file(overlapped.hEvent);
  return done != 0;
}

bool volume_capacity(const char* root, std::uint64_t& bytes) noexcept {
  DWORD sectors_per_cluster = 0;
  DWORD bytes_per_sector = 0;
  DWORD free_clusters = 0;
  DWORD clusters = 0;
  if (GetDiskFreeSpaceA(root, &sectors_per_cluster, &bytes_per_sector, &free_clusters, &clusters) ==
      0) {
    return false;
  }
  bytes = std::uint64_t{bytes_per_sector} * sectors_per_cluster * clusters;
  return true;
}

}  // namespace orsin::port
