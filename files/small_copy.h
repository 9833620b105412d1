// Copying a file that fits into one buffer: one read, one write, and what belongs to the file through
// the two handles that are open anyway. With thousands of small files the calls are the time, so none
// is made that the other way of copying makes for large files only.
//
// It deals with the ordinary case and with nothing else. Whatever comes in its way (a file that is
// missing, empty, large, read-only, open elsewhere or cut short; a full disk) it leaves without a
// line to the long way, which begins anew and says what there is to say. So results and messages
// are those of the long way by construction.
#pragma once

#include <memory>

namespace orsin {

class SmallCopy {
 public:
  enum class Result {
    kNotDone,     // Not a case for here; the destination may hold a part.
    kCopied,      // Data, time of the last write and attributes.
    kDataCopied,  // The data alone.
  };

  /// Copies with all writes on the disk when it returns. An existing destination is written over.
  ///
  /// @param bytes  Grows by the file's size when the data was copied.
  [[nodiscard]] Result copy(const char* source, const char* destination, unsigned long long& bytes);

 private:
  [[nodiscard]] Result copy_opened(void* source, const char* destination,
                                   unsigned long long& bytes);

  std::unique_ptr<unsigned char[]> buffer_;  // Made for the first file.
};

}  // namespace orsin
