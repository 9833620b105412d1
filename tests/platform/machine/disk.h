// The volumes of a simulated machine: directories, files, who has which of them open, and how full
// they are.
//
// Every function answers with the system's error code, 0 for success. Sharing is enforced between all
// who have a file open; a file that is open is neither renamed nor removed; names are the same in
// either case.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "files/io_port.h"
#include "tests/platform/file_rules.h"
#include "tests/platform/machine/content.h"
#include "tests/platform/machine/handles.h"
#include "tests/platform/system_errors.h"

namespace orsin::simulation {

using namespace platform;

struct OpenedFile;

struct Volume {
  std::uint64_t capacity = 0;
  std::uint64_t used = 0;
};

struct IgnoringCase {
  bool operator()(std::string_view a, std::string_view b) const;
};

/// A file or a directory.
struct Node {
  bool is_directory = false;
  std::uint32_t attributes = 0;
  std::uint64_t write_time = 0;  // 100 ns since 1601.
  Volume* volume = nullptr;
  Content content;
  std::map<std::string, std::shared_ptr<Node>, IgnoringCase> entries;
  std::vector<OpenedFile*> opened_by;
};

struct OpenedFile : Object {
  std::shared_ptr<Node> node;
  port::OpenMode mode;
  std::uint64_t position = 0;
  int transfers_in_flight = 0;

  ~OpenedFile() override;
};

class Disk {
 public:
  Disk();

  Volume& add_volume(char letter, std::uint64_t capacity);

  /// Null when there is nothing of that name; `error` says whether its directory is there.
  [[nodiscard]] std::shared_ptr<Node> find(std::string_view path, std::uint32_t& error) const;
  [[nodiscard]] std::shared_ptr<Node> find(std::string_view path) const;

  std::uint32_t open(std::string_view path, const port::OpenMode& mode,
                     std::shared_ptr<OpenedFile>& file, bool& existed);
  std::uint32_t make_file(std::string_view path, std::shared_ptr<Node>& node);
  std::uint32_t make_directory(std::string_view path);
  std::uint32_t remove_file(std::string_view path);
  std::uint32_t remove_directory(std::string_view path);
  std::uint32_t rename(std::string_view from, std::string_view to, bool replaces);

  /// On every volume.
  void make_room();

  /// Where the volume has no room, nothing changes.
  static std::uint32_t resize(Node& node, std::uint64_t size);
  static std::uint32_t write(Node& node, std::uint64_t offset, const void* data,
                             std::uint64_t bytes);

  /// For scenarios: with all directories on the way, whatever was there before, however full it is.
  void put(std::string_view path, Content content);
  void make_directories(std::string_view path);

  /// From the drive on, without dots.
  [[nodiscard]] static std::string absolute(std::string_view path);

 private:
  struct Place {
    std::shared_ptr<Node> directory;
    std::string name;
  };
  [[nodiscard]] Place place_of(std::string_view path) const;

  std::map<char, std::unique_ptr<Volume>> volumes_;
  std::shared_ptr<Node> roots_ = std::make_shared<Node>();  // By "C:".
};

/// Whether somebody may come to those who have it open.
[[nodiscard]] bool may_open(const Node& node, const port::OpenMode& mode);

/// The machine's clock in the file system's units.
[[nodiscard]] std::uint64_t file_time_now();

}  // namespace orsin::simulation
