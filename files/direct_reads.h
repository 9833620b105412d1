// What all readers share: the mutex and the setting of their reads past the ring.
#pragma once

namespace orsin {

/// Counts a reader that comes (1) or goes (-1): the mutex lives while there are any. Any thread.
void count_reader(int change);

}  // namespace orsin
