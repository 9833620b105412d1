// Writes banner, system, processors and owner at the head of the log.
#include "startup/system_report.h"

#include <cstdio>

#include "base/given_text.h"
#include "orsincore/log.h"
#include "orsincore/startup.h"
#include "orsincore/text.h"
#include "orsincore/threads.h"
#include "startup/build_date.h"
#include "startup/startup_port.h"

namespace orsin {
namespace {

constexpr char kRule[] = "---------------------------------------------------";

void write_computer() {
  char name[64];
  if (ov_computername(name, sizeof(name))) {
    msgcont("\\\\%s\\'%s'", name, file_get_code());
  } else {
    msgcont("\\\\?\\'%s'", file_get_code());
  }
}

void write_system_version() {
  port::Version product;
  if (port::system_product_version(product)) {
    msgcont("Windows Version %d.%d.%d.%d", product.parts[0], product.parts[1], product.parts[2],
            product.parts[3]);
    return;
  }
  const port::SystemVersion system = port::system_version();
  if (system.service_pack[0] != '\0') {
    msgcont("WIN64 Version %d.%02d (Build: %d - %s)", system.major, system.minor, system.build,
            system.service_pack);
  } else {
    msgcont("WIN64 Version %d.%02d (Build: %d)", system.major, system.minor, system.build);
  }
}

void write_processors() {
  unsigned int count = 0;
  unsigned int logical = 0;
  unsigned int features = 0;
  unsigned int state = 0;
  char name[129] = {};
  ov_cpu_info(&count, &logical, name, &features, &state);
  msgcont("%d CPU's: %s", static_cast<int>(count), name);
  write_hyperthreading(state, static_cast<int>(logical));
}

void write_timer(int resolution_ms) {
  msgcont("Timer frequency : %.2f MHz", mp_getclockfrequency() / 1000000.0);
  if (resolution_ms != 0) {
    msgcont("Timer resolution: %d ms", resolution_ms);
  } else {
    msgerror("MP: Failed to set timer resolution");
  }
}

}  // namespace

void write_rule() {
  msgcont("%s", kRule);
}

void write_hyperthreading(unsigned int state, int logical) {
  switch (state) {
    case 0:
      msgcont("       : HyperThreading %d (Not capable)", logical);
      break;
    case 1:
      msgcont("       : HyperThreading %d (Enabled)", logical);
      break;
    case 2:
    case 3:
      msgcont("       : HyperThreading %d (Disabled)", logical);
      break;
    case 4:
      msgcont("       : HyperThreading %d (Not detected)", logical);
      break;
    default:
      break;
  }
}

void write_banner(const char* application_name, int level, const RestartState& restart) {
  char now[260];
  date().format(now, true);
  msginfo("%s", kRule);
  msgcont("%s - [Build: %s]", given(application_name), kBuildDate);
  if (restart.is_continued) {
    msgcont("Log continued(%d): %s", level, now);
  } else {
    msgcont("Log started(%d): %s", level, now);
    msg_os_error("Restart Error", restart.error);
  }
}

void write_system_report(std::uint64_t physical_bytes, int timer_resolution_ms) {
  write_computer();
  write_rule();
  write_system_version();
  write_processors();
  fpu_setup(false);
  write_timer(timer_resolution_ms);
  msgcont("Physical memory : %.0f Mb", static_cast<double>(physical_bytes + 1047552) / 1048576.0);
}

void write_owner_report() {
  char text[128];
  if (port::registered("RegisteredOrganization", text, sizeof(text))) {
    msgcont("Organization    : %s", text);
  }
  if (port::registered("RegisteredOwner", text, sizeof(text))) {
    msgcont("Owner           : %s", text);
  }
  msgcont("%s",
          ov_admin_privileges() ? "Privilege level : Administrator" : "Privilege level : User");
}

void write_executor_report(int workers) {
  if (workers >= 2) {
    msgcont("SMP Initialize  : %d-way multi-processing", workers);
  } else if (workers == 1) {
    msgcont("SMP Initialize  : Single-processing");
  } else {
    msgcont("SMP Initialize  : Failed..");
  }
}

}  // namespace orsin

using namespace orsin;

bool ov_computername(char* destination, std::size_t size) {
  if (destination == nullptr || size == 0) {
    return false;
  }
  if (port::computer_name(destination, size)) {
    return true;
  }
  std::snprintf(destination, size, "%s", "???");
  return false;
}
