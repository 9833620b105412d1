// One instance per application name: the named mutex that tells, and what a second one does.
//
// The mutex is never taken; that it exists is the sign. A second instance leaves its arguments in the
// record that all processes of the library share, shows the first one's window, and goes. The record
// has no lock: the flag is written after the text. It is one for all applications of the library's
// file, and the latest arguments win.
#include "startup/instance.h"

#include <cstdio>

#include "base/log_port.h"
#include "orsincore/startup.h"
#include "startup/instance_port.h"

namespace orsin {
namespace {

constinit void* instance_mutex = nullptr;

// Copies at most the record's 260 bytes, and zeros behind a shorter text.
template <typename To, typename From>
void copy_command_line(To* to, const From* from) {
  bool has_ended = false;
  for (std::size_t i = 0; i < sizeof(InstanceRecord::command_line); ++i) {
    has_ended = has_ended || from[i] == '\0';
    to[i] = has_ended ? '\0' : from[i];
  }
}

void leave_arguments(const char* arguments) {
  volatile InstanceRecord& record = port::instance_record();
  copy_command_line(record.command_line, arguments);
  record.pending = 1;
}

void show_first_instance(const char* application_name) {
  char class_name[300];
  std::snprintf(class_name, sizeof(class_name), "%sKORVANE", application_name);
  void* window = port::find_window(class_name);
  if (window == nullptr) {
    if (port::desktop_is_visible()) {  // Elsewhere nobody could press the button.
      port::show_message("There is already an instance running!", application_name);
    }
    return;
  }
  if (port::is_minimised(window)) {
    port::restore_window(window);
  }
  port::raise_window(window);
}

}  // namespace

bool become_single_instance(const char* application_name) {
  char name[400];
  std::snprintf(name, sizeof(name), "%s_5E4C86F371114ee585BCDA0859351AE0", application_name);
  port::set_last_system_error(0);
  instance_mutex = port::create_named_mutex(name);
  const unsigned error = port::last_system_error();
  // A first instance with more rights, or of another user in this session, lets nobody open its
  // mutex. It runs all the same, and has the log.
  if (error != port::kAlreadyExists && error != port::kAccessDenied) {
    return true;
  }
  leave_arguments(arguments_of(port::raw_command_line()));
  end_single_instance();
  show_first_instance(application_name);
  return false;
}

void end_single_instance() {
  if (instance_mutex != nullptr) {
    port::close_named_mutex(instance_mutex);
    instance_mutex = nullptr;
  }
}

}  // namespace orsin

using namespace orsin;

int ov_get_instance_update(char* destination) {
  volatile InstanceRecord& record = port::instance_record();
  const int pending = record.pending;
  if (pending == 0 || destination == nullptr) {
    return 0;
  }
  copy_command_line(destination, record.command_line);
  record.pending = 0;
  return pending;
}
