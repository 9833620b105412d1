// Transfers as the system itself carries them out: sharing, refusals, pipes that keep one waiting.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

#include "base/win/windows.h"
#include "files/io_port.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "tests/files/io_fixture.h"
#include "tests/threads/gate.h"

namespace orsin {
namespace {

using test::Lines;
using test::OpenFile;

std::string text_of(unsigned error) {
  SetLastError(error);
  return os_errormsg();
}

class SystemTransfers : public test::IoTest {};

TEST_F(SystemTransfers, AnUnsharedFileIsNobodyElses) {
  const std::string name = write("in", "x");
  const OpenFile first(io_open64(name.c_str(), 0, false, false, true));

  const OpenFile second(io_open64(name.c_str(), 0, false, true, true));

  EXPECT_TRUE(first.is_open());
  EXPECT_FALSE(second.is_open());
  EXPECT_EQ(log_.lines(), Lines{"ERROR: IO open failed '" + name + "' (" +
                                text_of(ERROR_SHARING_VIOLATION) + ")"});
}

TEST_F(SystemTransfers, NamesBeyondAsciiReachTheSystem) {
  const std::string name = path("\xC3\xA4\xE2\x82\xAC.mov");
  {
    const OpenFile created(io_create64(name.c_str(), true, 0));
    ASSERT_TRUE(created.is_open());
  }

  const OpenFile opened(io_open64(name.c_str(), 0, false, true, true));

  EXPECT_TRUE(opened.is_open());
  EXPECT_TRUE(std::filesystem::exists(test::to_path(name)));
}

TEST_F(SystemTransfers, ADirectoryCannotBeCreatedAsAFile) {
  const std::string name = path("");

  const OpenFile file(io_create64(name.c_str(), true, 0));

  EXPECT_FALSE(file.is_open());
  ASSERT_EQ(errors().size(), 1U);
  EXPECT_TRUE(errors()[0].starts_with("ERROR: IO Create File : '")) << errors()[0];
}

TEST_F(SystemTransfers, AReadOnlyHandleIsNotWritten) {
  const OpenFile file(io_open64(write("in", "x").c_str(), 0, false, true, true));

  EXPECT_FALSE(io_write_async64(file.get(), "y", 0, 1, nullptr));

  EXPECT_EQ(log_.lines(),
            Lines{"ERROR: IO write error(1) : '" + text_of(ERROR_ACCESS_DENIED) + "'"});
}

TEST_F(SystemTransfers, ANegativeOffsetIsAnInvalidParameter) {
  const OpenFile file(io_open64(write("in", "x").c_str(), 0, false, true, true));
  char byte = 0;

  EXPECT_FALSE(io_read_async64(file.get(), &byte, -5, 1, nullptr));

  EXPECT_EQ(log_.lines(), Lines{"ERROR: IO read error(3), Wrong offset -5 or size 1"});
}

TEST_F(SystemTransfers, AnInvalidHandleCannotBeRead) {
  char byte = 0;

  EXPECT_FALSE(io_read_async64(io_invalid_handle(), &byte, 0, 1, nullptr));

  EXPECT_EQ(log_.lines(),
            Lines{"ERROR: IO read error(1) : '" + text_of(ERROR_INVALID_HANDLE) + "'"});
}

TEST_F(SystemTransfers, ABufferOutOfReachIsNamed) {
  const OpenFile file(io_open64(write("in", std::string(5000, 'x')).c_str(), 0, false, true, true));
  void* const nowhere = reinterpret_cast<void*>(16);

  EXPECT_FALSE(io_read64(file.get(), nowhere, 0, 4096));

  ASSERT_FALSE(log_.lines().empty());
  EXPECT_EQ(log_.lines()[0], "ERROR: IO read error(1) : '" + text_of(ERROR_NOACCESS) + "'");
  EXPECT_TRUE(log_.lines().back().starts_with("ERROR: IO buffer = "));
}

// The other half of the record's first field is nobody's.
TEST(TransferRecords, AreJudgedByTheirStatusAlone) {
  port::TransferRecord record = {};
  port::arm_record(record);
  EXPECT_FALSE(port::is_complete(record));

  std::memset(record.storage + 4, 0xA5, 4);
  EXPECT_FALSE(port::is_complete(record));

  std::memset(record.storage, 0, 4);
  EXPECT_TRUE(port::is_complete(record));
}

TEST_F(SystemTransfers, SynchronousHandlesTransferToo) {
  const OpenFile file(io_open64(write("in", "0123456789").c_str(), 2, false, true, false));
  char bytes[4] = {};
  int ticket = 0;

  ASSERT_TRUE(io_read_async64(file.get(), bytes, 3, 4, &ticket));

  EXPECT_EQ(io_complete64(file.get(), &ticket, false), 1);
  EXPECT_EQ(std::string(bytes, 4), "3456");
  EXPECT_TRUE(io_write64(file.get(), "ab", 0, 2));
  EXPECT_FALSE(io_read_async64(file.get(), bytes, 10, 4, &ticket));
  EXPECT_EQ(log_.lines().size(), 1U);
}

TEST_F(SystemTransfers, ARawVolumesSizeIsItsCapacity) {
  DWORD sectors = 0;
  DWORD bytes = 0;
  DWORD available = 0;
  DWORD clusters = 0;
  ASSERT_NE(GetDiskFreeSpaceA("C:\\", &sectors, &bytes, &available, &clusters), 0);
  const auto capacity = static_cast<long long>(std::uint64_t{bytes} * sectors * clusters);

  EXPECT_EQ(io_get_filesize64(io_invalid_handle(), "\\\\.\\C:"), capacity);
  EXPECT_EQ(io_get_filesize64(io_invalid_handle(), "\\\\.\\C:\\"), capacity);
  EXPECT_EQ(io_get_filesize64(io_invalid_handle(), "\\\\.\\?:"), -1);
}

// A pipe's reader waits for its writer: transfers that really run.
class PipeTransfers : public SystemTransfers {
 protected:
  void SetUp() override {
    const std::string name = "\\\\.\\pipe\\orsin-" + std::to_string(GetCurrentProcessId());
    server_ = CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 65536, 65536, 0,
                               nullptr);
    ASSERT_NE(server_, INVALID_HANDLE_VALUE);
    client_ = io_open64(name.c_str(), 2, false, false, true);
    ASSERT_NE(client_, io_invalid_handle());
  }
  void TearDown() override {
    io_close64(client_);
    hang_up();
  }

