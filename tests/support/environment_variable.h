// An environment variable that exists for one test.
#pragma once

#include <cstdlib>
#include <string>

namespace orsin::test {

class EnvironmentVariable {
 public:
  EnvironmentVariable(const char* name, const char* value) : name_(name) { set(value); }
  ~EnvironmentVariable() { set(""); }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

 private:
  // An empty value removes the variable.
  void set(const char* value) {
#if defined(_WIN32)
    _putenv_s(name_.c_str(), value);
#else
    if (*value != '\0') {
      setenv(name_.c_str(), value, 1);
    } else {
      unsetenv(name_.c_str());
    }
#endif
  }

  std::string name_;
};

}  // namespace orsin::test
