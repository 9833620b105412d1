#include "orsincore/text.h"

//! [example]
const char* name_of_open_command() {
  return ov_pgettext("menu", "Open");  // In the user's language, or as it stands here.
}

void digest_of(const unsigned char* data, int size, unsigned char digest[16]) {
  md5_state_s state;
  ov_md5_init(&state);
  ov_md5_append(&state, data, size);
  ov_md5_finish(&state, digest);
}
//! [example]
