// Decoding, conversion and editing of UTF-8 against a second decoder written from the rules.
//
// Input: two bytes that choose a room and an index, then the text up to its first NUL.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "orsincore/text.h"
#include "tests/text/naive_utf.h"

namespace {

using orsin::test::naive_code_points;

void expect(bool holds) {
  if (!holds) {
    std::abort();
  }
}

void check_decoding(const std::string& text, const std::vector<unsigned>& expected) {
  expect(ov_utf8_strlen(text.c_str()) == expected.size());
  std::size_t at = 0;
  for (const unsigned cp : expected) {
    expect(static_cast<unsigned>(ov_utf8_get_code_point(text.c_str(), &at)) == cp);
  }
  expect(at == text.size() && ov_utf8_get_code_point(text.c_str(), &at) == 0);
  while (at > 0) {
    const std::size_t before = at;
    ov_utf8_get_code_point_rev(text.c_str(), &at);
    expect(at < before);
  }
}

void check_conversions(const std::string& text, const std::vector<unsigned>& expected,
                       std::size_t room) {
  const std::u16string wide = orsin::test::naive_utf16(expected);
  std::vector<unsigned short> utf16(wide.size() + 1, 0xABCD);
  ov_utf8_to_utf16(text.c_str(), utf16.data(), utf16.size());
  expect(std::equal(wide.begin(), wide.end(), utf16.begin()) && utf16.back() == 0);

  std::vector<unsigned int> utf32(expected.size() + 1, 0xABCD);
  ov_utf8_to_utf32(text.c_str(), utf32.data(), utf32.size());
  expect(std::equal(expected.begin(), expected.end(), utf32.begin()) && utf32.back() == 0);

  std::string encoded;
  for (const unsigned cp : expected) {
    encoded += orsin::test::naive_encode(cp);
  }
  std::vector<char> utf8(encoded.size() + 1, 'x');
  ov_utf32_to_utf8(utf32.data(), utf8.data(), utf8.size());
  expect(utf8.data() == encoded);

  // Back again. Halves of pairs that stand beside each other would read as one character, and the
  // pairs of the highest code points do not read back.
  const auto reads_back = [](unsigned cp) { return cp < 0xD800 || (cp > 0xDFFF && cp < 0x100000); };
  if (std::all_of(expected.begin(), expected.end(), reads_back)) {
    std::vector<char> back(encoded.size() + 1, 'x');
    ov_utf16_to_utf8(utf16.data(), back.data(), back.size());
    expect(back.data() == encoded && back.back() == 0);
  }

  // A short target holds whole characters and ends in 0.
  std::vector<unsigned short> cut(room, 0xABCD);
  ov_utf8_to_utf16(text.c_str(), cut.data(), cut.size());
  expect(cut.back() == 0);
  for (std::size_t i = 0; i + 1 < room && i < wide.size() && cut[i] != 0xABCD; ++i) {
    expect(cut[i] == wide[i]);
  }
}

void check_editing(const std::string& text, std::size_t room, int index) {
  std::vector<char> buffer(text.size() + room);
  std::memcpy(buffer.data(), text.c_str(), text.size() + 1);
  const std::size_t inserted = ov_utf8_insert(buffer.data(), buffer.size(), index, text.c_str());
  expect(std::strlen(buffer.data()) == text.size() + inserted && inserted < room);
  const std::size_t at = ov_utf8_get_num_bytes(text.c_str(), 0, index);
  const std::string expected = text.substr(0, at) + text.substr(0, inserted) + text.substr(at);
  expect(buffer.data() == expected);

  const std::size_t length = std::strlen(buffer.data());
  const std::size_t erased = ov_utf8_erase(buffer.data(), index, 3);
  expect(std::strlen(buffer.data()) == length - erased);

  ov_utf8_validate(buffer.data());
  expect(ov_utf8_is_valid(buffer.data()) == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  const std::string text = std::string(reinterpret_cast<const char*>(data + 2), size - 2).c_str();
  const std::size_t room = std::size_t{data[0]} % 64 + 1;
  const std::vector<unsigned> expected = naive_code_points(text);

  check_decoding(text, expected);
  check_conversions(text, expected, room);
  check_editing(text, room, data[1] % 64);
  return 0;
}
