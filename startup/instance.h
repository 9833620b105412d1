// One instance per application name, and what a second one leaves for the first.
#pragma once

#include <cstddef>

namespace orsin {

/// What all processes share that have loaded the library. The layout is fixed.
struct InstanceRecord {
  char command_line[260];  // Of the latest second instance; terminated unless it fills the field.
  int pending;             // 1 when a command line waits.
};
static_assert(offsetof(InstanceRecord, pending) == 260);
static_assert(sizeof(InstanceRecord) == 264);

/// The arguments of a raw command line: everything behind the program's name.
const char* arguments_of(const char* command_line);

/// Takes the single instance's mutex. False when another instance holds it: that one has then got
/// our arguments and the focus, or the user a message.
bool become_single_instance(const char* application_name);

/// Gives the mutex back, if it was taken.
void end_single_instance();

}  // namespace orsin
