// What all readers share: the mutex of their reads past the ring.
#pragma once

namespace orsin {

/// Makes the mutex with the first reader. It stays until the end of the process, as closedown ends
/// threads under it. Any thread.
void prepare_direct_reads();

}  // namespace orsin
