// The system's boxes about critical errors and files that cannot be opened.
//
// They stop a program until somebody presses a button, so the library turns them off, and adds that
// to what the host has set. The first change remembers the host's mode for closedown.
#pragma once

namespace orsin {

/// Turns the boxes off and leaves the rest of the process's mode.
void silence_error_boxes();

/// The same where something may have changed the mode since `mode` was read.
void silence_error_boxes(unsigned mode);

/// Gives the host its mode back, if it was changed.
void restore_error_boxes();

}  // namespace orsin
