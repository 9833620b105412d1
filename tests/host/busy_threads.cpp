#include "tests/host/busy_threads.h"

#include <array>
#include <atomic>
#include <cstdlib>

#include "orsincore/orsincore.h"

namespace orsin::test {
namespace {

constexpr int kThreads = 4;
constexpr int kRoundsMin = 20;  // Before closedown begins, all of them are at it.

using Round = void (*)();

struct BusyThread {
  Round round = nullptr;
  std::atomic<int> rounds = 0;
};

constinit std::array<BusyThread, kThreads> threads;

void log_lines() {
  msginfo("%s is still at it", mp_get_thread_name());
  msginfo("and so are the others");
}

void list_folder() {
  flist_delete(flist_new(file_get_data(), 1));
}

void open_plugin() {
  if (void* plugin = ov_open_library(std::getenv("ORSIN_TEST_PLUGIN"), 0)) {
    ov_close_library(plugin, false);
  }
}

// The bytes are left alone: they are the system's again as soon as closedown has freed the heaps.
void allocate_block() {
  void* handle = nullptr;
  if (mem_alloc_locked_buffer(&handle, 64 * 1024, MEM_HEAP_FRAME) != nullptr) {
    mem_free_locked_buffer(&handle);
  }
  os_free(os_alloc(64 * 1024, 0));
}

void transfer_file() {
  alignas(4096) thread_local std::array<unsigned char, 8192> bytes;
  char module[260] = {};
  ov_modulename(module, sizeof(module));
  void* file = io_open64(module, 0, false, true, true);
  static_cast<void>(io_read64(file, bytes.data(), 0, bytes.size()));
  io_close64(file);
}

// Splits each read into pieces, and makes a reader for each.
void read_file() {
  constexpr unsigned long long kBreak = 65537;
  constexpr unsigned long long kBytes = 4 * kBreak / 4096 * 4096;
  char module[260] = {};
  ov_modulename(module, sizeof(module));
  static_cast<void>(fReadBuffer());
  fReadBuffer reader;
  fReadBuffer::set_xfer_breakvalue(kBreak);
  alignas(4096) thread_local std::array<unsigned char, kBytes> bytes;
  if (reader.open_file(module, true, false, false)) {
    static_cast<void>(reader.read_raw_bytes(bytes.data(), 0, bytes.size(), bytes.size()));
  }
}

class NoWork : public OV_Thread {};

// Each is the first, which starts the background worker, or finds another's.
void work_in_the_background() {
  static NoWork* const never_deleted = new NoWork;  // Outlives every worker.
  const NoWork starts_the_worker;
  never_deleted->Start();
  OV_Thread::Flush();
  OV_Thread::Destroy();
}

Round round_of(const std::string& work) {
  if (work == "log") {
    return log_lines;
  }
  if (work == "list") {
    return list_folder;
  }
  if (work == "open") {
    return open_plugin;
  }
  if (work == "allocate") {
    return allocate_block;
  }
  if (work == "read") {
    return read_file;
  }
  if (work == "work") {
    return work_in_the_background;
  }
  return work == "transfer" ? transfer_file : nullptr;
}

void work_for_ever(void* argument) {
  auto& self = *static_cast<BusyThread*>(argument);
  for (;;) {
    self.round();
    self.rounds.fetch_add(1);
  }
}

}  // namespace

bool start_busy_threads(const std::string& work) {
  const Round round = round_of(work);
  if (round == nullptr) {
    return false;
  }
  for (BusyThread& thread : threads) {
    thread.round = round;
    mp_start_thread("Busy", work_for_ever, &thread);
  }
  for (const BusyThread& thread : threads) {
    while (thread.rounds.load() < kRoundsMin) {
      mp_yield();
    }
  }
  return true;
}

bool do_busy_round(const std::string& work) {
  const Round round = round_of(work);
  if (round != nullptr) {
    round();
  }
  return round != nullptr;
}

}  // namespace orsin::test
