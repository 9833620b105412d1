// Copies of all forms at random, beside foreign transfers and flushes, on a disk that fills up, stops
// reading, or reads short: 0 means that every destination holds what `bytes` says, from the start.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "files/transfer_slots.h"
#include "orsincore/files.h"
#include "orsincore/text.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_start.h"
#include "tests/platform/native/fake_disk.h"
#include "tests/platform/native/fake_transfers.h"
#include "tests/support/log_capture.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::below;
using test::CopyCall;
using test::fake_disk;
using test::FakeDisk;
using test::TemporaryDirectory;

class RandomCopies : public testing::Test {
 protected:
  void TearDown() override { stop_thread_table(); }

  std::string in(const std::string& name) const { return below(directory_, name.c_str()); }
  std::string content(const std::string& name) const {
    return TemporaryDirectory::read(directory_.path(name.c_str()));
  }

  // Small reads that wrap the slots round, and flushes, until the copy is over.
  void disturb(const std::atomic<bool>& is_over) const {
    void* file = io_open64(in("foreign").c_str(), 0, false, true, true);
    char bytes[512];
    for (int i = 0; !is_over; ++i) {
      int ticket = 0;
      if (io_read_async64(file, bytes, 0, sizeof(bytes), &ticket)) {
        io_complete64(file, &ticket, true);
      }
      if (i % 50 == 0) {
        io_flush64(file);
      }
    }
    io_close64(file);
  }

  // The result; the destinations that it speaks of are in `copies`.
  int copy_in_some_form(unsigned long long& bytes, std::vector<std::string>& copies) {
    const unsigned form = random_() % 4;
    if (form == 0) {
      copies = {"a"};
      return ov_filecopy(in("source").c_str(), in("a").c_str(), false, bytes);
    }
    if (form == 1) {
      copies = {"a"};
      md5_state_s md5 = {};
      return file_copy_secure(in("source").c_str(), in("a").c_str(), true, bytes, md5,
                              random_() % 2 == 0 ? 0 : 3, nullptr, nullptr);
    }
    CopyCall call{.source = in("source"), .destinations = {}};
    std::vector<std::unique_ptr<fWriteBuffer>> writers;
    fReadBuffer reader;
    for (unsigned i = 0, count = 1 + random_() % 4; i < count; ++i) {
      copies.emplace_back(1, static_cast<char>('a' + i));
      call.destinations.push_back(in(copies.back()));
      if (form == 3) {
        writers.push_back(std::make_unique<fWriteBuffer>(io_invalid_handle(), true));
        writers.back()->set_buffer(static_cast<int>(8192U << random_() % 8), random_() % 2 == 0);
        call.writers.push_back(writers.back().get());
      }
    }
    if (random_() % 2 == 0) {
      reader.cfg_buffers(1 + static_cast<int>(random_() % 8), 8192U << random_() % 8, 8192);
      call.reader = &reader;
    }
    const int result = call.run();
    bytes = call.bytes;
    return result;
  }

  TemporaryDirectory directory_;
  test::FakeDiskScope disk_;
  test::IoStart io_;
  test::LogCapture log_;
  std::mt19937 random_{20261122};
};

TEST_F(RandomCopies, ThatSucceedHaveCopiedEveryByteInItsPlace) {
  directory_.write("foreign", std::string(512, 'f'));
  int succeeded = 0;
  int refused = 0;
  for (int round = 0; round < 120; ++round) {
    SCOPED_TRACE(round);
    const std::size_t size = 1 + random_() % (random_() % 2 == 0 ? 7U << 20 : 100000U);
    const std::string source = test::random_content(size);
    directory_.write("source", source);
    fake_disk() = {};
    const bool reads_fail = random_() % 5 == 0;
    if (reads_fail) {
      fake_disk().readable_bytes = random_() % (2 * size);
    }
    if (random_() % 2 == 0) {
      fake_disk().writable_bytes = random_() % (3 * size);
    }
    test::FakeTransfers transfers;
    for (unsigned i = 0, count = random_() % 8; i < count; ++i) {
      transfers.next({.pends = random_() % 2 == 0});
      if (random_() % 3 == 0) {
        transfers.next({.pends = true, .bytes = static_cast<std::uint32_t>(random_() % 100000)});
      }
    }
    std::atomic<bool> is_over = false;
    std::thread foreign([&] { disturb(is_over); });
    unsigned long long bytes = 0;
    std::vector<std::string> copies;

    const int result = copy_in_some_form(bytes, copies);
    is_over = true;
    foreign.join();

    (result == 0 ? succeeded : refused) += 1;
    if (result == 0) {
      ASSERT_TRUE(bytes == size || reads_fail || log_.text().find("FileBuffer") != log_.text().npos)
          << bytes << " of " << size;
      for (const std::string& copy : copies) {
        ASSERT_TRUE(content(copy) == source.substr(0, bytes)) << copy;
      }
    }
  }
  EXPECT_GT(succeeded, 20);
  EXPECT_GT(refused, 20);
}

}  // namespace
}  // namespace orsin
