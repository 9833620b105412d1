#include "orsincore/startup.h"

#include "orsincore/log.h"

//! [example]
int run_application(int argc, char** argv) {
  char name[] = "Ingest";  // Names the log file and the single instance.
  if (!ov_initialize(name, "INGEST_DATA", argc, argv)) {
    return 1;  // Another instance runs; it has been brought to the front.
  }
  msginfo("Settings and logs are in %s", file_get_data());
  ov_closedown();  // Ends threads, reports what was left behind, closes the log.
  return 0;
}
//! [example]
