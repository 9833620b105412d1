#include "examples/host/ingest/reads_in_flight.h"

#include <cstring>

#include "orsincore/io.h"

namespace host::ingest {

ReadsInFlight::~ReadsInFlight() {
  while (!empty()) {
    take();
  }
}

bool ReadsInFlight::start(unsigned char* block, std::uint64_t offset, std::size_t bytes) {
  Read read = {0, block, bytes};
  if (!io_read_async64(file_, block, static_cast<long long>(offset), aligned(bytes),
                       &read.ticket)) {
    return false;
  }
  reads_.push_back(read);
  return true;
}

std::size_t ReadsInFlight::take() {
  Read read = reads_.front();
  reads_.pop_front();
  if (io_complete64(file_, &read.ticket, true) != 1) {
    return 0;
  }
  std::memset(read.block + read.bytes, 0, aligned(read.bytes) - read.bytes);
  return read.bytes;
}

}  // namespace host::ingest