  void say(const char* text) const {
    DWORD written = 0;
    ASSERT_NE(WriteFile(server_, text, static_cast<DWORD>(std::strlen(text)), &written, nullptr),
              0);
  }
  void hang_up() {
    if (server_ != INVALID_HANDLE_VALUE) {
      CloseHandle(server_);
    }
    server_ = INVALID_HANDLE_VALUE;
  }

  HANDLE server_ = INVALID_HANDLE_VALUE;
  void* client_ = io_invalid_handle();
  char bytes_[100] = {};
};

TEST_F(PipeTransfers, APendingReadEndsWhenSomethingComes) {
  int ticket = 0;
  ASSERT_TRUE(io_read_async64(client_, bytes_, 0, sizeof(bytes_), &ticket));
  EXPECT_EQ(io_complete64(client_, &ticket, false), 0);

  say("hello");

  EXPECT_EQ(io_complete64(client_, &ticket, true), 1);
  EXPECT_STREQ(bytes_, "hello");
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(PipeTransfers, APendingReadFailsWhenTheOtherEndGoes) {
  int ticket = 0;
  ASSERT_TRUE(io_read_async64(client_, bytes_, 0, sizeof(bytes_), &ticket));

  hang_up();

  EXPECT_EQ(io_complete64(client_, &ticket, true), -1);
  EXPECT_EQ(log_.lines(), Lines{"ERROR: IO completion error(3) - (0 100) : '" +
                                text_of(ERROR_BROKEN_PIPE) + "'"});
}

TEST_F(PipeTransfers, ClosingCancelsAPendingRead) {
  int ticket = 0;
  ASSERT_TRUE(io_read_async64(client_, bytes_, 0, sizeof(bytes_), &ticket));

  io_close64(client_);
  client_ = io_invalid_handle();

  EXPECT_EQ(io_complete64(client_, &ticket, true), 1);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(PipeTransfers, ClosingCancelsWhatAnotherThreadStarted) {
  int ticket = 0;
  test::Gate has_started;
  test::Gate is_closed;
  std::thread reader([&] {
    EXPECT_TRUE(io_read_async64(client_, bytes_, 0, sizeof(bytes_), &ticket));
    has_started.open();
    is_closed.wait();  // A thread that ends takes its transfers with it.
  });
  has_started.wait();

  io_close64(client_);
  client_ = io_invalid_handle();
  is_closed.open();
  reader.join();

  EXPECT_EQ(io_complete64(client_, &ticket, true), 1);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(PipeTransfers, FlushingWaitsForAPendingRead) {
  int ticket = 0;
  ASSERT_TRUE(io_read_async64(client_, bytes_, 0, 5, &ticket));

  std::thread flusher([] { io_flush64(nullptr); });
  say("hello");
  flusher.join();

  EXPECT_EQ(std::string(bytes_, 5), "hello");
  EXPECT_EQ(io_complete64(client_, &ticket, false), 1);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(PipeTransfers, APendingReadIsWaitedForByAnotherThread) {
  int ticket = 0;
  ASSERT_TRUE(io_read_async64(client_, bytes_, 0, 5, &ticket));

  std::thread waiter([&] { EXPECT_EQ(io_complete64(client_, &ticket, true), 1); });
  say("hello");
  waiter.join();

  EXPECT_EQ(std::string(bytes_, 5), "hello");
}

}  // namespace
}  // namespace orsin
