// Reads back what many threads wrote into one log at once: no line torn, none lost, none twice.
//
// The threads that write for the check number their lines: "soak <writer> <number>" and whatever
// follows. Every other line only has to look like a line of the log.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace orsin::soak {

class LogCheck {
 public:
  static constexpr int kWritersMax = 8;

  /// Takes the next bytes of the log. They may end anywhere.
  void read(std::string_view bytes);

  /// Lines so far.
  [[nodiscard]] std::uint64_t lines() const { return lines_; }

  /// How many lines of a writer are in the log.
  [[nodiscard]] std::uint64_t lines_of(int writer) const;

  /// The first line that is not as it should be, with the reason and the line before it; empty while
  /// there is none.
  [[nodiscard]] const std::string& complaint() const { return complaint_; }

  /// The lines before the first few faults, without the numbered ones; see kFault.
  [[nodiscard]] const std::vector<std::string>& before_faults() const { return before_faults_; }

  /// What the text of a line begins with that names a fault of the run.
  static constexpr std::string_view kFault = "Soak fault: ";

 private:
  void read_line(std::string_view line);
  void read_numbered(std::string_view text, std::string_view line);
  void remember(std::string_view line, bool is_fault);
  void complain(std::string_view reason, std::string_view line);

  std::string rest_;    // The beginning of a line whose end is still to come.
  std::string before_;  // The latest whole line.
  std::uint64_t lines_ = 0;
  std::array<std::uint64_t, kWritersMax> next_ = {};
  std::string complaint_;
  std::deque<std::string> recent_;
  std::vector<std::string> before_faults_;
};

}  // namespace orsin::soak
