#include "examples/host/cancel_request.h"

namespace host {

bool ends_process(unsigned event) {
  return event == kConsoleClosed || event == kLoggedOff || event == kShutDown;
}

void CancelRequest::on_event(unsigned event) {
  is_asked_.store(true);
  if (ends_process(event)) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return is_clean_; });
  }
}

void CancelRequest::set_cleaned_up() {
  const std::lock_guard lock(mutex_);
  is_clean_ = true;
  changed_.notify_all();
}

}  // namespace host
