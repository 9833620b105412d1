// Decoding, converting and editing of UTF-8 against the slow decoder of the tests.
//
// Input: one byte of destination room, one of a character index, then the text up to its first NUL
// and a text to insert.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "orsincore/text.h"
#include "tests/text/naive_utf.h"

namespace {

using orsin::test::naive_code_points;
using orsin::test::naive_decode;
using orsin::test::naive_utf16;

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

// The first `count` characters' bytes.
std::size_t bytes_of(const std::string& text, std::size_t count) {
  std::size_t at = 0;
  for (; count > 0 && at < text.size(); --count) {
    at += naive_decode(text, at).length;
  }
  return at;
}

void check_decoding(const std::string& text) {
  const std::vector<unsigned> expected = naive_code_points(text);
  require(ov_utf8_strlen(text.c_str()) == expected.size());

  std::size_t pos = 0;
  for (const unsigned cp : expected) {
    require(ov_utf8_get_code_point(text.c_str(), &pos) == static_cast<int>(cp));
  }
  require(ov_utf8_get_code_point(text.c_str(), &pos) == 0 && pos == text.size());

  // Steps backwards end at the beginning, whatever the bytes are.
  while (pos > 0) {
    const std::size_t before = pos;
    ov_utf8_get_code_point_rev(text.c_str(), &pos);
    require(pos < before && before - pos <= 4);
  }
}

void check_validation(const std::string& text) {
  std::size_t valid = 0;
  while (valid < text.size() && naive_decode(text, valid).is_valid) {
    valid += naive_decode(text, valid).length;
  }
  require(ov_utf8_is_valid(text.c_str()) == (valid == text.size() ? 1 : 0));

  std::string cut = text;
  ov_utf8_validate(cut.data());
  require(std::string(cut.c_str()) == text.substr(0, valid));
}

// Units behind the last whole character keep their filler; the last one is 0.
void check_conversion(const std::string& text, std::size_t room) {
  constexpr unsigned short kFiller = 0xEEEE;
  std::vector<unsigned short> expected(room, kFiller);
  std::size_t written = 0;
  std::vector<unsigned> code_points = naive_code_points(text);
  code_points.push_back(0);
  for (const unsigned cp : code_points) {
    const std::u16string units = naive_utf16({cp});
    if (units.size() > room - written) {
      break;
    }
    for (const char16_t unit : units) {
      expected[written++] = static_cast<unsigned short>(unit);
    }
  }
  expected[room - 1] = 0;

  std::vector<unsigned short> actual(room, kFiller);
  ov_utf8_to_utf16(text.c_str(), actual.data(), room);
  require(actual == expected);

  // Back again into as much room as the longest encoding takes: one byte per byte and one to spare.
  std::vector<unsigned short> whole(text.size() + 2);
  ov_utf8_to_utf16(text.c_str(), whole.data(), whole.size());
  std::string back(text.size() * 3 + 2, '?');
  ov_utf16_to_utf8(whole.data(), back.data(), back.size());
  std::vector<unsigned short> again(whole.size());
  ov_utf8_to_utf16(back.c_str(), again.data(), again.size());
  if (ov_utf8_is_valid(text.c_str()) == 1 && text.find("\xF4") == std::string::npos &&
      text.find("\xED") == std::string::npos) {
    require(back.c_str() == text && again == whole);
  }
}

void check_editing(const std::string& text, const std::string& addition, std::size_t index,
                   std::size_t spare) {
  const std::size_t room = text.size() + 1 + spare;
  const std::size_t at = bytes_of(text, index);

  std::string buffer = text;
  buffer.resize(room);
  const std::size_t inserted =
      ov_utf8_insert(buffer.data(), room, static_cast<int>(index), addition.c_str());
  std::size_t fits = 0;
  while (fits < addition.size() && fits + naive_decode(addition, fits).length <= spare) {
    fits += naive_decode(addition, fits).length;
  }
  require(inserted == fits);
  std::string expected = text;
  expected.insert(at, addition, 0, fits);
  require(buffer.c_str() == expected);

  std::string rest = text;
  const std::size_t removed = ov_utf8_erase(rest.data(), static_cast<int>(index), 2);
  const std::size_t end = bytes_of(text, index + 2);
  require(removed == end - at);
  require(std::string(rest.c_str()) == text.substr(0, at) + text.substr(end));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  const std::size_t room = std::size_t{data[0]} + 1;
  const std::size_t index = data[1];
  const std::string input(reinterpret_cast<const char*>(data + 2), size - 2);
  const std::string text = input.c_str();
  const std::string addition = text.size() < input.size() ? input.c_str() + text.size() + 1 : "";

  check_decoding(text);
  check_validation(text);
  check_conversion(text, room);
  check_editing(text, addition, index, room % 16);
  return 0;
}
