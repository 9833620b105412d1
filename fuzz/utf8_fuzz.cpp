// Decoding agrees with a slow second version; edits keep the string's length in line with what they
// report and never leave the buffer.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "orsincore/text.h"
#include "tests/text/naive_utf.h"

namespace {

void check(bool condition) {
  if (!condition) {
    std::abort();
  }
}

void check_conversion(const std::string& text) {
  const std::u16string expected = orsin::test::naive_utf16(orsin::test::naive_code_points(text));
  std::vector<unsigned short> units(expected.size() + 2, 0xAAAA);
  ov_utf8_to_utf16(text.c_str(), units.data(), units.size());
  check(std::equal(expected.begin(), expected.end(), units.begin()) && units[expected.size()] == 0);
  check(ov_utf8_strlen(text.c_str()) == orsin::test::naive_code_points(text).size());
}

void check_edits(const std::string& text, int index, int count) {
  std::vector<char> buffer(text.size() + 9);
  std::memcpy(buffer.data(), text.c_str(), text.size() + 1);
  const int added = ov_utf8_insert_char(buffer.data(), buffer.size(), index, 0x20AC);
  check(std::strlen(buffer.data()) == text.size() + static_cast<std::size_t>(added));
  const std::size_t inserted = ov_utf8_insert(buffer.data(), buffer.size(), index, text.c_str());
  check(std::strlen(buffer.data()) == text.size() + static_cast<std::size_t>(added) + inserted);
  const std::size_t before = std::strlen(buffer.data());
  const std::size_t erased = ov_utf8_erase(buffer.data(), index, count);
  check(std::strlen(buffer.data()) == before - erased);
  ov_utf8_validate(buffer.data());
  check(ov_utf8_is_valid(buffer.data()) == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  const std::string text(std::string(reinterpret_cast<const char*>(data + 2), size - 2).c_str());
  check_conversion(text);
  check_edits(text, data[0], data[1]);
  return 0;
}
