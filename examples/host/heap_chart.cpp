#include "examples/host/heap_chart.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "examples/host/svg_writer.h"

namespace host {
namespace {

// Pixels.
constexpr double kWidth = 1160;
constexpr double kMargin = 40;
constexpr double kStripWidth = kWidth - 2 * kMargin;
constexpr double kStripHeight = 24;
constexpr double kStripPitch = 50;    // From one strip's text to the next one's.
constexpr double kTextRise = 7;       // From a strip's top to the text above it.
constexpr double kHeapHeadline = 36;  // Above the first strip's text.
constexpr double kScaleHeight = 48;   // Under the last strip, with the gap to the next heap.
constexpr double kStoryTop = 74;      // The line that says what happened first.
constexpr double kStoryPitch = 19;    // To the next one.
constexpr double kLegendGap = 12;     // From the last of them to the legend.
constexpr double kLegendHeight = 62;  // With the gap to the first heap.
constexpr double kSeamWidth = 3;      // Blocks from this width on show where they meet.

// Told apart by everybody, and in grey.
constexpr std::string_view kStyle =
    "text { font-family: 'Segoe UI', 'Helvetica Neue', 'DejaVu Sans', Arial, sans-serif; "
    "fill: #26323d; font-size: 12px; }\n"
    ".title { font-size: 22px; font-weight: 600; }\n"
    ".heap { font-size: 16px; font-weight: 600; }\n"
    ".quiet { fill: #66727e; }\n"
    ".scale { fill: #8a95a0; font-size: 11px; }\n"
    ".tick { stroke: #b9c2ca; stroke-width: 1; }\n"
    ".frame { fill: none; stroke: #9aa5b0; stroke-width: 1; }\n"
    ".free { fill: #f1f4f6; }\n"
    ".used { fill: #8fb8de; }\n"
    ".locked { fill: #f0a330; }\n"
    ".ex-locked { fill: #a8336b; }\n";

double to_mib(std::uint64_t bytes) {
  return static_cast<double>(bytes) / 1048576;
}

template <typename... Values>
std::string format(const char* pattern, Values... values) {
  std::array<char, 256> text = {};
  const int length = std::snprintf(text.data(), text.size(), pattern, values...);
  return length > 0 ? std::string(text.data()) : std::string();
}

std::string size_text(std::uint64_t bytes) {
  return format("%.1f MiB", to_mib(bytes));
}

std::string granule_text(std::uint64_t bytes) {
  return bytes < 1024 ? format("%d bytes", static_cast<int>(bytes))
                      : format("%d KiB", static_cast<int>(bytes / 1024));
}

std::string sums_text(const HeapSnapshot& heap) {
  std::string text;
  for (const BlockState state : kBlockStates) {
    text += format("%s %.1f, ", name_of(state), to_mib(heap.total(state)));
  }
  return text + format("largest gap %.1f MiB", to_mib(heap.largest_gap()));
}

// One box of a strip: a block, or neighbours of one state that are too thin to be seen alone.
struct Part {
  std::uint64_t offset;
  std::uint64_t size;
  BlockState state;
  int blocks;
};

std::vector<Part> parts_of(const HeapSnapshot& heap) {
  const double pixels_per_byte = kStripWidth / static_cast<double>(heap.size);
  const auto is_thin = [&](std::uint64_t size) {
    return static_cast<double>(size) * pixels_per_byte < kSeamWidth;
  };
  std::vector<Part> parts;
  bool last_is_thin = false;
  for (const Block& block : heap.blocks) {
    const bool this_is_thin = is_thin(block.size);
    if (!parts.empty() && parts.back().state == block.state && last_is_thin && this_is_thin) {
      parts.back().size += block.size;
      ++parts.back().blocks;
    } else {
      parts.push_back({block.offset, block.size, block.state, 1});
    }
    last_is_thin = this_is_thin;
  }
  return parts;
}

std::string hint_of(const Part& part) {
  const std::string what =
      part.blocks == 1 ? std::string("1 block") : format("%d blocks", part.blocks);
  return format("%s, %s, %s from %s", name_of(part.state), what.c_str(),
                size_text(part.size).c_str(), size_text(part.offset).c_str());
}

void draw_strip(SvgWriter& svg, const HeapSnapshot& heap, double top) {
  const double pixels_per_byte = kStripWidth / static_cast<double>(heap.size);
  svg.box(kMargin, top, kStripWidth, kStripHeight, "free");
  for (const Part& part : parts_of(heap)) {
    const double width = static_cast<double>(part.size) * pixels_per_byte;
    const double seam = width > kSeamWidth ? 0.75 : 0;
    svg.box(kMargin + static_cast<double>(part.offset) * pixels_per_byte, top, width - seam,
            kStripHeight, name_of(part.state), hint_of(part));
  }
  svg.box(kMargin, top, kStripWidth, kStripHeight, "frame");
}

// The outermost numbers stay within the strip.
SvgAnchor anchor_of(double mib, double size_mib) {
  if (mib == 0) {
    return SvgAnchor::kStart;
  }
  return mib == size_mib ? SvgAnchor::kEnd : SvgAnchor::kMiddle;
}

// About eight ticks at round numbers of MiB.
void draw_scale(SvgWriter& svg, const HeapSnapshot& heap, double top) {
  constexpr double kTicksMax = 8;
  const double size_mib = to_mib(heap.size);
  double step = 1;
  while (size_mib / step > kTicksMax) {
    step *= 2;
  }
  for (double mib = 0; mib <= size_mib; mib += step) {
    const double x = kMargin + kStripWidth * mib / size_mib;
    svg.line(x, top, x, top + 5, "tick");
    svg.text(x, top + 17, "scale", format("%.0f", mib), anchor_of(mib, size_mib));
  }
}

void draw_legend(SvgWriter& svg, double top) {
  struct Entry {
    BlockState state;
    const char* meaning;
    double width;
  };
  constexpr std::array<Entry, 4> kEntries = {{
      {BlockState::kUsed, "used: may move or be discarded", 240},
      {BlockState::kLocked, "locked by its owner", 175},
      {BlockState::kExLocked, "ex-locked by an address inside it", 250},
      {BlockState::kFree, "free", 60},
  }};
  double x = kMargin;
  for (const Entry& entry : kEntries) {
    svg.box(x, top, 22, 14, name_of(entry.state));
    svg.box(x, top, 22, 14, "frame");
    svg.text(x + 30, top + 11.5, "plain", entry.meaning);
    x += entry.width + 22;
  }
}

void draw_heap(SvgWriter& svg, const std::vector<Moment>& moments, std::size_t index, double top) {
  const HeapSnapshot& first = moments.front().heaps[index];
  svg.text(kMargin, top, "heap", first.name);
  svg.text(kMargin + 70, top, "quiet",
           size_text(first.size) + " in units of " + granule_text(first.granule) + "; " +
               (first.moves_first ? "moves blocks before it discards any"
                                  : "discards the least recently used block"));
  double text_line = top + kHeapHeadline - kTextRise;
  const HeapSnapshot* before = nullptr;
  for (const Moment& moment : moments) {
    const HeapSnapshot& heap = moment.heaps[index];
    svg.text(kMargin, text_line, "plain", moment.label);
    const bool is_unchanged = before != nullptr && *before == heap;
    svg.text(kMargin + kStripWidth, text_line, "quiet",
             is_unchanged ? "unchanged" : sums_text(heap), SvgAnchor::kEnd);
    draw_strip(svg, heap, text_line + kTextRise);
    text_line += kStripPitch;
    before = &heap;
  }
  draw_scale(svg, first, text_line - kStripPitch + kTextRise + kStripHeight);
}

double heap_height(std::size_t moments) {
  return kHeapHeadline + static_cast<double>(moments) * kStripPitch + kScaleHeight - 14;
}

// The state that a terminal's column shows: a lock is worth more than the rest, however small.
char letter_of(BlockState state) {
  switch (state) {
    case BlockState::kFree:
      return '.';
    case BlockState::kUsed:
      return '=';
    case BlockState::kLocked:
      return '#';
    case BlockState::kExLocked:
      return '@';
  }
  return '?';
}

char column_letter(const HeapSnapshot& heap, std::uint64_t begin, std::uint64_t end) {
  std::uint64_t used = 0;
  char letter = 0;
  for (const Block& block : heap.blocks) {
    const std::uint64_t from = std::max(begin, block.offset);
    const std::uint64_t to = std::min(end, block.offset + block.size);
    if (from >= to || block.state == BlockState::kFree) {
      continue;
    }
    used += to - from;
    if (block.state != BlockState::kUsed && letter != letter_of(BlockState::kExLocked)) {
      letter = letter_of(block.state);
    }
  }
  if (letter != 0) {
    return letter;
  }
  return letter_of(used > (end - begin) / 2 ? BlockState::kUsed : BlockState::kFree);
}

}  // namespace

Moment take_moment(const std::string& label, const std::string& comment) {
  Moment moment = {label, comment, {}};
  for (const MEM_HEAP_ID id : kHeaps) {
    moment.heaps.push_back(take_snapshot(id));
  }
  return moment;
}

std::string draw_chart(const std::vector<Moment>& moments) {
  const std::size_t heaps = moments.front().heaps.size();
  const double legend_top =
      kStoryTop + static_cast<double>(moments.size()) * kStoryPitch + kLegendGap - kStoryPitch / 2;
  const double heaps_top = legend_top + kLegendHeight;
  const double pitch = heap_height(moments.size());
  SvgWriter svg(kWidth, heaps_top + static_cast<double>(heaps) * pitch - kHeapHeadline / 2,
                "The standard heaps of an editor", kStyle);
  svg.text(kMargin, 46, "title", "The standard heaps of an editor");
  double line = kStoryTop;
  for (const Moment& moment : moments) {
    svg.text(kMargin, line, "plain", moment.label);
    svg.text(kMargin + 130, line, "quiet", moment.comment);
    line += kStoryPitch;
  }
  draw_legend(svg, legend_top);
  for (std::size_t i = 0; i < heaps; ++i) {
    draw_heap(svg, moments, i, heaps_top + static_cast<double>(i) * pitch);
  }
  return svg.picture();
}

std::string describe(const Moment& moment) {
  constexpr std::uint64_t kColumns = 64;
  std::string text = moment.label + ": " + moment.comment + "\n";
  for (const HeapSnapshot& heap : moment.heaps) {
    std::string strip;
    for (std::uint64_t column = 0; column < kColumns; ++column) {
      strip +=
          column_letter(heap, heap.size / kColumns * column, heap.size / kColumns * (column + 1));
    }
    text += format("  %-6s |%s| ", heap.name.c_str(), strip.c_str()) + sums_text(heap) + "\n";
  }
  return text;
}

std::string legend_line() {
  std::string line = "Letters:";
  for (const BlockState state : kBlockStates) {
    line += format("  %c %s", letter_of(state), name_of(state));
  }
  return line + " (a column shows any lock in it; sums in MiB)\n";
}

}  // namespace host
