// The Unicode Consortium's conformance data for the bidirectional algorithm, through our class.
//
// Debian's package unicode-data holds it. Of its cases those are admitted that fix the paragraph's
// direction, for OvBidi never guesses one. The data stops before rule L3, by which marks are put
// behind their letters; it is taken back here before the orders are compared.
#include <fribidi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "orsincore/text.h"
#include "tests/support/kit_path.h"
#include "text/bidi.h"

namespace orsin {
namespace {

constexpr int kRemoved = -1;  // A control that rule X9 takes out: no level, no place.

std::string data_path(const char* name) {
  return test::kit_path(std::string("unicode/") + name, std::string("/usr/share/unicode/") + name);
}

struct Case {
  std::vector<unsigned int> text;
  bool is_rtl = false;
  std::vector<int> levels;  // kRemoved where there is none.
  std::vector<int> order;   // Logical indices from left to right.
};

std::vector<int> parse_numbers(const std::string& text) {
  std::vector<int> numbers;
  std::istringstream words(text);
  std::string word;
  while (words >> word) {
    numbers.push_back(word == "x" ? kRemoved : std::stoi(word));
  }
  return numbers;
}

std::string to_utf8(const std::vector<unsigned int>& text) {
  std::string result;
  for (const unsigned int cp : text) {
    char bytes[4];
    const int size = ov_utf8_encode(static_cast<int>(cp), bytes, sizeof(bytes));
    result.append(bytes, static_cast<std::size_t>(size));
  }
  return result;
}

// Takes rule L3 back: where marks of an odd level stand to the right of their letter, the letter
// moves behind them, where rule L2 had left it.
std::vector<int> before_rule_l3(std::vector<int> order, const Case& c) {
  const auto level = [&](int logical) { return c.levels[static_cast<std::size_t>(logical)]; };
  const auto is_mark = [&](int logical) {
    return fribidi_get_bidi_type(c.text[static_cast<std::size_t>(logical)]) == FRIBIDI_TYPE_NSM;
  };
  for (auto first = order.begin(); first != order.end();) {
    auto last = first + 1;
    while (last != order.end() && level(*last) == level(*first) && level(*first) % 2 == 1 &&
           is_mark(*last) && *last > *(last - 1)) {
      ++last;
    }
    std::reverse(first, last);
    first = last;
  }
  return order;
}

// The levels and the order that our class finds, in the form of the data.
testing::AssertionResult agrees(OvBidiImpl& bidi, const Case& c) {
  const std::string text = to_utf8(c.text);
  bidi.SetRightToLeft(c.is_rtl ? 1 : 0);
  bidi.SetText(text.c_str());
  const bool is_reordered = bidi.HasRightToLeft();
  std::vector<int> levels;
  std::vector<int> order;
  for (int i = 0; i < static_cast<int>(c.text.size()); ++i) {
    const bool removed = c.levels[static_cast<std::size_t>(i)] == kRemoved;
    levels.push_back(removed ? kRemoved : is_reordered ? bidi.level(i) : 0);
    const int logical = is_reordered ? bidi.logical_index(i) : i;
    if (c.levels[static_cast<std::size_t>(logical)] != kRemoved) {
      order.push_back(logical);
    }
  }
  order = before_rule_l3(order, c);
  if (levels == c.levels && order == c.order) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure()
         << (c.is_rtl ? "right-to-left " : "left-to-right ") << testing::PrintToString(c.text)
         << "\n levels " << testing::PrintToString(levels) << " for "
         << testing::PrintToString(c.levels) << "\n order " << testing::PrintToString(order)
         << " for " << testing::PrintToString(c.order);
}

void report(const char* file, int admitted, int refused) {
  std::cout << file << ": " << admitted << " cases admitted, " << refused
            << " without a fixed paragraph direction\n";
}

// Characters of each class, so that the data's classes become texts. FriBidi says the same of them.
const std::map<std::string, std::vector<unsigned int>>& characters_of_classes() {
  static const std::map<std::string, std::vector<unsigned int>> kCharacters = {
      {"L", {'a', 'Z', 0xE9, 0x4E2D, 0x200E}},
      {"R", {0x5D0, 0x5EA, 0x7C0, 0x200F}},
      {"AL", {0x627, 0x644, 0x645, 0x712}},
      {"EN", {'0', '7', 0x6F5, 0xB2}},
      {"AN", {0x661, 0x669, 0x66B}},
      {"ES", {'+', '-', 0x207A}},
      {"ET", {'#', '$', '%', 0x20AC, 0xB0}},
      {"CS", {',', '.', ':', '/', 0xA0}},
      {"NSM", {0x300, 0x5B7, 0x64B, 0xFE0F}},
      {"BN", {0xAD, 0x200B, 0x1, 0x200D}},
      {"B", {0x2029, 0x0D, 0x1C, 0x85}},
      {"S", {'\t', 0x0B, 0x1F}},
      {"WS", {' ', 0x0C, 0x2003, 0x2028}},
      {"ON", {'!', '&', '*', '=', 0x1F600, 0xAB}},
      {"LRE", {0x202A}},
      {"RLE", {0x202B}},
      {"PDF", {0x202C}},
      {"LRO", {0x202D}},
      {"RLO", {0x202E}},
      {"LRI", {0x2066}},
      {"RLI", {0x2067}},
      {"FSI", {0x2068}},
      {"PDI", {0x2069}},
  };
  return kCharacters;
}

TEST(BidiConformance, OrdersEveryCaseOfBidiTest) {
  const unsigned seed = 9;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  std::ifstream file(data_path("BidiTest.txt"));
  ASSERT_TRUE(file) << "needs Debian's unicode-data";
  const auto& characters = characters_of_classes();
  OvBidiImpl bidi;
  Case c;
  std::string line;
  int admitted = 0;
  int refused = 0;
  while (std::getline(file, line)) {
    if (line.starts_with("@Levels:")) {
      c.levels = parse_numbers(line.substr(8));
    } else if (line.starts_with("@Reorder:")) {
      c.order = parse_numbers(line.substr(9));
    }
    const std::size_t separator = line.find(';');
    if (line.empty() || line[0] == '#' || line[0] == '@' || separator == std::string::npos) {
      continue;
    }
    c.text.clear();
    std::istringstream classes(line.substr(0, separator));
    for (std::string name; classes >> name;) {
      const std::vector<unsigned int>& choice = characters.at(name);
      c.text.push_back(choice[random() % choice.size()]);
    }
    const int directions = std::stoi(line.substr(separator + 1), nullptr, 16);
    refused += (directions & 1) != 0 ? 1 : 0;
    for (const int direction : {2, 4}) {
      if ((directions & direction) != 0) {
        c.is_rtl = direction == 4;
        ++admitted;
        ASSERT_TRUE(agrees(bidi, c)) << line;
      }
    }
  }
  report("BidiTest.txt", admitted, refused);
  EXPECT_GT(admitted, 500000);
}

TEST(BidiConformance, OrdersEveryCaseOfBidiCharacterTest) {
  std::ifstream file(data_path("BidiCharacterTest.txt"));
  ASSERT_TRUE(file) << "needs Debian's unicode-data";
  OvBidiImpl bidi;
  std::string line;
  int admitted = 0;
  int refused = 0;
  while (std::getline(file, line)) {
    if (line.empty() || line[0] == '#' || line[0] == '\r') {
      continue;
    }
    std::vector<std::string> fields;
    std::istringstream parts(line);
    for (std::string field; std::getline(parts, field, ';');) {
      fields.push_back(field);
    }
    ASSERT_GE(fields.size(), 4U) << line;
    fields.resize(5);  // The order may be empty.
    if (fields[1] == "2") {
      ++refused;
      continue;
    }
    Case c;
    std::istringstream points(fields[0]);
    for (unsigned int cp = 0; points >> std::hex >> cp;) {
      c.text.push_back(cp);
    }
    c.is_rtl = fields[1] == "1";
    c.levels = parse_numbers(fields[3]);
    c.order = parse_numbers(fields[4]);
    ++admitted;
    ASSERT_TRUE(agrees(bidi, c)) << line;
  }
  report("BidiCharacterTest.txt", admitted, refused);
  EXPECT_GT(admitted, 50000);
}

}  // namespace
}  // namespace orsin
