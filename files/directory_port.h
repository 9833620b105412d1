// What directory lists ask of the platform. directory_win.cpp answers.
#pragma once

#include <cstdint>

namespace orsin::port {

constexpr int kFoundNameBytes = 262;

struct FoundEntry {
  char name[kFoundNameBytes];  // UTF-8.
  std::uint64_t write_time;    // 100 ns since 1601 UTC.
  bool is_directory;
};

/// Goes through a directory: `next` fills in one entry after the other, without system entries and
/// without hidden ones whose name begins with ".".
class DirectoryWalk {
 public:
  explicit DirectoryWalk(const char* pattern);
  ~DirectoryWalk();
  DirectoryWalk(const DirectoryWalk&) = delete;
  DirectoryWalk& operator=(const DirectoryWalk&) = delete;

  [[nodiscard]] bool started() const;
  [[nodiscard]] bool next(FoundEntry& entry);

 private:
  void* handle_;
  bool has_first_ = false;
  alignas(8) unsigned char data_[600];  // The system's record.
};

/// Loads the function that names network drives, unless the environment forbids it. Once.
void prepare_network_names();

/// Calls `add(context, name, label)` for each drive, in the order of the system. False, after an
/// error line, when there are none.
using AddDrive = void (*)(void* context, const char* name, const char* label);
bool for_each_drive(bool name_is_label, AddDrive add, void* context);

}  // namespace orsin::port
