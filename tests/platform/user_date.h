// What the user has settled on for dates, in native builds.
#pragma once

#include <string>

namespace orsin::test {

/// The short date of any day; empty: month, day and year, with slashes.
std::string& user_date();

}  // namespace orsin::test
