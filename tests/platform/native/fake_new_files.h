// A disk that is full for new files: what is written into one reaches a device that takes nothing.
#pragma once

namespace orsin::test {

/// Full as long as it lives. One at a time.
class FullDisk {
 public:
  FullDisk() { is_full = true; }
  ~FullDisk() { is_full = false; }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

  static inline bool is_full = false;
};

}  // namespace orsin::test
