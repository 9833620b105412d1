#include <cstdlib>
#include <cstring>

#include "core/log_port.h"
#include "memory/pages_port.h"
#include "memory/process_heap_port.h"
#include "tests/native/fake_pages.h"

namespace orsin::test {

FakePages& fake_pages() {
  static FakePages pages;
  return pages;
}

}  // namespace orsin::test

namespace orsin::port {
namespace {

constexpr std::uint64_t kPageBytes = 4096;
constexpr unsigned kRefusal = 12;

bool answer(bool refused) {
  if (refused) {
    set_last_system_error(kRefusal);
  }
  return !refused;
}

}  // namespace

void* commit_pages_top_down(std::uint64_t size) noexcept {
  test::FakePages& fake = test::fake_pages();
  if (!answer(fake.refuse_commit || size == 0 || size > fake.commit_max)) {
    return nullptr;
  }
  const std::uint64_t whole = (size + kPageBytes - 1) & ~(kPageBytes - 1);
  void* pages = std::aligned_alloc(kPageBytes, whole);
  if (pages != nullptr) {
    std::memset(pages, 0, whole);
    ++fake.live;
  }
  return pages;
}

bool release_pages(void* address) noexcept {
  std::free(address);
  --test::fake_pages().live;
  return answer(test::fake_pages().refuse_release);
}

bool pin_pages(void* /*address*/, std::uint64_t /*size*/) noexcept {
  return answer(test::fake_pages().refuse_pin);
}

bool unpin_pages(void* /*address*/, std::uint64_t /*size*/) noexcept {
  return answer(test::fake_pages().refuse_unpin);
}

std::uint32_t page_size() noexcept {
  return kPageBytes;
}

MemoryStatus memory_status() noexcept {
  return {16ULL << 30, 8ULL << 30, 100ULL << 40, 128ULL << 40};
}

AddressSpace address_space() noexcept {
  return {0x10000, 0x7FFF'FFFF'FFFF};
}

Region region_at(std::uint64_t address) noexcept {
  constexpr std::uint64_t kRegionBytes = 1ULL << 45;  // Every other one is free.
  const std::uint64_t index = address / kRegionBytes;
  return {index * kRegionBytes, kRegionBytes, index % 2 == 1};
}

void report_out_of_memory_to(OutOfMemoryReport /*report*/) noexcept {}

bool process_heap_is_valid() noexcept {
  return true;
}

std::uint64_t compact_process_heap() noexcept {
  return 4096;
}

}  // namespace orsin::port
