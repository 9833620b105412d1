// Copies of every form to a disk that fills and is emptied, some of which are refused on purpose.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <string>

#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "tests/soak/site.h"

namespace orsin::soak {
namespace {

constexpr int kThreads = 2;
constexpr int kNames = 24;  // Twice as many as the disk has room for.

struct Source {
  const char* name;
  unsigned long long size;
};

constexpr std::array<Source, 6> kSources = {{{"empty", 0},
                                             {"page", 4096},
                                             {"odd", 70001},
                                             {"block", 1 << 20},
                                             {"take", 5'300'007},
                                             {"reel", 9'000'000}}};
constexpr std::uint64_t kTreeFiles = kSources.size() - 1;  // All that are not empty.

class CopyWork : public Work {
 public:
  CopyWork(const Site& site, int index, std::uint64_t seed)
      : Work("copies", seed),
        sources_(site.scratch + "\\sources" + std::to_string(index) + "\\"),
        folder_(site.disk + "\\copies" + std::to_string(index)),
        disk_is_small_(site.disk_is_small) {}

  void step() override {
    switch (dice_.below(10)) {
      case 0:
        copy_tree();
        break;
      case 1:
        move_and_rotate();
        break;
      case 2:
        copy_where_it_is_refused();
        break;
      case 3:
      case 4:
      case 5:
        copy_and_verify();
        break;
      default:
        copy_to_several();
    }
  }

 private:
  const Source& any_source() { return kSources[dice_.below(kSources.size())]; }
  std::string any_name() {
    return folder_ + "\\take" + std::to_string(dice_.below(kNames)) + ".mov";
  }
  std::string path_of(const Source& source) const { return sources_ + source.name; }

  void copy_to_several() {
    const Source& source = any_source();
    const std::uint32_t count = 1 + dice_.below(3);
    std::array<std::string, 3> names;
    std::array<const char*, 4> destinations = {};
    for (std::uint32_t i = 0; i < count; ++i) {
      names[i] = folder_ + "\\to" + std::to_string(i) + "\\take" +
                 std::to_string(dice_.below(kNames)) + ".mov";
      destinations[i] = names[i].c_str();
    }
    unsigned long long bytes = 0;
    const int code = file_copy(path_of(source).c_str(), destinations.data(), true, bytes, nullptr,
                               nullptr, nullptr, nullptr, true);
    if (code != 0) {
      take_refusal("file_copy", code, {-2, -5, -8});
      return;
    }
    expect(bytes == source.size, "file_copy counted " + std::to_string(bytes));
    for (std::uint32_t i = 0; i < count; ++i) {
      expect_same(source, names[i], "file_copy");
    }
    count_done();
  }

  void copy_and_verify() {
    const Source& source = any_source();
    const std::string name = any_name();
    constexpr unsigned int kHashAndReadBack = 3;
    unsigned long long bytes = 0;
    md5_state_s md5;
    const int code = file_copy_secure(path_of(source).c_str(), name.c_str(), true, bytes, md5,
                                      kHashAndReadBack, nullptr, nullptr);
    if (code != 0) {
      take_refusal("file_copy_secure", code, {-2, -4, -6});
      return;
    }
    expect(bytes == source.size, "file_copy_secure counted " + std::to_string(bytes));
    expect_same(source, name, "file_copy_secure");
    count_done();
  }

  void copy_tree() {
    const std::string name = folder_ + "\\tree" + std::to_string(dice_.below(3));
    const std::string source = sources_.substr(0, sources_.size() - 1);
    unsigned long long bytes = 0;
    const int code = ov_filecopy(source.c_str(), name.c_str(), true, bytes);
    if (code < 0) {
      take_refusal("ov_filecopy", code, {-1});
      return;
    }
    expect(code == static_cast<int>(kTreeFiles), "ov_filecopy copied " + std::to_string(code));
    for (const Source& one : kSources) {
      if (one.size != 0) {
        expect_same(one, name + "\\" + one.name, "ov_filecopy");
      }
    }
    count_done();
  }

