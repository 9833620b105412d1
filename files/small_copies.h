// The small files of a directory, several at a time: while the system makes one file's entry, another
// file's bytes are on their way.
//
// The threads write no line and decide nothing. What becomes of each file is kept by its number, and
// the caller goes through them in their order, so results, messages and the count of bytes are those
// of one file after the other. Only the disk shows it: behind a file that could not be copied, up to
// kMost - 1 of the files that come after it may be there.
#pragma once

#include <atomic>
#include <cstdint>

#include "files/small_copy.h"
#include "threads/job_line.h"

namespace orsin {

class SmallCopies {
 public:
  static constexpr int kMost = 16;  // Files of one call to copy().

  struct Outcome {
    SmallCopy::Result result;
    unsigned long long bytes;
  };

  SmallCopies() = default;
  SmallCopies(const SmallCopies&) = delete;
  SmallCopies& operator=(const SmallCopies&) = delete;

  /// Copies files of one directory into another, as SmallCopy does each, and returns when all are
  /// dealt with. A path that is too long is kNotDone.
  ///
  /// @param count  At most kMost; one needs no second thread.
  void copy(const char* source, const char* destination, const char* const* names, int count);

  /// Of the file with this number in the last call to copy().
  [[nodiscard]] const Outcome& outcome(int index) const { return outcomes_[index]; }

  /// Copies one file.
  [[nodiscard]] Outcome copy_one(const char* source, const char* destination);

 private:
  // A thread beside the caller's, started for the first files that it can take. With three, one thread
  // or the other has work for the processor while the others wait for the system.
  class Helper {
   public:
    Helper() : line_(this, help, 1) {}

    /// False when no thread can be had.
    [[nodiscard]] bool begin(SmallCopies& copies);
    void wait() { line_.wait_until_done(); }

   private:
    static void help(void* helper, std::uint64_t number);

    SmallCopies* copies_ = nullptr;
    SmallCopy copier_;
    JobLine line_;  // Ends before what it works with.
  };
  static constexpr int kHelpers = 3;

  void work(SmallCopy& copier);
  [[nodiscard]] Outcome copy_named(SmallCopy& copier, const char* name) const;

  // Of one call to copy(): constant while the threads work, but for the next number to take.
  const char* source_ = nullptr;
  const char* destination_ = nullptr;
  const char* const* names_ = nullptr;
  int count_ = 0;
  std::atomic<int> next_ = 0;
  Outcome outcomes_[kMost] = {};  // Each written by the thread that took its number.

  SmallCopy own_;
  Helper helpers_[kHelpers];
  int helpers_max_ = kHelpers;
};

}  // namespace orsin
