// The sizes that rwBufferConfigure() sets for all readers and writers opened later.
#include "files/buffer_configuration.h"

#include "orsincore/io.h"

namespace orsin {

BufferConfiguration& buffer_configuration() {
  static constinit BufferConfiguration configuration;
  return configuration;
}

}  // namespace orsin

using namespace orsin;

void rwBufferConfigure(int size, bool no_unbuffered_writing, bool no_unbuffered_reading,
                       bool no_overlapped) {
  buffer_configuration() = {size < 1 ? BufferConfiguration().default_size : size,
                            !no_unbuffered_writing, !no_unbuffered_reading, !no_overlapped};
}

void rwBufferConfigGet(int& size, bool& no_unbuffered_writing, bool& no_unbuffered_reading,
                       bool& no_overlapped) {
  const BufferConfiguration& configuration = buffer_configuration();
  size = configuration.default_size;
  no_unbuffered_writing = !configuration.unbuffered_writing;
  no_unbuffered_reading = !configuration.unbuffered_reading;
  no_overlapped = !configuration.overlapped;
}
