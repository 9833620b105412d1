// Files written by the buffered writer in pieces of any size, and read back from any place.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "orsincore/files.h"
#include "orsincore/io.h"
#include "tests/soak/site.h"

namespace orsin::soak {
namespace {

constexpr int kThreads = 2;
constexpr std::size_t kBytesMax = 3'000'000;
constexpr std::uint32_t kPieceMax = 400'000;

class StreamWork : public Work {
 public:
  StreamWork(const Site& site, int index, std::uint64_t seed)
      : Work("streams", seed),
        path_(site.scratch + "\\stream" + std::to_string(index)),
        expected_(kBytesMax),
        found_(kBytesMax) {}

  void step() override {
    const std::size_t size = dice_.below(kBytesMax);
    fill_pattern(++number_, expected_.data(), size);
    if (write(size) && read(size) && jump(size)) {
      count_done();
    }
  }

 private:
  bool write(std::size_t size) {
    fWriteBuffer writer(io_invalid_handle(), false);
    if (!expect(writer.open_file(path_.c_str(), 0, dice_.once_in(2)), "open_file failed")) {
      return false;
    }
    writer.set_buffer(1 << (13 + dice_.below(8)), dice_.once_in(2));
    for (std::size_t done = 0; done < size;) {
      const std::size_t piece = std::min<std::size_t>(size - done, 1 + dice_.below(kPieceMax));
      done += static_cast<std::size_t>(writer.write_file(expected_.data() + done, 1, piece));
    }
    writer.close_file(true);
    return expect(writer.error() == 0, "write errors") &&
           expect(file_size(path_.c_str()) == static_cast<long long>(size), "another size");
  }

  bool read(std::size_t size) {
    fReadBuffer reader;
    reader.cfg_buffers(static_cast<int>(1 + dice_.below(8)), 1ULL << (12 + dice_.below(9)), 8192);
    if (!expect(reader.open_file(path_.c_str(), true, dice_.once_in(2), dice_.once_in(2)),
                "open_file failed to read")) {
      return false;
    }
    std::size_t done = 0;
    for (unsigned long long got = 1; got != 0 && done < size;
         done += static_cast<std::size_t>(got)) {
      got = reader.read_file(found_.data() + done, 1,
                             std::min<std::size_t>(size - done, 1 + dice_.below(kPieceMax)));
    }
    return expect(done == size && std::memcmp(expected_.data(), found_.data(), size) == 0,
                  "read_file gave other bytes");
  }

  bool jump(std::size_t size) {
    fReadBuffer reader;
    if (size == 0 ||
        !expect(reader.open_file(path_.c_str(), true, false, false), "open_file failed to jump")) {
      return size == 0;
    }
    for (int i = 0; i < 10; ++i) {
      const std::size_t place = dice_.below(static_cast<std::uint32_t>(size));
      const std::size_t piece = std::min<std::size_t>(size - place, 1 + dice_.below(50'000));
      reader.set_position(place);
      if (!expect(reader.read_file(found_.data(), 1, piece) == piece &&
                      std::memcmp(expected_.data() + place, found_.data(), piece) == 0,
                  "set_position led elsewhere")) {
        return false;
      }
    }
    return true;
  }

  std::string path_;
  std::uint64_t number_ = 0;
  std::vector<unsigned char> expected_;
  std::vector<unsigned char> found_;
};

}  // namespace

Works stream_works(const Site& site, std::uint64_t seed) {
  Works works;
  for (int i = 0; i < kThreads; ++i) {
    works.push_back(std::make_unique<StreamWork>(site, i, seed + static_cast<std::uint64_t>(i)));
  }
  return works;
}

}  // namespace orsin::soak
