// The standard heaps as strips from the first address to the last, at several moments: in colour for
// a browser, in letters for a terminal.
#pragma once

#include <string>
#include <vector>

#include "examples/host/heap_snapshot.h"

namespace host {

/// The heaps at one moment, in the order of kHeaps.
struct Moment {
  std::string label;    // "At work".
  std::string comment;  // What has happened just before.
  std::vector<HeapSnapshot> heaps;
};

Moment take_moment(const std::string& label, const std::string& comment);

/// The moments' strips one under the other for each heap, as an SVG file.
std::string draw_chart(const std::vector<Moment>& moments);

/// One line a heap: the strip in letters and its sums.
std::string describe(const Moment& moment);

/// What the letters of describe() mean.
std::string legend_line();

}  // namespace host
