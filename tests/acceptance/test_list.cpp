#include "tests/acceptance/test_list.h"

#include <cstdlib>

namespace orsin::acceptance {
namespace {

constexpr std::string_view kSkipped = "[  SKIPPED ]";
constexpr std::string_view kPassed = "[  PASSED  ] 1 test.";

std::string_view take_until(std::string_view& text, char end) {
  const std::size_t length = text.find(end);
  const std::string_view part = text.substr(0, length);
  text.remove_prefix(length == std::string_view::npos ? text.size() : length + 1);
  if (end == '\n' && !part.empty() && part.back() == '\r') {
    return part.substr(0, part.size() - 1);
  }
  return part;
}

}  // namespace

std::vector<ListedTest> parse_list(std::string_view text, std::string& bad) {
  std::vector<ListedTest> tests;
  while (!text.empty()) {
    std::string_view line = take_until(text, '\n');
    const std::string whole(line);
    ListedTest test;
    test.name = take_until(line, '\t');
    test.program = take_until(line, '\t');
    test.filter = take_until(line, '\t');
    test.seconds_max = std::atoi(std::string(take_until(line, '\t')).c_str());
    test.needs = take_until(line, '\t');
    if (test.filter.empty() || test.seconds_max <= 0 || !line.empty()) {
      bad = whole;
      return tests;
    }
    tests.push_back(test);
  }
  return tests;
}

Ending ending(int exit_code, std::string_view output) {
  if (exit_code != 0) {
    return Ending::kFailed;
  }
  if (output.find(kSkipped) != std::string_view::npos) {
    return Ending::kSkipped;
  }
  return output.find(kPassed) != std::string_view::npos ? Ending::kPassed : Ending::kFailed;
}

// The framework writes "FILE:LINE: Skipped", the reason below it, then the line with the mark.
std::string reason(std::string_view output) {
  constexpr std::string_view kHead = ": Skipped";
  const std::size_t head = output.find(kHead);
  if (head == std::string_view::npos) {
    return {};
  }
  output.remove_prefix(head + kHead.size());
  std::string text;
  for (const char unit : output.substr(0, output.find(kSkipped))) {
    const bool is_blank = unit == '\r' || unit == '\n' || unit == ' ';
    if (!is_blank) {
      text += unit;
    } else if (!text.empty() && text.back() != ' ') {
      text += ' ';
    }
  }
  while (!text.empty() && text.back() == ' ') {
    text.pop_back();
  }
  return text;
}

std::string medians(std::string_view output) {
  constexpr std::string_view kMedian = "_median";
  std::string kept;
  while (!output.empty()) {
    std::string line(take_until(output, '\n'));
    const std::size_t median = line.find(kMedian);
    if (median != std::string::npos) {
      line.erase(median, kMedian.size());
    }
    const bool is_head = line.rfind("Benchmark ", 0) == 0;
    if (is_head || median != std::string::npos ||
        line.find("ERROR OCCURRED") != std::string::npos) {
      kept += line + "\n";
    }
  }
  return kept;
}

}  // namespace orsin::acceptance
