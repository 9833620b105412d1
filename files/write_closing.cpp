// The end of a written file: cut to its data, and judged by what is really there.
#include "base/log_port.h"
#include "files/io_port.h"
#include "files/transfer_slots.h"
#include "files/write_steps.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "orsincore/threads.h"

namespace orsin {
namespace {

// Indexers and scanners look at a file as soon as it is closed, for moments.
constexpr int kReopenTries = 20;
constexpr long long kReopenPauseNs = 100000000;

// Before anything is closed: the reason is the last error.
void log_not_cut() {
  msg_os_error("Writebuffer set FileSize");
}

void* reopen(const char* name) {
  port::OpenMode plain;
  plain.write = true;
  for (int i = 1;; ++i) {
    void* file = open_by_name(name, plain);
    const bool is_in_use =
        file == io_invalid_handle() && port::last_system_error() == port::kErrorSharingViolation;
    if (!is_in_use || i == kReopenTries) {
      return file;
    }
    mp_timedwait(kReopenPauseNs);
  }
}

// An unbuffered handle of some file systems refuses sizes off the sector: a plain one does it.
bool cut_by_name(const char* name, unsigned long long size) {
  void* again = reopen(name);
  if (again == io_invalid_handle()) {
    log_not_cut();
    return false;
  }
  const bool is_cut = port::set_file_size(again, size);
  if (!is_cut) {
    log_not_cut();
  }
  port::close_file(again);
  return is_cut;
}

}  // namespace

// Kept on purpose: a surplus that cannot be cut off is an error line, not a failed write. All the
// data is in the file; if it counted, the next open_file() would delete it. A file that is shorter
// than its data is another matter, and so is one of which neither is known. Whoever promises an exact
// file asks for what is returned.
bool WriteSteps::finish_file(fWriteBuffer& writer) {
  std::uint64_t size = 0;
  const bool is_known = port::get_file_size(writer.file_, size);
  if (is_known && size < writer.data_end_ && writer.errors_ == 0) {  // Else it is no news.
    msgerror("Writebuffer: '%s' has %llu of %llu bytes", writer.name_,
             static_cast<unsigned long long>(size), writer.data_end_);
    ++writer.errors_;
  }
  const bool is_cut =
      (is_known && size == writer.data_end_) || io_set_filesize64(writer.file_, writer.data_end_);
  if (!is_cut && (!is_known || !writer.opened_)) {
    log_not_cut();
  }
  if (!is_cut && !is_known) {
    ++writer.errors_;
  }
  if (!writer.opened_) {
    return is_cut;
  }
  io_close64(writer.file_);
  return is_cut || cut_by_name(writer.name_, writer.data_end_);
}

}  // namespace orsin
