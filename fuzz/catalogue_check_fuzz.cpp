// Gettext catalogues: in one that passes, every access of a trusting reader stays inside the file.
//
// The reader here does what a catalogue's reader does, in the native byte order, with each access
// checked; the check under test runs over the bytes as they are.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "tests/text/catalogue_builder.h"
#include "text/catalogue_check.h"

namespace {

void require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

class Reader {
 public:
  explicit Reader(std::string_view file) : file_(file) {
    std::uint32_t magic = 0;
    std::memcpy(&magic, file.data(), sizeof(magic));
    is_native_ = magic == 0x950412DE;
  }

  [[nodiscard]] std::uint32_t word(std::uint64_t offset) const {
    require(offset + 4 <= file_.size());
    const auto* bytes = reinterpret_cast<const unsigned char*>(file_.data()) + offset;
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
      value = value << 8 | bytes[is_native_ ? 3 - i : i];
    }
    return value;
  }

  void read_texts(std::uint64_t table, std::uint32_t count) const {
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::uint64_t length = word(table + 8 * std::uint64_t{i});
      const std::uint64_t offset = word(table + 8 * std::uint64_t{i} + 4);
      require(offset + length < file_.size());
      require(std::memchr(file_.data() + offset, 0, file_.size() - offset) != nullptr);
    }
  }

  void probe(std::uint32_t hash) const {
    const std::uint32_t size = word(20);
    if (size == 0) {
      return;
    }
    require(size > 2);  // Or the step below divides by zero.
    const std::uint64_t step = 1 + hash % (size - 2);
    std::uint64_t slot = hash % size;
    for (std::uint32_t i = 0; i < size && i < 1000; ++i) {
      require(word(word(24) + 4 * slot) <= word(8));
      slot = (slot + step) % size;
    }
  }

 private:
  std::string_view file_;
  bool is_native_ = true;
};

void read_if_sound(const std::vector<char>& bytes) {
  const std::string_view file(bytes.data(), bytes.size());
  if (!orsin::is_sound_catalogue(file)) {
    return;
  }
  const Reader reader(file);
  require(reader.word(8) > 0);
  reader.read_texts(reader.word(12), reader.word(8));
  reader.read_texts(reader.word(16), reader.word(8));
  for (const std::uint32_t hash : {0u, 1u, 12345u, 0xFFFFFFFu}) {
    reader.probe(hash);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // The bytes as a file.
  read_if_sound(std::vector<char>(data, data + size));

  // The bytes as changes to a sound file: the place of a byte, and what to add to it.
  orsin::test::CatalogueBuilder builder;
  builder.is_big_endian = size % 2 != 0;
  const std::string sound = builder.bytes();
  require(orsin::is_sound_catalogue(sound));
  std::vector<char> changed(sound.begin(), sound.end());
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    char& byte = changed[data[i] % changed.size()];
    byte = static_cast<char>(byte + static_cast<char>(data[i + 1]));
  }
  read_if_sound(changed);
  return 0;
}
