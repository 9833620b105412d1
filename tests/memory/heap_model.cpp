#include "tests/memory/heap_model.h"

#include <iterator>

namespace orsin::test {

// A smaller rest cannot hold the fields of a header.
constexpr std::uint64_t kHeaderFieldBytes = 64;

HeapModel::HeapModel(std::uint64_t region, std::uint64_t size, std::uint64_t alignment, int mode,
                     int owners)
    : region_(region),
      alignment_(alignment),
      header_size_(alignment < 64 ? alignment - 64 % alignment + 64 : alignment),
      total_size_(size / alignment * alignment),
      mode_(mode),
      pointers_(static_cast<std::size_t>(owners), kNull) {
  blocks_.push_back({.size = total_size_ - header_size_});
}

std::uint64_t HeapModel::offset_of(Index index) const {
  std::uint64_t offset = 0;
  for (Index i = 0; i < index; ++i) {
    offset += blocks_[i].size;
  }
  return offset;
}

std::uint64_t HeapModel::end_offset() const {
  return offset_of(blocks_.size());
}

std::optional<HeapModel::Index> HeapModel::with_data_at(std::uint64_t data_offset) const {
  std::uint64_t offset = header_size_;
  for (Index i = 0; i < blocks_.size(); offset += blocks_[i].size, ++i) {
    if (offset == data_offset && blocks_[i].data == region_ + offset) {
      return i;
    }
  }
  return std::nullopt;
}

std::optional<HeapModel::Index> HeapModel::of_owner(int owner) const {
  for (Index i = 0; i < blocks_.size(); ++i) {
    if (blocks_[i].owner == owner) {
      return i;
    }
  }
  return std::nullopt;
}

void HeapModel::absorb_following(Index index) {
  while (index + 1 < blocks_.size() && !blocks_[index + 1].is_used) {
    blocks_[index].size += blocks_[index + 1].size;
    blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(index) + 1);
  }
}

void HeapModel::throw_away(Index index) {
  Block& block = blocks_[index];
  if (block.has_callback) {
    callbacks.push_back(offset_of(index) + header_size_);
    block.has_callback = false;
  }
  if (block.owner != kNobody) {
    pointers_[static_cast<std::size_t>(block.owner)] = kNull;
  }
  block.owner = kNobody;
  block.data = 0;
  block.is_used = false;
  block.is_pending = false;
}

void HeapModel::release(Index index) {
  throw_away(index);
  absorb_following(index);
}

std::optional<HeapModel::Index> HeapModel::search(std::uint64_t needed, bool may_compact) {
  for (;;) {
    std::uint64_t movable = 0;
    std::optional<Index> victim;
    struct Run {
      std::optional<Index> start;
      std::uint64_t free = 0;
      std::uint64_t used = 0;
    };
    Run run;
    Run best;
    const auto end_run = [&] {
      if (needed < run.free && (!best.start || run.used < best.used)) {
        best = run;
      }
      run = Run{};
    };

    for (Index i = 0; i < blocks_.size(); ++i) {
      if (!blocks_[i].is_used) {
        absorb_following(i);
        if (blocks_[i].size >= needed) {
          return i;
        }
      }
      const Block& block = blocks_[i];
      if (block.is_pinned()) {
        end_run();
        continue;
      }
      movable += block.size;
      if (block.is_used) {
        if (!victim || block.last_use < blocks_[*victim].last_use) {
          victim = i;
        }
        if (run.free < needed) {
          run.used += block.size;
        }
      } else {
        run.start = run.start.value_or(i);
        run.free += block.size;
      }
    }
    end_run();

    if (needed > movable) {
      return std::nullopt;
    }
    if (may_compact && best.start && needed <= best.free) {
      Index followed = victim.value_or(blocks_.size());
      if (const auto result = compact(*best.start, needed, followed); result) {
        return *result;
      }
      if (victim) {
        victim = followed;
      }
    }
    if (!victim) {
      return std::nullopt;
    }
    release(*victim);
    if (blocks_[*victim].size >= needed) {
      return victim;
    }
  }
}

// Outer nothing: the end was reached. Inner nothing: the search is over.
std::optional<std::optional<HeapModel::Index>> HeapModel::compact(Index start, std::uint64_t needed,
                                                                  Index& victim) {
  for (Index i = start; i < blocks_.size();) {
    if (blocks_[i].is_used) {
      ++i;
      continue;
    }
    if (i + 1 == blocks_.size() || !blocks_[i + 1].is_used || blocks_[i + 1].is_pinned()) {
      return std::optional<Index>();
    }
    const Block gap = {.size = blocks_[i].size};
    blocks_[i] = blocks_[i + 1];
    if (blocks_[i].owner != kNobody) {
      pointers_[static_cast<std::size_t>(blocks_[i].owner)] -= static_cast<std::int64_t>(gap.size);
    }
    blocks_[i].data -= gap.size;
    blocks_[i + 1] = gap;
    if (victim == i + 1) {
      victim = i;
    }
    ++i;
    absorb_following(i);
    if (blocks_[i].size >= needed) {
      return std::optional<Index>(i);
    }
  }
  return std::nullopt;
}

