// Copies of one file, in every form.
//
// A copy that reports success has made, at every destination, a file of the source's size and bytes.
// Two kept weaknesses are allowed for, as long as an error line tells of them: a source that cannot be
// read to its end counts as ended there, and `bytes` says so; and a file of a caller's writer that the
// system does not let be cut keeps what its last unit has too much, or what it had before.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "base/rounding.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/scenario.h"

namespace orsin::simulation {
namespace {

constexpr char kSource[] = "C:\\card\\take.mov";
constexpr std::uint64_t kUnit = 4096;  // Of unbuffered transfers.
constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20;
constexpr std::uint64_t kTicksAYear = std::uint64_t{365} * 24 * 3600 * 10'000'000;

std::string destination(int index) {
  return "D:\\copy" + std::to_string(index) + "\\take.mov";
}

// Some that fit into one block, some with a last block of every kind, some worth threads.
std::uint64_t chosen_size(Random& choice) {
  const std::uint64_t sizes[] = {0,
                                 1,
                                 4096,
                                 choice.below(kMegabyte),
                                 kMegabyte,
                                 kMegabyte + 1,
                                 3 * kMegabyte + choice.below(kMegabyte),
                                 4 * kMegabyte,
                                 4 * kMegabyte + choice.below(6 * kMegabyte),
                                 9 * kMegabyte + 4095};
  return choice.one_of(sizes);
}

// Up to what goes in one piece, and a little more. An empty source is refused, by contract.
std::uint64_t chosen_small_size(Random& choice) {
  const std::uint64_t sizes[] = {
      1, 511, 4096, choice.between(1, kMegabyte), kMegabyte - 1, kMegabyte, kMegabyte + 1};
  return choice.one_of(sizes);
}

// A source, and as many destinations of which some hold something already.
class Table {
 public:
  Table(Pass& pass, int count) : Table(pass, count, chosen_size(pass.choice)) {}
  Table(Pass& pass, int count, std::uint64_t size) : it_(pass.it) {
    content_ = Content::made_of(1, size);
    it_.disk.put(kSource, Content::made_of(1, size));
    for (int i = 0; i < count; ++i) {
      names_.push_back(destination(i));
      if (pass.choice.one_in(3) && it_.disk.find(names_.back()) == nullptr) {
        it_.disk.put(names_.back(), Content::made_of(2, pass.choice.below(6 * kMegabyte)));
      }
      const auto old = it_.disk.find(names_.back());
      old_sizes_.push_back(old != nullptr ? old->content.size() : 0);
    }
    for (const std::string& name : names_) {
      pointers_.push_back(name.c_str());
    }
    pointers_.push_back(nullptr);
  }

  [[nodiscard]] const char** destinations() { return pointers_.data(); }
  [[nodiscard]] std::uint64_t size() const { return content_.size(); }

  // Written by a caller's writer.
  void allow_surplus() { may_be_longer_ = true; }

  // A time of its own, and attributes that a copy takes along.
  const Node& mark_source(Random& choice) {
    constexpr std::uint32_t kAttributes[] = {0x20, 0x22, 0x26};  // Archive; hidden, system.
    Node& node = *it_.disk.find(kSource);
    node.write_time -= choice.below(kTicksAYear);
    node.attributes = choice.one_of(kAttributes);
    return node;
  }

  // Every destination holds the source's first so many bytes, and nothing else.
  void expect_copies(unsigned long long bytes, bool has_complained) const {
    ORSIN_EXPECT(bytes <= content_.size(), "%llu bytes of %llu were copied", bytes,
                 static_cast<unsigned long long>(content_.size()));
    ORSIN_EXPECT(bytes == content_.size() || has_complained,
                 "a source ended early, and no line says so");
    for (std::size_t i = 0; i < names_.size(); ++i) {
      const std::string& name = names_[i];
      const auto node = it_.disk.find(name);
      const std::uint64_t most = std::max<std::uint64_t>(rounded_up(bytes, kUnit), old_sizes_[i]);
      ORSIN_EXPECT(node != nullptr, "%s is not there", name.c_str());
      const std::uint64_t size = node->content.size();
      ORSIN_EXPECT(
          size == bytes || (may_be_longer_ && has_complained && size > bytes && size <= most),
          "%s has %llu bytes of %llu", name.c_str(), static_cast<unsigned long long>(size), bytes);
      ORSIN_EXPECT(node->content.begins_like(content_, bytes), "%s holds other bytes",
                   name.c_str());
    }
  }

