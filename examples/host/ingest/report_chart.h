// A destination's throughput over time as a small SVG picture for the report.
#pragma once

#include <string>
#include <vector>

#include "examples/host/ingest/run_record.h"

namespace host::ingest {

/// @param seconds  How long the run was: the width of the picture.
/// @return The SVG element; empty when there is too little to draw.
[[nodiscard]] std::string throughput_chart(const std::vector<Sample>& samples, double seconds);

}  // namespace host::ingest
