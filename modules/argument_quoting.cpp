// Quotes and backslashes by the rules that C run-time libraries split by.
#include "modules/argument_quoting.h"

#include <algorithm>

namespace orsin {
namespace {

// Blanks end an argument. Some run-time libraries replace wildcards outside quotes by what matches.
constexpr std::string_view kNeedsQuotes = " \t\n\v\"*?";

bool needs_quotes(std::string_view argument) {
  return argument.empty() || argument.find_first_of(kNeedsQuotes) != std::string_view::npos;
}

}  // namespace

std::string quoted_argument(std::string_view argument) {
  if (!needs_quotes(argument)) {
    return std::string(argument);
  }
  std::string quoted = "\"";
  std::size_t backslashes = 0;  // Just before the current place.
  for (const char c : argument) {
    if (c == '"') {
      quoted.append(backslashes + 1, '\\');
    }
    quoted += c;
    backslashes = c == '\\' ? backslashes + 1 : 0;
  }
  quoted.append(backslashes, '\\');  // Doubled, as the closing quote follows.
  return quoted + '"';
}

std::string quoted_program_name(std::string_view name) {
  std::string bare(name);
  bare.erase(std::remove(bare.begin(), bare.end(), '"'), bare.end());
  return needs_quotes(bare) ? '"' + bare + '"' : bare;
}

}  // namespace orsin
