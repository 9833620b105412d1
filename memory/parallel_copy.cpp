// A copy that every worker of the executor does a slice of.
#include <cstdint>
#include <cstring>

#include "memory/streaming_copy.h"
#include "orsincore/memory.h"
#include "orsincore/threads.h"

namespace orsin {
namespace {

// Runs once on each worker; the arguments are those of smp_exec().
void copy_slice(void* destination, void* source, void* count_argument, void* /*a4*/, void* /*a5*/,
                void* /*a6*/) {
  const std::uint64_t count = *static_cast<const std::uint64_t*>(count_argument);
  const auto parts = static_cast<std::uint64_t>(smp_numprocs());
  const auto part = static_cast<std::uint64_t>(smp_id());
  const std::uint64_t begin = part * count / parts;
  const std::uint64_t end = (part + 1) * count / parts;
  auto* to = static_cast<unsigned char*>(destination) + begin;
  const auto* from = static_cast<const unsigned char*>(source) + begin;
  if (end - begin >= kStreamingBytesMin) {
    streaming_copy(to, from, end - begin);
  } else {
    std::memcpy(to, from, end - begin);
  }
}

}  // namespace
}  // namespace orsin

using namespace orsin;

// Kept on purpose: even a copy of one byte is split; callers use the call for large pictures, and a
// threshold would only hide that.
void* memcpy_mt(void* destination, const void* source, std::size_t count) {
  std::uint64_t total = count;
  smp_exec(reinterpret_cast<void (*)()>(copy_slice), destination, const_cast<void*>(source), &total,
           nullptr, nullptr, nullptr);
  return destination;
}
