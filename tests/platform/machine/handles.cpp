#include "tests/platform/machine/handles.h"

#include <algorithm>
#include <cstdint>

namespace orsin::simulation {
namespace {

// Values as the system gives them: multiples of 4, and none is 0.
constexpr std::uintptr_t kStep = 4;

std::size_t index_of(const void* handle) {
  return reinterpret_cast<std::uintptr_t>(handle) / kStep - 1;
}

}  // namespace

void* Handles::open(std::shared_ptr<Object> object) {
  auto place = std::find(objects_.begin(), objects_.end(), nullptr);
  if (place == objects_.end()) {
    place = objects_.insert(place, nullptr);
  }
  *place = std::move(object);
  const auto index = static_cast<std::uintptr_t>(place - objects_.begin());
  return reinterpret_cast<void*>((index + 1) * kStep);
}

std::shared_ptr<Object> Handles::find(const void* handle) const {
  const std::size_t index = index_of(handle);
  ORSIN_EXPECT(index < objects_.size() && objects_[index] != nullptr,
               "handle %p is used, and is not open", handle);
  return objects_[index];
}

void Handles::close(void* handle) {
  static_cast<void>(find(handle));
  objects_[index_of(handle)].reset();
}

int Handles::count() const {
  return static_cast<int>(std::count_if(objects_.begin(), objects_.end(),
                                        [](const auto& object) { return object != nullptr; }));
}

}  // namespace orsin::simulation
