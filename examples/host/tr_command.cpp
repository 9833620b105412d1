// "tr": the translation of a text into the language that the user chose.
#include <cstdio>
#include <string>

#include "examples/host/command.h"
#include "orsincore/text.h"

namespace host {
namespace {

int tr(const Arguments& arguments) {
  const bool has_context = !arguments.empty() && arguments[0] == "--context";
  const std::size_t first = has_context ? 2 : 0;
  if (arguments.size() != first + 1) {
    return bad_usage(kTrCommand, "needs one text");
  }
  const FullLibrary library;
  if (!library.started()) {
    return busy();
  }
  const char* context = has_context ? arguments[1].c_str() : nullptr;
  std::printf("%s\n", ov_pgettext(context, arguments[first].c_str()));
  return kDone;
}

}  // namespace

const Command kTrCommand = {
    "tr", "translate a text into the user's language",
    "Usage: host tr [--context C] MSGID\n"
    "\n"
    "Prints the translation of MSGID (in context C), or MSGID itself where there is none. The\n"
    "language is the one that Settings/language.cfg names, else the user's own.\n",
    tr};

}  // namespace host
