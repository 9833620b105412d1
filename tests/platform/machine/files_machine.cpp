// Opening and measuring files, and transfers without overlap, on a simulated disk.
#include <algorithm>
#include <cstring>

#include "base/new_file_port.h"
#include "files/io_port.h"
#include "files/whole_file_port.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "tests/platform/machine/machine.h"

namespace orsin::port {

using namespace orsin::simulation;

namespace {

constexpr std::uint32_t kSettable = 0x3127;

}  // namespace

void* open_file(const unsigned short* name, const OpenMode& mode) noexcept {
  Call call("open file");
  char path[1024];
  ov_utf16_to_utf8(name, path, sizeof(path));
  if (call.is_refused({kErrorAccessDenied, kErrorSharingViolation, kErrorNetworkNameGone})) {
    return io_invalid_handle();
  }
  std::shared_ptr<OpenedFile> file;
  bool existed = false;
  if (!call.answer(machine().disk.open(path, mode, file, existed))) {
    return io_invalid_handle();
  }
  call.set_last_error(mode.create && existed ? kErrorAlreadyExists : 0);
  return machine().handles.open(file);
}

void close_file(void* handle) noexcept {
  Call call("close file");
  ORSIN_EXPECT(machine().handles.get<OpenedFile>(handle)->transfers_in_flight == 0,
               "a file is closed while transfers of it run");
  machine().handles.close(handle);
}

bool get_file_size(void* handle, std::uint64_t& size) noexcept {
  Call call("get file size");
  if (call.is_refused({kErrorNetworkNameGone})) {
    return false;
  }
  size = machine().handles.get<OpenedFile>(handle)->node->content.size();
  return true;
}

bool set_file_size(void* handle, std::uint64_t size) noexcept {
  Call call("set file size", size);
  const auto file = machine().handles.get<OpenedFile>(handle);
  if (call.is_refused({kErrorDiskFull, kErrorNetworkNameGone})) {
    return false;
  }
  return call.answer(file->mode.write ? Disk::resize(*file->node, size) : kErrorAccessDenied);
}

bool zero_range(void* handle, std::uint64_t /*size*/) noexcept {
  Call call("zero range");
  static_cast<void>(machine().handles.get<OpenedFile>(handle));
  return !call.is_refused({kErrorNotSupported});
}

bool volume_capacity(const char* /*root*/, std::uint64_t& bytes) noexcept {
  Call call("volume capacity");
  bytes = std::uint64_t{1} << 40;
  return !call.is_refused({kErrorNotReady});
}

bool read_open_facts(void* handle, FileFacts& facts) noexcept {
  Call call("read open facts");
  const Node& node = *machine().handles.get<OpenedFile>(handle)->node;
  if (call.is_refused({kErrorNetworkNameGone})) {
    return false;
  }
  facts = {node.attributes, node.content.size(), node.write_time};
  return true;
}

bool write_open_facts(void* handle, const FileFacts& facts) noexcept {
  Call call("write open facts");
  Node& node = *machine().handles.get<OpenedFile>(handle)->node;
  if (call.is_refused({kErrorAccessDenied, kErrorNetworkNameGone})) {
    return false;
  }
  node.attributes = facts.attributes & kSettable;
  node.write_time = facts.write_time;
  return true;
}

bool read_on(void* handle, void* buffer, std::uint32_t size, std::uint32_t& bytes) noexcept {
  Call call("read on", size);
  OpenedFile& file = *machine().handles.get<OpenedFile>(handle);
  bytes = 0;
  if (call.is_refused({kErrorChecksum, kErrorDevice, kErrorNetworkNameGone})) {
    return false;
  }
  const Content& content = file.node->content;
  if (file.position < content.size()) {
    bytes =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(size, content.size() - file.position));
    bytes = std::max(machine().shortened(bytes), 1U);
    content.read(file.position, buffer, bytes);
    file.position += bytes;
  }
  return true;
}

bool write_on(void* handle, const void* data, std::uint32_t size, std::uint32_t& bytes) noexcept {
  Call call("write on", size);
  OpenedFile& file = *machine().handles.get<OpenedFile>(handle);
  bytes = 0;
  if (call.is_refused({kErrorDiskFull, kErrorDevice, kErrorNetworkNameGone})) {
    return false;
  }
  const std::uint32_t count = machine().shortened(size);
  if (!call.answer(Disk::write(*file.node, file.position, data, count))) {
    return false;
  }
  bytes = count;
  file.position += count;
  return true;
}

Creation create_new_file(const char* path) noexcept {
  Call call("create new file");
  if (call.is_refused({kErrorAccessDenied, kErrorDiskFull})) {
    return Creation::kRefused;
  }
  std::shared_ptr<Node> node;
  const std::uint32_t error = machine().disk.make_file(path, node);
  if (error == kErrorFileExists) {
    return Creation::kExists;
  }
  return call.answer(error) ? Creation::kCreated : Creation::kRefused;
}

bool rename_new_file(const char* from, const char* to) noexcept {
  Call call("rename new file");
  return !call.is_refused({kErrorAccessDenied, kErrorSharingViolation}) &&
         call.answer(machine().disk.rename(from, to, true));
}

// Kept when it cannot be removed: nobody is told.
void remove_new_file(const char* path) noexcept {
  Call call("remove new file");
  static_cast<void>(machine().disk.remove_file(path));
}

}  // namespace orsin::port
