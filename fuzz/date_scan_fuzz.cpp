// The pattern language of dates: whatever text and pattern say, the rest lies within the text and
// the fields that a success leaves are in their ranges.
//
// Input: the pattern, a NUL, the text.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "text/date_scan.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::string pattern = input.c_str();
  const std::string text = pattern.size() < input.size() ? input.c_str() + pattern.size() + 1 : "";
  orsin::ScannedDate fields = {2024, 5, 17, 13, 14, 15};
  int extra = 0;

  const char* rest = orsin::scan_date(text.c_str(), pattern.c_str(), 2026, fields, &extra);

  if (rest != nullptr && (rest < text.c_str() || rest > text.c_str() + text.size())) {
    std::abort();
  }
  // %p adds 12 to an hour of at most 12, so 23 stays the highest.
  const bool in_range = fields.month >= 1 && fields.month <= 12 && fields.day >= 0 &&
                        fields.day <= 31 && fields.hour >= 0 && fields.hour <= 23 &&
                        fields.minute >= 0 && fields.minute <= 59 && fields.second >= 0 &&
                        fields.second <= 59;
  if (!in_range) {
    std::abort();
  }
  return 0;
}
