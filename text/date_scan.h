// The pattern language of date::scan(), apart from the class.
#pragma once

#include <cstdint>

namespace orsin {

/// What a scan reads into; fields keep their values where the text names none.
struct ScannedDate {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

/// Reads `text` by `pattern`. Returns the rest of the text, or null at a mismatch with the fields
/// read so far changed.
///
/// @param current_year  Asked for the century of a year with at most two digits, and only then: the
///                      system's clock and time zone cost more than the whole scan.
/// @param extra         Receives what %G and %O add; may be null.
const char* scan_date(const char* text, const char* pattern, int (*current_year)(),
                      ScannedDate& fields, int* extra);

}  // namespace orsin
