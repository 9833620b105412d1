// The defaults of readers and writers; set through rwBufferConfigure().
#pragma once

namespace orsin {

struct BufferConfiguration {
  int default_size = 8192;
  bool unbuffered_writing = true;
  bool unbuffered_reading = true;
  bool overlapped = true;
};

/// The process's one configuration; changed while no file is being opened.
BufferConfiguration& buffer_configuration();

}  // namespace orsin
