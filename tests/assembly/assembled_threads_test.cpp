// The threads that the library starts by itself, and logging beside every other lock.
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>

#include "base/win/windows.h"
#include "orsincore/orsincore.h"
#include "tests/assembly/running_library.h"

#include <tlhelp32.h>

namespace orsin {
namespace {

using test::kWorkers;

constexpr unsigned kDeadlineMs = 60000;  // Only to end a test that hangs.

// How many threads this process has.
int thread_count() {
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof(entry);
  int count = 0;
  for (BOOL more = Thread32First(snapshot, &entry); more != 0;
       more = Thread32Next(snapshot, &entry)) {
    count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
  }
  CloseHandle(snapshot);
  return count;
}

using Names = std::array<std::string, kWorkers>;

void write_name(Names* names, void*, void*, void*, void*, void*) {
  (*names)[static_cast<std::size_t>(smp_id())] = mp_get_thread_name();
}

TEST(AssembledThreads, WorkersAreAsManyAsTheCommandLineAsksForAndNamedByNumber) {
  Names names;
  ASSERT_EQ(smp_numprocs(), kWorkers);

  smp_exec(reinterpret_cast<void (*)()>(write_name), &names, nullptr, nullptr, nullptr, nullptr,
           nullptr);

  // Which worker takes which part is open.
  const std::set<std::string> known = {"SMP-0", "SMP-1", "SMP-2"};
  for (const std::string& name : names) {
    EXPECT_EQ(known.count(name), 1u) << name;
  }
}

class NameOfTheWorker : public OV_Thread {
 public:
  void Run() override { name = mp_get_thread_name(); }
  std::string name;
};

TEST(AssembledThreads, TheBackgroundWorkerComesWithTheFirstUse) {
  const int before = thread_count();

  NameOfTheWorker first;
  NameOfTheWorker second;
  second.Start();
  OV_Thread::Flush();

  EXPECT_EQ(thread_count(), before + 1);
  EXPECT_EQ(second.name, "OV_Worker");
  OV_Thread::Destroy();
  EXPECT_EQ(thread_count(), before);
}

void write_lines(void*) {
  for (int i = 0; i < 500; ++i) {
    msginfo("beside heaps and pages: line %d", i);
  }
}

void make_and_resize_heaps(void* failures) {
  for (int i = 0; i < 100; ++i) {
    _mheap* heap = mheap_initialize("Passing", 1024 * 1024, 4096, MHEAP_DISCARD, 0);
    void* block = nullptr;
    const bool good = heap != nullptr && mheap_alloc_lock(heap, 5000, &block) == 1 &&
                      mheap_unlock(heap, &block) == 0 &&
                      mheap_resize(heap, 2 * 1024 * 1024, 0) == 2 * 1024 * 1024;
    *static_cast<int*>(failures) += good ? 0 : 1;
    mheap_destroy(heap);
  }
}

void take_pages(void* failures) {
  for (int i = 0; i < 1000; ++i) {
    *static_cast<int*>(failures) += os_free(os_alloc(65536, 0)) ? 0 : 1;
  }
}

TEST(AssembledThreads, HeapsPagesAndTheLogAreUsedSideBySide) {
  int heap_failures = 0;
  int page_failures = 0;
  const unsigned int threads[] = {mp_start_thread("Writer", write_lines, nullptr),
                                  mp_start_thread("Heaps", make_and_resize_heaps, &heap_failures),
                                  mp_start_thread("Pages", take_pages, &page_failures)};

  for (const unsigned int thread : threads) {
    EXPECT_EQ(mp_join_thread(thread, kDeadlineMs), 1);
  }

  EXPECT_EQ(heap_failures, 0);
  EXPECT_EQ(page_failures, 0);
  const std::string log = test::run_log();
  std::size_t position = 0;
  for (int i = 0; i < 500; ++i) {
    position =
        log.find("INFO : beside heaps and pages: line " + std::to_string(i) + "\n", position);
    ASSERT_NE(position, std::string::npos) << "line " << i;
  }
}

void say_what_goes(void* data) {
  msginfo("discarded %c inside the heap's lock", *static_cast<char*>(data));
}

TEST(AssembledThreads, CodeInsideAHeapsLockMayLog) {
  void* buffer = nullptr;
  ASSERT_NE(mem_alloc_locked_buffer(&buffer, 1000000, MEM_HEAP_FRAME), nullptr);
  *static_cast<char*>(buffer) = 'x';
  mem_set_discard_callback(buffer, say_what_goes);
  ASSERT_EQ(mem_unlock_buffer(&buffer), 0);

  EXPECT_EQ(mem_clearall(MEM_HEAP_FRAME), 0);

  EXPECT_NE(test::log_line_with("discarded x inside the heap's lock"), "");
}

}  // namespace
}  // namespace orsin
