// The handles of a simulated machine.
//
// As the system does, it gives the lowest free value out first: whoever uses a handle after it was
// closed soon has another thing in hand. A value that names nothing, or a thing of another kind, fails
// the run.
#pragma once

#include <memory>
#include <vector>

#include "tests/platform/machine/failure.h"

namespace orsin::simulation {

/// What a handle may name.
class Object {
 public:
  Object() = default;
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
};

class Handles {
 public:
  void* open(std::shared_ptr<Object> object);
  void close(void* handle);

  template <typename T>
  std::shared_ptr<T> get(const void* handle) const {
    auto object = std::dynamic_pointer_cast<T>(find(handle));
    ORSIN_EXPECT(object != nullptr, "a handle is used as what it is not");
    return object;
  }

  [[nodiscard]] int count() const;

 private:
  [[nodiscard]] std::shared_ptr<Object> find(const void* handle) const;

  std::vector<std::shared_ptr<Object>> objects_;
};

}  // namespace orsin::simulation
