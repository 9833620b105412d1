// The page about a run: one HTML file that needs nothing else, for the screen and for paper, light
// and dark.
//
// What went wrong comes first; then where the card went to, how fast, and, folded away, every file
// with its hashes.
#pragma once

#include <string>

#include "examples/host/ingest/run_record.h"

namespace host::ingest {

[[nodiscard]] std::string report_page(const RunRecord& record);

}  // namespace host::ingest
