// Scheduling presets and the administrator test.
//
// What the system refuses is a line in the log and nothing more: a host with fewer rights runs with
// the priorities it has.
#include "threads/scheduling.h"

#include <atomic>

#include "base/system_error_text.h"
#include "orsincore/log.h"
#include "orsincore/threads.h"
#include "threads/scheduling_port.h"

namespace orsin {
namespace {

// Without a lock: a race can only repeat the test.
constinit std::atomic<bool> admin_tested = false;
constinit std::atomic<bool> admin_result = false;

void set_above_normal() {
  if (!port::set_thread_priority(port::ThreadPriority::kAboveNormal)) {
    msgwarn("SCHED: Can't set time 'above normal' priority: %s", SystemErrorText().c_str());
  }
}

// Only prepares for raising priorities; what comes of it does not decide the administrator test.
void prepare_priorities() {
  switch (port::enable_priority_privilege()) {
    case port::PrivilegeResult::kNoToken:
      msgdebug("Failed to retrieve privilege level.. - %s", SystemErrorText().c_str());
      break;
    case port::PrivilegeResult::kRefused:
      msgdebug("Core: Can't adjust scheduling - %s", SystemErrorText().c_str());
      break;
    case port::PrivilegeResult::kEnabled:
      break;
  }
}

}  // namespace

void schedule_for_startup() {
  ov_admin_privileges();
  if (!port::set_process_class(port::ProcessClass::kHigh)) {
    msgwarn("SCHED: Can't set high base-priority: %s", SystemErrorText().c_str());
  }
  set_above_normal();
}

void forget_admin_test() {
  admin_tested.store(false);
}

}  // namespace orsin

using namespace orsin;

void mp_schedule_ndpi() {
  if (!port::set_process_class(port::ProcessClass::kRealTime)) {
    msgwarn("SCHED: Can't set realtime priority class: %s", SystemErrorText().c_str());
  }
  if (!port::set_thread_priority(port::ThreadPriority::kNormal)) {
    msgwarn("SCHED: Can't set time 'normal' priority: %s", SystemErrorText().c_str());
  }
}

// Kept on purpose: the text says "above normal", as is required.
void mp_schedule_highest() {
  if (!port::set_thread_priority(port::ThreadPriority::kHighest)) {
    msgwarn("SCHED: Can't set time 'above normal' priority: %s", SystemErrorText().c_str());
  }
}

void mp_schedule_high() {
  set_above_normal();
}

void mp_schedule_low() {
  if (!port::set_thread_priority(port::ThreadPriority::kIdle)) {
    msgwarn("SCHED: Can't set idle priority: %s", SystemErrorText().c_str());
  }
  if (!port::disable_priority_boost()) {
    msgwarn("SCHED: Can't disable priority boost: %s", SystemErrorText().c_str());
  }
}

bool ov_admin_privileges() {
  if (!admin_tested.load()) {
    prepare_priorities();
    admin_result.store(port::is_administrator());
    admin_tested.store(true);
  }
  return admin_result.load();
}
