// The list of languages a program can be shown in: the file "languages" beside the catalogues.
//
//   # id:display name:locale code[:anything]
//   0:System Default:x
//   2:Deutsch:de_DE
//   14:Srpski (latinica):sr_RS@latin
//
// The records keep the order of the file. The table finds the code for an id: it is as long as the
// largest id demands, and null where no line has that id. Id 0 stands for the system's own language,
// so its entry is the empty name. A line without two colons makes the table longer, nothing else.
//
// Ids above kLargestId are refused: the table would take the memory that a slip of the keyboard asks
// for. Negative ids have a record and no place in the table. Ids that occur twice: the last counts.
//
// The list owns one copy of the file's text; every string points into it.
#pragma once

#include <string_view>
#include <vector>

namespace orsin {

struct Language {
  int id = 0;
  const char* code = nullptr;  // Null in the terminating record only.
  int flags = 0;
  const char* display_name = "";
  const char* lookup_name = "";  // The code; empty for id 0.
};

class LanguageList {
 public:
  static constexpr int kLargestId = 1'000'000;  // A table of 8 MB.

  /// No language: the terminating record and no table.
  LanguageList() : records_(1) {}

  /// Reads the whole file's text. Throws only std::bad_alloc.
  explicit LanguageList(std::string_view file);

  /// In the order of the file, the terminating record (id 0, no code) last.
  [[nodiscard]] const std::vector<Language>& records() const { return records_; }

  /// Lookup names by id; null for ids that do not occur. Empty when there is no id from 0 on.
  [[nodiscard]] const std::vector<const char*>& table() const { return table_; }

  /// Lines whose id was above kLargestId.
  [[nodiscard]] int refused_count() const { return refused_count_; }

 private:
  template <typename Visit>
  void for_each_line(Visit visit);
  void add(int id, char* line, char* end);

  std::vector<char> text_;  // Moving the list keeps the addresses.
  std::vector<Language> records_;
  std::vector<const char*> table_;
  int refused_count_ = 0;
};

}  // namespace orsin
