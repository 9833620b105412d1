// Reader and writer, while the host keeps many transfers of its own in flight.
#include <algorithm>
#include <cstring>

#include "base/rounding.h"
#include "orsincore/io.h"
#include "tests/simulation/beside.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/scenario.h"

namespace orsin::simulation {
namespace {

constexpr char kOthers[] = "C:\\media\\other.raw";
constexpr std::uint64_t kUnit = 4096;  // Of unbuffered transfers.

// Nobody collects them: whoever closes the file waits for those that are still in flight.
void start_transfers_of_others() {
  constexpr int kCount = 64;
  const Inside library;
  void* file = io_open64(kOthers, 0, false, true, true);
  if (file == io_invalid_handle()) {
    return;
  }
  static unsigned char pieces[kCount][kUnit];
  for (int i = 0; i < kCount; ++i) {
    int ticket = 0;
    const auto offset = static_cast<long long>(kUnit) * (i % 8);
    static_cast<void>(io_read_async64(file, pieces[i], offset, kUnit, &ticket));
  }
  io_close64(file);
}

// Adds pieces of all lengths; what was taken stands in the model. False when not all of it was.
bool write_pieces(Pass& pass, fWriteBuffer& writer, Content& model) {
  static unsigned char piece[30000];
  const auto pieces = pass.choice.between(0, 30);
  for (std::uint64_t i = 0; i < pieces; ++i) {
    const auto bytes = pass.choice.between(1, sizeof(piece));
    std::memset(piece, static_cast<int>(pass.choice.between(1, 255)), bytes);
    const std::uint64_t taken = writer.write_file(piece, 1, bytes);
    ORSIN_EXPECT(taken <= bytes, "more bytes were taken than there were");
    const Outside outside;
    model.write(model.size(), piece, taken);
    if (taken < bytes) {
      return false;
    }
  }
  return true;
}

// A surplus that could not be cut off stays, and a line says so.
void expect_file(Pass& pass, const char* name, const Content& model, bool has_complained) {
  const auto node = pass.it.disk.find(name);
  ORSIN_EXPECT(node != nullptr, "%s is not there", name);
  const std::uint64_t size = node->content.size();
  ORSIN_EXPECT(size == model.size() || (has_complained && size == rounded_up(model.size(), kUnit)),
               "%s has %llu bytes of %llu", name, static_cast<unsigned long long>(size),
               static_cast<unsigned long long>(model.size()));
  ORSIN_EXPECT(node->content.begins_like(model, model.size()), "%s holds other bytes", name);
}

}  // namespace

// A reader that jumps about.
void read_beside_others(Pass& pass) {
  constexpr char kFile[] = "C:\\media\\frames.raw";
  constexpr std::uint64_t kSize = 300000;
  const Content content = Content::made_of(7, kSize);
  pass.it.disk.put(kFile, Content::made_of(7, kSize));
  pass.it.disk.put(kOthers, Content::made_of(8, kSize));
  LibrarySession session;
  const Beside others(pass, start_transfers_of_others);
  const Inside library;
  fReadBuffer reader(io_invalid_handle());
  reader.cfg_buffers(static_cast<int>(pass.choice.between(1, 8)), 1 << pass.choice.between(12, 16),
                     1 << pass.choice.between(12, 16));
  bool all_right = reader.open_file(kFile, true, pass.choice.one_in(2), pass.choice.one_in(2));
  for (int i = 0; all_right && i < 12; ++i) {
    const std::uint64_t position = pass.choice.below(kSize);
    const std::uint64_t wanted = pass.choice.between(1, 40000);
    static unsigned char read[40000];
    static unsigned char expected[40000];
    reader.set_position(position);
    const std::uint64_t bytes = reader.read_file(read, 1, wanted);
    const std::uint64_t there = std::min(wanted, kSize - position);
    ORSIN_EXPECT(bytes <= there, "more bytes were read than there are");
    content.read(position, expected, bytes);
    ORSIN_EXPECT(std::memcmp(read, expected, bytes) == 0, "bytes of another place were read");
    all_right = bytes == there;
  }
  pass.expect_success(all_right, "reading", 0);
  ORSIN_EXPECT(all_right || session.has_complained(), "a read failed, and no line says so");
}

// A writer whose buffers may be small and whose pieces are of all lengths.
void write_beside_others(Pass& pass) {
  constexpr char kFile[] = "D:\\renders\\take.raw";
  pass.it.disk.make_directories("D:\\renders");
  pass.it.disk.put(kOthers, Content::made_of(8, 300000));
  LibrarySession session;
  Content model;
  bool all_right = false;
  {
    const Beside others(pass, start_transfers_of_others);
    const Inside library;
    fWriteBuffer writer(io_invalid_handle(), false);
    const bool has_buffer =
        writer.set_buffer(1 << pass.choice.between(12, 17), pass.choice.one_in(2));
    all_right = writer.open_file(kFile, 0, pass.choice.one_in(2)) &&
                write_pieces(pass, writer, model) && has_buffer;
    writer.close_file(true);
    all_right = all_right && writer.error() == 0;
  }
  const bool has_complained = session.has_warned();
  pass.expect_success(all_right, "writing", 0);
  ORSIN_EXPECT(all_right || has_complained, "a write failed, and no line says so");
  if (all_right) {
    expect_file(pass, kFile, model, has_complained);
  }
}

}  // namespace orsin::simulation
