// The buffered reader's ring; see read_steps.h.
#include <algorithm>

#include "base/rounding.h"
#include "files/read_steps.h"
#include "files/transfer_slots.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

// Where a reader stands that has found the end of a file of unknown size.
constexpr unsigned long long kNowhere = ~0ULL;

}  // namespace

struct ReadSteps::Ring {
  static bool reads_ahead(const fReadBuffer& reader) {
    return reader.read_ahead_ && reader.buffer_count_ >= 2 && !reader.size_is_unknown_;
  }

  // Bytes to ask for, a multiple of the alignment, and the bytes of the file in them.
  static unsigned long long request_size(const fReadBuffer& reader, unsigned long long offset,
                                         unsigned long long wanted, unsigned long long& expected) {
    if (reader.size_is_unknown_) {
      expected = offset != kNowhere ? wanted : 0;
      return expected;
    }
    const unsigned long long left = offset < reader.file_size_ ? reader.file_size_ - offset : 0;
    expected = std::min(wanted, left);
    return std::min(wanted, rounded_up(left, reader.alignment_));
  }

  static bool start_read(fReadBuffer& reader, int index, unsigned long long offset,
                         unsigned long long wanted) {
    Slot& slot = reader.slots_[index];
    unsigned long long expected = 0;
    const unsigned long long size = request_size(reader, offset, wanted, expected);
    if (size == 0 || !start_own_read(reader.reads_[index], reader.file_, slot.buffer, offset, size,
                                     &slot.ticket)) {
      return false;
    }
    slot.pending = expected;
    reader.read_ahead_offset_ = offset + size;
    return true;
  }

  static Fetched complete_slot(fReadBuffer& reader, int index) {
    Slot& slot = reader.slots_[index];
    std::uint64_t bytes = 0;
    const bool succeeded = finish_own(reader.reads_[index], bytes);
    const unsigned long long expected = slot.pending;
    slot.ticket = -1;
    slot.pending = 0;
    return succeeded ? Fetched{std::min<unsigned long long>(bytes, expected), bytes < expected}
                     : Fetched{};
  }

  static Fetched fetch_in_flight(fReadBuffer& reader) {
    const int after_next = slot_after(reader, reader.next_);
    if (reads_ahead(reader) && reader.slots_[after_next].pending == 0) {
      static_cast<void>(issue_read(reader, after_next));
    }
    const Fetched fetched = complete_slot(reader, reader.next_);
    reader.current_ = reader.next_;
    reader.next_ = after_next;
    return fetched;
  }

  // At the beginning of a file all buffers are set going at once.
  static bool issue_first_reads(fReadBuffer& reader) {
    if (reader.buffer_count_ < 2 || reader.size_is_unknown_ || reader.position_ != 0 ||
        reader.first_read_size_ != reader.buffer_size_) {
      return false;
    }
    int issued = 0;
    while (issued < reader.buffer_count_ && issue_read(reader, issued)) {
      ++issued;
    }
    if (issued == 0) {
      return false;
    }
    reader.next_ = 0;
    return true;
  }

  static Fetched fetch_now(fReadBuffer& reader) {
    const unsigned long long wanted =
        reader.position_ == 0 ? reader.first_read_size_ : reader.buffer_size_;
    if (!start_read(reader, reader.current_, reader.position_, wanted)) {
      return {};
    }
    reader.next_ = slot_after(reader, reader.current_);
    return complete_slot(reader, reader.current_);
  }
};

void ReadSteps::drop_reads(fReadBuffer& reader) {
  for (Slot& slot : reader.slots_) {
    if (slot.ticket != -1) {
      std::uint64_t bytes = 0;
      static_cast<void>(finish_own(reader.reads_[&slot - reader.slots_], bytes));
    }
    slot.ticket = -1;
    slot.pending = 0;
  }
}

int ReadSteps::slot_after(const fReadBuffer& reader, int slot) {
  return reader.buffer_count_ > 1 ? (slot + 1) % reader.buffer_count_ : 0;
}

bool ReadSteps::issue_read(fReadBuffer& reader, int index) {
  return Ring::start_read(reader, index, reader.read_ahead_offset_, reader.buffer_size_);
}

ReadSteps::Fetched ReadSteps::fetch(fReadBuffer& reader) {
  if (reader.slots_[reader.next_].pending > 0 || Ring::issue_first_reads(reader)) {
    return Ring::fetch_in_flight(reader);
  }
  return Ring::fetch_now(reader);
}

void ReadSteps::read_ahead(fReadBuffer& reader) {
  if (!Ring::reads_ahead(reader)) {
    return;
  }
  for (int i = 0; i < reader.buffer_count_ - reader.blocks_kept_; ++i) {
    const int index = (reader.next_ + i) % reader.buffer_count_;
    if (reader.slots_[index].pending == 0 && !issue_read(reader, index)) {
      return;
    }
  }
}

// What a pipe has given cannot be had twice, so without a size there is no going back to a unit.
void ReadSteps::go_to(fReadBuffer& reader, unsigned long long offset, unsigned long long unit) {
  drop_reads(reader);
  reader.skip_ = reader.size_is_unknown_ ? 0 : offset % unit;
  reader.position_ = reader.read_ahead_offset_ = offset - reader.skip_;
}

void ReadSteps::end_file(fReadBuffer& reader) {
  reader.block_bytes_ = 0;
  reader.cursor_ = reader.block_end_ = nullptr;
}

void ReadSteps::end_reading(fReadBuffer& reader) {
  // The blocks behind a failed one must not pass for it.
  drop_reads(reader);
  const unsigned long long reached = reader.position_ + reader.skip_;
  if (reached < reader.file_size_) {
    msgerror("FileBuffer: '%s' ended at %llu of %llu bytes", reader.name_, reached,
             reader.file_size_);
  }
  reader.position_ = reader.read_ahead_offset_ =
      reader.size_is_unknown_ ? kNowhere : reader.file_size_;
  reader.skip_ = 0;
  end_file(reader);
}

}  // namespace orsin
