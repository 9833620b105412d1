// The message log's clock over the C library.
#include <ctime>

#include "base/log_port.h"

namespace orsin::port {

double local_time_of_day() noexcept {
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  localtime_r(&now, &local);
  return (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
}

}  // namespace orsin::port