int HeapModel::allocate(int owner, std::uint64_t size) {
  const std::uint64_t needed = (size + header_size_ + alignment_ - 1) / alignment_ * alignment_;
  std::optional<Index> found = search(needed, mode_ == 1);
  if (!found && mode_ == 0) {
    found = search(needed, true);
  }
  if (!found) {
    return -1;
  }
  const Index i = *found;
  if (blocks_[i].size > header_size_ + needed) {
    const Block rest = {.size = blocks_[i].size - needed};
    blocks_[i].size = needed;
    blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(i) + 1, rest);
  }
  Block& block = blocks_[i];
  block.is_used = true;
  block.owner = owner;
  block.data = region_ + offset_of(i) + header_size_;
  block.ex_locks = 0;
  block.locks = 1;
  block.last_use = clock_ + 1;
  clock_ += 2;
  pointers_[static_cast<std::size_t>(owner)] =
      static_cast<std::int64_t>(offset_of(i) + header_size_);
  return 1;
}

int HeapModel::lock(int owner) {
  const std::optional<Index> index = of_owner(owner);
  if (!index) {
    return -1;
  }
  blocks_[*index].last_use = clock_++;
  return static_cast<int>(++blocks_[*index].locks);
}

int HeapModel::keep(int owner) {
  const std::optional<Index> index = of_owner(owner);
  if (!index) {
    return -1;
  }
  blocks_[*index].last_use = clock_++;
  return static_cast<int>(blocks_[*index].locks);
}

int HeapModel::unlock(int owner) {
  const std::optional<Index> index = of_owner(owner);
  if (!index) {
    return -1;
  }
  Block& block = blocks_[*index];
  if (block.locks == 0) {
    return 0;
  }
  block.last_use = clock_++;
  return static_cast<int>(--block.locks);
}

int HeapModel::free(int owner) {
  const std::optional<Index> index = of_owner(owner);
  if (!index || blocks_[*index].locks > 0) {
    return -1;
  }
  Block& block = blocks_[*index];
  if (block.ex_locks == 0) {
    release(*index);
    return 1;
  }
  block.is_pending = true;
  block.owner = kNobody;
  pointers_[static_cast<std::size_t>(owner)] = kNull;
  return 1;
}

std::int64_t HeapModel::lock_ex(std::uint64_t offset) {
  if (offset == 0 || offset >= end_offset()) {
    return kNull;
  }
  const std::uint64_t address = region_ + offset;
  std::uint64_t tried = address / alignment_ * alignment_;
  for (int i = 0; i < 8 && tried > region_; ++i, tried -= alignment_) {
    if (const auto index = with_data_at(tried - region_); index) {
      ++blocks_[*index].ex_locks;
      return static_cast<std::int64_t>(tried - region_);
    }
  }
  Index index = 0;
  std::uint64_t begin = 0;
  while (begin + blocks_[index].size <= offset) {
    begin += blocks_[index].size;
    ++index;
  }
  ++blocks_[index].ex_locks;
  return static_cast<std::int64_t>(begin + header_size_);
}

int HeapModel::unlock_ex(std::uint64_t data_offset) {
  const std::optional<Index> index = with_data_at(data_offset);
  if (!index || blocks_[*index].ex_locks == 0) {
    return 0;
  }
  --blocks_[*index].ex_locks;
  if (blocks_[*index].is_pending) {
    release(*index);
  }
  return 1;
}

void HeapModel::set_callback(std::uint64_t data_offset) {
  if (const auto index = with_data_at(data_offset); index) {
    blocks_[*index].has_callback = true;
  }
}

void HeapModel::clear_all() {
  for (Index i = 0; i < blocks_.size(); ++i) {
    if (!blocks_[i].is_pinned() && blocks_[i].is_used) {
      throw_away(i);
    }
  }
  validate();
}

void HeapModel::validate() {
  const auto is_open = [this](Index i) { return !blocks_[i].is_used && !blocks_[i].is_pinned(); };
  for (Index i = 0; i + 1 < blocks_.size();) {
    if (is_open(i) && is_open(i + 1)) {
      blocks_[i].size += blocks_[i + 1].size;
      blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    } else {
      ++i;
    }
  }
}

bool HeapModel::can_grow_to(std::uint64_t size) const {
  return size / alignment_ * alignment_ > total_size_;
}

void HeapModel::resize(std::uint64_t region, std::uint64_t size) {
  const std::uint64_t total = size / alignment_ * alignment_;
  for (Block& block : blocks_) {
    // A block whose free is pending keeps the address it had in the old region.
    if (block.owner != kNobody) {
      block.data = block.data - region_ + region;
    }
  }
  region_ = region;
  const std::uint64_t grown = total - total_size_;
  if (grown >= header_size_ + kHeaderFieldBytes) {
    blocks_.push_back({.size = grown - header_size_});
  }
  total_size_ = total;
}

std::uint64_t HeapModel::free_bytes() const {
  std::uint64_t sum = 0;
  for (const Block& block : blocks_) {
    sum += block.is_used ? 0 : block.size;
  }
  return sum;
}

std::uint64_t HeapModel::freeable_bytes() const {
  std::uint64_t sum = 0;
  for (const Block& block : blocks_) {
    sum += block.is_used && block.is_pinned() ? 0 : block.size;
  }
  return sum;
}

}  // namespace orsin::test
