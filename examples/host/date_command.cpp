// "date": the present moment, or one read from a text by a pattern.
#include <cstdio>
#include <string>

#include "examples/host/command.h"
#include "orsincore/text.h"

namespace host {
namespace {

// A date's own texts are at most this long.
constexpr int kTextBytes = 260;

void print_date(const date& d) {
  char user[kTextBytes];
  char xml[kTextBytes];
  char numeric[kTextBytes];
  d.format(user, true);
  d.format_xml(xml, true);
  d.format_num(numeric, true);
  std::printf("user     %s\nxml      %s\nnumeric  %s\nposix    %lld\n", user, xml, numeric,
              static_cast<long long>(d));
  if (d.year_day() < 0) {
    std::printf("day      there is no such day\n");
    return;
  }
  std::printf("day      %s, day %d of %d in %d\n", d.day_name(false), d.year_day(),
              d.max_year_day(), d.year());
}

int run_date(const Arguments& arguments) {
  const bool scans = !arguments.empty() && arguments[0] == "--scan";
  if (arguments.size() != (scans ? 3U : 0U)) {
    return bad_usage(kDateCommand, "takes nothing, or --scan with a pattern and a text");
  }
  const FastLibrary library;
  date d;
  if (!scans) {
    print_date(d);
    return kDone;
  }
  int extra = 0;
  const char* rest = d.scan(arguments[2].c_str(), arguments[1].c_str(), &extra);
  if (rest == nullptr) {
    return fail("the text does not fit the pattern");
  }
  print_date(d);
  std::printf("extra    %d\nrest     '%s'\n", extra, rest);
  return kDone;
}

}  // namespace

const Command kDateCommand = {
    "date", "print the present date, or one read from a text",
    "Usage: host date [--scan PATTERN TEXT]\n"
    "\n"
    "Prints a date in the user's form, as xml, as a number and as POSIX time (read as local\n"
    "standard time). --scan reads what the text says into the present date:\n"
    "\n"
    "  host date --scan '%Y-%m-%d' 2024-02-29\n"
    "  host date --scan '%A, %e %B %Y' 'Thursday, 29 February 2024'\n",
    run_date};

}  // namespace host
