// A copy spread over the executor's workers: part k of n copies bytes [k*count/n, (k+1)*count/n).
#include "memory/slice_copy.h"
#include "orsincore/memory.h"
#include "orsincore/threads.h"

using namespace orsin;

namespace {

struct Copy {
  unsigned char* destination;
  const unsigned char* source;
  std::uint64_t count;
};

// One part; the executor passes six arguments to every job.
void copy_part(void* argument, void*, void*, void*, void*, void*) {
  const auto& copy = *static_cast<const Copy*>(argument);
  const auto part = static_cast<std::uint64_t>(smp_id());
  const auto parts = static_cast<std::uint64_t>(smp_numprocs());
  const std::uint64_t begin = part * copy.count / parts;
  const std::uint64_t end = (part + 1) * copy.count / parts;
  copy_slice(copy.destination + begin, copy.source + begin, end - begin);
}

}  // namespace

// Kept on purpose: even a copy of one byte is split. Required.
void* memcpy_mt(void* destination, const void* source, std::size_t count) {
  Copy copy = {static_cast<unsigned char*>(destination), static_cast<const unsigned char*>(source),
               count};
  smp_exec(reinterpret_cast<void (*)()>(&copy_part), &copy, nullptr, nullptr, nullptr, nullptr,
           nullptr);
  return destination;
}
