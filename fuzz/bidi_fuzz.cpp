// Bidirectional text of any bytes.
//
// Input: a first byte for the direction and the selection, then the text. The visual text has as
// many characters as the logical one; every caret lands within the text; each character of the
// selection is in one run, and runs go from left to right without touching.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "orsincore/text.h"

namespace {

void expect(bool holds) {
  if (!holds) {
    std::abort();
  }
}

struct Destroyer {
  void operator()(OvBidi* bidi) const { OvBidi::Destroy(bidi); }
};

void check_selection(OvBidi& bidi, int length, int start, int end) {
  bidi.SetSelection(start, end);
  int selected = 0;
  int first = 0;
  int last = -1;
  while (true) {
    const int previous = last;
    if (!bidi.NextSelectionRun(&first, &last)) {
      break;
    }
    expect(first > previous && last > first && last <= length);
    selected += last - first;
  }
  expect(selected == end - start);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::unique_ptr<OvBidi, Destroyer> bidi(OvBidi::Create());
  bidi->SetRightToLeft(data[0] & 1);
  bidi->SetText(text.c_str());

  const int length = static_cast<int>(ov_utf8_strlen(text.c_str()));
  const char* visual = bidi->GetVisualText();

  expect(static_cast<int>(ov_utf8_strlen(visual)) == length);
  expect(bidi->HasRightToLeft() == (visual != text.c_str()));
  for (int i = 0; i <= length; ++i) {
    const int v = bidi->LogicalToVisual(i);
    const int l = bidi->VisualToLogical(i);
    expect(v >= 0 && v <= length && l >= 0 && l <= length);
  }
  if (length > 0) {
    const int start = (data[0] >> 1) % length;
    check_selection(*bidi, length, start, length);
    check_selection(*bidi, length, 0, start + 1);
  }
  return 0;
}
