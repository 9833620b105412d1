// Arguments in the shape in which C functions take them.
#pragma once

#include <string>
#include <vector>

namespace host {

/// A null-terminated vector over copies of the arguments; lives as long as it is used.
class ArgumentVector {
 public:
  explicit ArgumentVector(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {
    for (std::string& argument : arguments_) {
      pointers_.push_back(argument.data());
    }
    pointers_.push_back(nullptr);
  }
  ArgumentVector(const ArgumentVector&) = delete;
  ArgumentVector& operator=(const ArgumentVector&) = delete;

  [[nodiscard]] int count() const { return static_cast<int>(arguments_.size()); }
  [[nodiscard]] char** get() { return pointers_.data(); }

 private:
  std::vector<std::string> arguments_;
  std::vector<char*> pointers_;
};

}  // namespace host
