// The shapes of a log's lines, and the numbers in those that carry one.
#include "tests/soak/log_check.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace orsin::soak {
namespace {

// A digit stands for any; the level follows.
constexpr std::string_view kTime = "00:00:00.00 ";
constexpr std::string_view kLevels[] = {"ERROR: ", "WARN : ", "INFO : ", "DEBUG: ", "TRACE: "};
constexpr std::string_view kContinuation = "                 : ";
constexpr std::string_view kRepeated = "               # : Repeated ";
constexpr std::string_view kEndOfReason = "]";  // A system's text that ends a line of its own.
constexpr std::string_view kNumbered = "soak ";

bool is_digit(char unit) {
  return unit >= '0' && unit <= '9';
}

bool begins_with_time(std::string_view line) {
  return line.size() >= kTime.size() &&
         std::equal(kTime.begin(), kTime.end(), line.begin(), [](char wanted, char unit) {
           return wanted == '0' ? is_digit(unit) : wanted == unit;
         });
}

// What follows time and level, or a null view when those are not there.
std::string_view text_of(std::string_view line) {
  if (begins_with_time(line)) {
    line.remove_prefix(kTime.size());
    for (const std::string_view level : kLevels) {
      if (line.starts_with(level)) {
        return line.substr(level.size());
      }
    }
  }
  return {};
}

// Takes a number and the blank behind it off the front. False when there is none.
bool take_number(std::string_view& text, std::uint64_t& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end == text.data() + text.size() || *end != ' ') {
    return false;
  }
  text.remove_prefix(static_cast<std::size_t>(end - text.data()) + 1);
  return true;
}

}  // namespace

void LogCheck::read(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    rest_ += bytes.substr(0, end);
    if (end == std::string_view::npos) {
      return;
    }
    if (!rest_.empty() && rest_.back() == '\r') {
      rest_.pop_back();
    }
    read_line(rest_);
    before_.swap(rest_);
    rest_.clear();
    bytes.remove_prefix(end + 1);
  }
}

std::uint64_t LogCheck::lines_of(int writer) const {
  return next_[static_cast<std::size_t>(writer)];
}

void LogCheck::read_line(std::string_view line) {
  ++lines_;
  const std::string_view text = text_of(line);
  if (text.starts_with(kNumbered)) {
    read_numbered(text.substr(kNumbered.size()), line);
    return;
  }
  remember(line, text.starts_with(kFault));
  if (text.data() == nullptr && !line.starts_with(kContinuation) && !line.starts_with(kRepeated) &&
      line != kEndOfReason) {
    complain("not a line of the log", line);
  }
}

void LogCheck::remember(std::string_view line, bool is_fault) {
  constexpr std::size_t kRecentMax = 15;
  constexpr std::size_t kFaultsMax = 5;
  recent_.emplace_back(line);
  if (recent_.size() > kRecentMax) {
    recent_.pop_front();
  }
  if (is_fault && before_faults_.size() < kFaultsMax) {
    before_faults_.emplace_back();
    for (const std::string& one : recent_) {
      before_faults_.back().append(one).append("\n");
    }
  }
}

// A numbered line ends with its own number, so that a cut one is noticed.
void LogCheck::read_numbered(std::string_view text, std::string_view line) {
  std::uint64_t writer = 0;
  std::uint64_t number = 0;
  if (!take_number(text, writer) || writer >= next_.size() || !take_number(text, number)) {
    complain("no number", line);
    return;
  }
  std::uint64_t& next = next_[static_cast<std::size_t>(writer)];
  if (number != next) {
    complain("lines were lost, or changed places, before", line);
  } else if (!text.ends_with(" " + std::to_string(number))) {
    complain("cut", line);
  }
  next = number + 1;
}

void LogCheck::complain(std::string_view reason, std::string_view line) {
  if (complaint_.empty()) {
    complaint_.append(reason).append(": ").append(line).append(", behind: ").append(before_);
  }
}

}  // namespace orsin::soak
