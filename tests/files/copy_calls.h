// Copies as the tests of their hazards make them: overwriting, verbose, with what may go wrong
// on the way.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/text.h"

namespace orsin::test {

inline std::string random_content(std::size_t size) {
  std::mt19937_64 random(size);
  std::string content(size, '\0');
  for (std::size_t i = 0; i < size; i += sizeof(std::uint64_t)) {
    const std::uint64_t bytes = random();
    std::memcpy(content.data() + i, &bytes, std::min(sizeof(bytes), size - i));
  }
  return content;
}

struct CopyCall {
  std::string source;
  std::vector<std::string> destinations;
  bool overwrite = true;
  fReadBuffer* reader = nullptr;
  std::vector<fWriteBuffer*> writers = {};         // None: the copy makes its own.
  std::function<void(bool is_end)> on_block = {};  // Before each block is written, and at the end.
  unsigned long long bytes = 0;

  int run() {
    std::vector<const char*> list;
    for (const std::string& destination : destinations) {
      list.push_back(destination.c_str());
    }
    list.push_back(nullptr);
    std::vector<fWriteBuffer*> lent = writers;
    lent.push_back(nullptr);
    return file_copy(
        source.c_str(), list.data(), overwrite, bytes, reader,
        writers.empty() ? nullptr : lent.data(),
        [](void* user, unsigned char* data, unsigned long long) {
          const auto& call = *static_cast<CopyCall*>(user);
          if (call.on_block) {
            call.on_block(data == nullptr);
          }
        },
        this, true);
  }
};

inline int copy_file(const std::string& source, std::vector<std::string> destinations,
                     bool overwrite = true) {
  CopyCall call{.source = source, .destinations = std::move(destinations), .overwrite = overwrite};
  return call.run();
}

/// Verified; how much came is nobody's business.
inline int copy_secure(const std::string& source, const std::string& destination) {
  unsigned long long bytes = 0;
  md5_state_s md5;
  return file_copy_secure(source.c_str(), destination.c_str(), true, bytes, md5, 3, nullptr,
                          nullptr);
}

/// A writer that has something done once its file is complete and closed.
class ClosingWriter : public fWriteBuffer {
 public:
  explicit ClosingWriter(std::function<void()> on_close)
      : fWriteBuffer(io_invalid_handle(), true), on_close_(std::move(on_close)) {}

  int close_file(bool force) override {
    const int result = fWriteBuffer::close_file(force);
    on_close_();
    return result;
  }

 private:
  std::function<void()> on_close_;
};

}  // namespace orsin::test
