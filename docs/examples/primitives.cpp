#include "orsincore/primitives.h"

//! [example]
struct Mailbox {
  __mutex_str* mutex = mp_new_mutex(0, 0);
  __cond_str* changed = mp_new_cond_block();
  int letters = 0;
};

void put(Mailbox& mailbox) {
  mp_get_mutex(mailbox.mutex);
  ++mailbox.letters;
  mp_cond_signal(mailbox.changed);
  mp_release_mutex(mailbox.mutex);
}

void take(Mailbox& mailbox) {
  mp_get_mutex(mailbox.mutex);
  while (mailbox.letters == 0) {  // A wait may end without a reason.
    mp_cond_wait(mailbox.changed, mailbox.mutex);
  }
  --mailbox.letters;
  mp_release_mutex(mailbox.mutex);
}
//! [example]
