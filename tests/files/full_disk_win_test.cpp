// Copies to a real disk that is too small for them, beside foreign reads that overtake their transfers:
// no form of copy says that it has done what it has not. tests/files/full-disk makes the disk and says in
// ORSIN_SMALL_DISK where it is; it is the tests' alone.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_fixture.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::CopyCall;

constexpr std::size_t kDiskBytes = 24 << 20;  // As tests/files/full-disk makes it.
constexpr std::size_t kTooLarge = 32 << 20;
constexpr std::size_t kFits = 5'000'001;
constexpr unsigned int kHashAndReadBack = 3;

// Three threads that read pieces of a file as fast as they can.
class ForeignReads {
 public:
  explicit ForeignReads(const std::string& path) {
    for (std::thread& thread : threads_) {
      thread = std::thread([this, path] { read(path); });
    }
  }
  ~ForeignReads() {
    is_over_ = true;
    for (std::thread& thread : threads_) {
      thread.join();
    }
    EXPECT_GT(pieces_, 0);
  }
  ForeignReads(const ForeignReads&) = delete;
  ForeignReads& operator=(const ForeignReads&) = delete;

 private:
  void read(const std::string& path) {
    const test::OpenFile file(io_open64(path.c_str(), 0, false, true, true));
    ASSERT_TRUE(file.is_open());
    std::array<char, 4096> piece;
    do {
      EXPECT_TRUE(io_read64(file.get(), piece.data(), 0, piece.size()));
      EXPECT_EQ(std::string(piece.data(), piece.size()), std::string(piece.size(), 'f'));
      ++pieces_;
    } while (!is_over_);
  }

  std::atomic<bool> is_over_ = false;
  std::atomic<int> pieces_ = 0;
  std::array<std::thread, 3> threads_;
};

class SmallDisk : public test::IoTest {
 protected:
  struct Form {
    const char* what;
    std::function<int()> copy;  // Of "source" to "a" on the disk, and maybe to others.
  };

  void SetUp() override {
    const char* disk = std::getenv("ORSIN_SMALL_DISK");
    ASSERT_NE(disk, nullptr) << "tests/files/full-disk runs these tests";
    disk_ = disk;
    write("foreign", std::string(4096, 'f'));
  }
  void TearDown() override { stop_thread_table(); }

  std::string on_disk(const char* name) const { return disk_ + "\\" + name; }

  void empty_disk() const {
    for (const auto& entry : std::filesystem::directory_iterator(test::to_path(disk_))) {
      std::filesystem::remove_all(entry.path());
    }
  }

  std::vector<Form> forms() {
    return {
        {"own writer",
         [this] {
           return CopyCall{path("source"), {on_disk("a")}}.run();
         }},
        {"three own writers",
         [this] {
           return CopyCall{path("source"), {path("elsewhere"), on_disk("a"), path("third")}}.run();
         }},
        {"a caller's writer",
         [this] {
           fWriteBuffer writer(io_invalid_handle(), true);
           CopyCall call{path("source"), {on_disk("a")}};
           call.writers = {&writer};
           return call.run();
         }},
        {"verified", [this] { return copy_secure(kHashAndReadBack); }},
        {"secure without a hash", [this] { return copy_secure(0); }},
        {"tree copy of a file",
         [this] {
           unsigned long long bytes = 0;
           return ov_filecopy(path("source").c_str(), on_disk("a").c_str(), false, bytes);
         }},
    };
  }

 private:
  int copy_secure(unsigned int flags) const {
    unsigned long long bytes = 0;
    md5_state_s md5 = {};
    return file_copy_secure(path("source").c_str(), on_disk("a").c_str(), true, bytes, md5, flags,
                            nullptr, nullptr);
  }

  std::string disk_;
};

TEST_F(SmallDisk, ThatFillsUpIsNeverSuccessBesideForeignReads) {
  constexpr int kRounds = 5;
  const std::string source = test::random_content(kTooLarge);
  write("source", source);
  const ForeignReads foreign(path("foreign"));
  for (int round = 0; round < kRounds; ++round) {
    for (const Form& form : forms()) {
      SCOPED_TRACE(form.what);
      empty_disk();
      const test::LogCapture log;  // Of its own: a line that comes again is folded.

      EXPECT_LT(form.copy(), 0);

      EXPECT_NE(log.text().find("ERROR"), std::string::npos) << "it failed without a line";
    }
  }
}

TEST_F(SmallDisk, ServesAgainAsSoonAsThereIsRoom) {
  const ForeignReads foreign(path("foreign"));
  for (const Form& form : forms()) {
    SCOPED_TRACE(form.what);
    empty_disk();
    write("source", test::random_content(kTooLarge));
    ASSERT_LT(form.copy(), 0);
    const std::string source = test::random_content(kFits);
    write("source", source);
    empty_disk();

    EXPECT_EQ(form.copy(), 0);

    EXPECT_TRUE(test::TemporaryDirectory::read(on_disk("a")) == source);
  }
}

// Sizes around what fits, some pages apart.
TEST_F(SmallDisk, HoldsEveryByteOfACopyThatSucceeds) {
  constexpr std::size_t kStep = 3 * 4096 + 1;
  int succeeded = 0;
  int refused = 0;
  const ForeignReads foreign(path("foreign"));
  for (std::size_t size = kDiskBytes - 2 * kStep; size <= kDiskBytes + 2 * kStep; size += kStep) {
    const std::string source = test::random_content(size);
    write("source", source);
    for (const Form& form : forms()) {
      SCOPED_TRACE(form.what + std::to_string(size));
      empty_disk();

      const int result = form.copy();

      (result == 0 ? succeeded : refused) += 1;
      if (result == 0) {
        ASSERT_TRUE(test::TemporaryDirectory::read(on_disk("a")) == source);
      }
    }
  }
  EXPECT_GT(succeeded, 0);
  EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace orsin
