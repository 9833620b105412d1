// "bidi": a text in logical and visual order, its levels, and where carets stand in it.
#include <fribidi.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "examples/host/command.h"
#include "orsincore/text.h"

namespace host {
namespace {

struct Destroyer {
  void operator()(OvBidi* bidi) const { OvBidi::Destroy(bidi); }
};

// OvBidi keeps its levels to itself, so they are asked of FriBidi, which found them. Each line feed
// is a letter of the paragraph's direction there.
std::vector<FriBidiLevel> levels_of(const std::string& text, bool is_rtl) {
  std::vector<FriBidiChar> points(ov_utf8_strlen(text.c_str()) + 1);
  ov_utf8_to_utf32(text.c_str(), points.data(), points.size());
  points.pop_back();  // The terminator.
  const auto length = static_cast<FriBidiStrIndex>(points.size());
  std::vector<FriBidiCharType> types(points.size());
  std::vector<FriBidiBracketType> brackets(points.size());
  std::vector<FriBidiLevel> levels(points.size());
  FriBidiParType direction = is_rtl ? FRIBIDI_PAR_RTL : FRIBIDI_PAR_LTR;
  fribidi_get_bidi_types(points.data(), length, types.data());
  for (std::size_t i = 0; i < points.size(); ++i) {
    types[i] = points[i] == '\n' ? direction : types[i];
  }
  fribidi_get_bracket_types(points.data(), length, types.data(), brackets.data());
  if (length == 0 || fribidi_get_par_embedding_levels_ex(types.data(), brackets.data(), length,
                                                         &direction, levels.data()) == 0) {
    levels.clear();
  }
  return levels;
}

void print_carets(OvBidi& bidi, int length) {
  std::printf("\ncaret  to visual  to logical\n");
  for (int i = 0; i <= length; ++i) {
    std::printf("%5d  %9d  %10d\n", i, bidi.LogicalToVisual(i), bidi.VisualToLogical(i));
  }
}

int run_bidi(const Arguments& arguments) {
  const bool is_rtl = !arguments.empty() && arguments[0] == "--rtl";
  if (arguments.size() != (is_rtl ? 2U : 1U)) {
    return bad_usage(kBidiCommand, "needs one text");
  }
  const FastLibrary library;
  const std::string& text = arguments.back();
  const std::unique_ptr<OvBidi, Destroyer> bidi(OvBidi::Create());
  if (bidi == nullptr) {
    return fail("out of memory");
  }
  bidi->SetRightToLeft(is_rtl ? 1 : 0);
  bidi->SetText(text.c_str());

  std::printf("logical  %s\nvisual   %s\nlevels  ", text.c_str(), bidi->GetVisualText());
  for (const FriBidiLevel level : levels_of(text, is_rtl)) {
    std::printf(" %d", level);
  }
  std::printf("\nrtl      %s\n", bidi->HasRightToLeft() ? "yes" : "no");
  print_carets(*bidi, static_cast<int>(ov_utf8_strlen(text.c_str())));
  return kDone;
}

}  // namespace

const Command kBidiCommand = {
    "bidi", "show a text of mixed directions in visual order",
    "Usage: host bidi [--rtl] TEXT\n"
    "\n"
    "Prints the text as it is stored and as it is drawn, the embedding level of each character,\n"
    "whether anything runs from right to left, and the caret positions in both orders. --rtl makes\n"
    "it a right-to-left paragraph.\n",
    run_bidi};

}  // namespace host