  void move_and_rotate() {
    const std::string name = folder_ + "\\notes.log";
    const std::string moved = folder_ + "\\moved\\notes.log";
    unsigned long long bytes = 0;
    const int code = file_copy(path_of(kSources[2]).c_str(), name.c_str(), true, bytes, nullptr,
                               static_cast<fWriteBuffer*>(nullptr), nullptr, nullptr, true);
    if (code != 0) {
      take_refusal("file_copy", code, {-2, -5, -8});
      return;
    }
    file_backup(name.c_str(), 2);
    const std::string first = folder_ + "\\notes.1.log";
    expect(file_exists(name.c_str()) == 0, "file_backup left the file where it was");
    static_cast<void>(file_delete(moved.c_str()));  // Of an earlier step.
    const int move_code = file_move(first.c_str(), moved.c_str(), false);
    if (move_code != 0) {
      take_refusal("file_move", move_code, {-5});
      return;
    }
    expect_same(kSources[2], moved, "file_move");
    count_done();
  }

  void expect_same(const Source& source, const std::string& copy, const std::string& call) {
    const std::string how = difference(path_of(source), copy);
    expect(how.empty(), call + " of " + source.name + ": " + copy + " " + how);
  }

  // What must be refused, and how.
  void copy_where_it_is_refused() {
    const std::string name = folder_ + "\\held.mov";
    void* held = io_create64(name.c_str(), true, 0);
    if (held == io_invalid_handle()) {
      return;  // There is no folder, or no room.
    }
    refuse(kSources[3], name, true, -2);
    refuse(kSources[3], name + "\\below.mov", true, -5);
    io_close64(held);
    refuse({"missing", 0}, name, true, -1);
    refuse(kSources[3], name, false, -7);
  }

  void refuse(const Source& source, const std::string& name, bool overwrite, int wanted) {
    unsigned long long bytes = 0;
    const int code = file_copy(path_of(source).c_str(), name.c_str(), overwrite, bytes, nullptr,
                               static_cast<fWriteBuffer*>(nullptr), nullptr, nullptr, true);
    if (expect(code == wanted, "a copy that was to be refused with " + std::to_string(wanted) +
                                   " gave " + std::to_string(code))) {
      count_refused();
    }
  }

  // Only a full disk refuses what is done here, and not in every way; it is emptied then.
  void take_refusal(const std::string& call, int code, std::initializer_list<int> ways) {
    const bool is_a_way = std::find(ways.begin(), ways.end(), code) != ways.end();
    if (!expect(disk_is_small_ && is_a_way, call + " was refused with " + std::to_string(code))) {
      return;
    }
    count_refused();
    if (file_is_directory(folder_.c_str()) != 0) {
      const bool is_empty = file_delete_directory(folder_.c_str(), true) == 1;
      const int reason = errno;
      expect(is_empty,
             "the full disk cannot be emptied after " + call + ": " + std::strerror(reason));
    }
  }

  std::string sources_;
  std::string folder_;
  bool disk_is_small_;
};

}  // namespace

// A folder of sources for each thread: a verified copy opens its source unshared when it has done, for
// the times, and another copy of the same source would be refused at that moment.
Works copy_works(const Site& site, std::uint64_t seed) {
  Works works;
  for (int i = 0; i < kThreads; ++i) {
    const std::string folder = site.scratch + "\\sources" + std::to_string(i);
    bool is_made = file_create_directory(folder.c_str(), true) >= 0;
    for (const Source& source : kSources) {
      is_made = is_made && write_pattern_file(folder + "\\" + source.name, source.size,
                                              static_cast<std::size_t>(source.size));
    }
    if (!is_made) {
      return {};
    }
    works.push_back(std::make_unique<CopyWork>(site, i, seed + static_cast<std::uint64_t>(i)));
  }
  return works;
}

}  // namespace orsin::soak