 private:
  Machine& it_;
  Content content_;
  std::vector<std::string> names_;
  std::vector<std::uint64_t> old_sizes_;
  std::vector<const char*> pointers_;
  bool may_be_longer_ = false;
};

// By contract without a line: the code alone says it.
constexpr int kDirectoryNotMade = -5;
constexpr int kDirectoryNotMadeForSecureCopy = -6;

void judge(Pass& pass, const Table& table, LibrarySession& session, int result,
           unsigned long long bytes) {
  pass.expect_success(result == 0 && bytes == table.size(), "copy", result);
  if (result == 0) {
    table.expect_copies(bytes, session.has_complained());
  } else {
    ORSIN_EXPECT(session.has_warned() || result == kDirectoryNotMade,
                 "a copy failed with %d, and no line says so", result);
  }
}

void copy_to(Pass& pass, int count) {
  Table table(pass, count);
  LibrarySession session;
  unsigned long long bytes = 0;
  int result = 0;
  {
    const Inside library;
    result = file_copy(kSource, table.destinations(), true, bytes, nullptr, nullptr, nullptr,
                       nullptr, true);
  }
  judge(pass, table, session, result, bytes);
}

}  // namespace

void copy_to_one(Pass& pass) {
  copy_to(pass, 1);
}

void copy_to_three(Pass& pass) {
  copy_to(pass, 3);
}

void copy_to_sixteen(Pass& pass) {
  copy_to(pass, 16);
}

void copy_with_callers_streams(Pass& pass) {
  constexpr int kMostCopies = 3;
  const int count = static_cast<int>(pass.choice.between(1, kMostCopies));
  const bool has_reader = pass.choice.one_in(2);
  Table table(pass, count);
  table.allow_surplus();
  LibrarySession session;
  unsigned long long bytes = 0;
  int result = 0;
  {
    const Inside library;
    fReadBuffer reader(io_invalid_handle());
    reader.cfg_buffers(static_cast<int>(pass.choice.between(1, 8)),
                       1 << pass.choice.between(14, 20), 1 << pass.choice.between(12, 20));
    std::unique_ptr<fWriteBuffer> writers[kMostCopies];
    fWriteBuffer* pointers[kMostCopies + 1] = {};
    for (int i = 0; i < count; ++i) {
      const bool is_double = pass.choice.one_in(2);
      const int size = 1 << pass.choice.between(14, 20);
      writers[i].reset(new (std::nothrow) fWriteBuffer(io_invalid_handle(), false));
      if (!writers[i]) {
        return;  // No copy without its writers.
      }
      static_cast<void>(writers[i]->set_buffer(size, is_double));
      pointers[i] = writers[i].get();
    }
    result = file_copy(kSource, table.destinations(), true, bytes, has_reader ? &reader : nullptr,
                       pointers, nullptr, nullptr, true);
  }
  judge(pass, table, session, result, bytes);
}

void copy_securely(Pass& pass) {
  Table table(pass, 1);
  constexpr unsigned kFlags[] = {0, 1, 3};  // Nothing, the digest, the digest and reading back.
  const unsigned flags = pass.choice.one_of(kFlags);
  LibrarySession session;
  unsigned long long bytes = 0;
  md5_state_s md5 = {};
  int result = 0;
  const char* text = "";
  {
    const Inside library;
    result = file_copy_secure(kSource, table.destinations()[0], true, bytes, md5, flags, nullptr,
                              nullptr);
    text = get_error_file_copy_secure(result, false);
  }
  pass.expect_success(result == 0 && bytes == table.size(), "secure copy", result);
  if (result == 0) {
    table.expect_copies(bytes, session.has_complained());
  } else {
    ORSIN_EXPECT(*text != '\0' || session.has_warned() || result == kDirectoryNotMadeForSecureCopy,
                 "a secure copy failed with %d, and no text says so", result);
  }
}

void copy_small(Pass& pass) {
  Table table(pass, 1, chosen_small_size(pass.choice));
  const std::string name = table.destinations()[0];
  const std::string directory = name.substr(0, name.rfind('\\'));
  pass.it.disk.make_directories(directory);
  const Node& source = table.mark_source(pass.choice);
  if (pass.it.transfers.short_one_in != 0) {
    pass.it.transfers.short_one_in = 4;  // One write is all there is.
  }
  const bool names_directory = pass.choice.one_in(3);  // The file keeps its name in there.
  LibrarySession session;
  session.make_lock_of_readers();
  unsigned long long bytes = 0;
  int result = 0;
  {
    const Inside library;
    result = ov_filecopy(kSource, names_directory ? directory.c_str() : name.c_str(), false, bytes);
  }
  // By contract 0 without a byte is a source that is not there, or cannot be asked: no line.
  const bool is_copied = result == 0 && bytes > 0;
  pass.expect_success(is_copied && bytes == table.size(), "small copy", result);
  if (!is_copied) {
    ORSIN_EXPECT(result == 0 || session.has_warned(),
                 "a small copy failed with %d, and no line says so", result);
    return;
  }
  const bool has_warned = session.has_warned();
  table.expect_copies(bytes, has_warned);
  const Node& copy = *pass.it.disk.find(name);
  ORSIN_EXPECT(
      has_warned || (copy.write_time == source.write_time && copy.attributes == source.attributes),
      "a small copy has another time or other attributes, and no line says so");
}

}  // namespace orsin::simulation
