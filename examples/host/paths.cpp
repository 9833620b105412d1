#include "examples/host/paths.h"

#include <filesystem>
#include <system_error>

namespace host {
namespace {

constexpr std::size_t kPathSize = 260;  // The library's limit, with the terminator.

std::filesystem::path to_path(const std::string& utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

}  // namespace

std::string full_path(const std::string& typed) {
  std::error_code error;
  std::filesystem::path path = std::filesystem::absolute(to_path(typed), error);
  if (error || typed.empty()) {
    return {};
  }
  path = path.lexically_normal().make_preferred();
  const std::u8string text = path.u8string();
  std::string result(text.begin(), text.end());
  if (result.size() > 3 && result.back() == '\\') {
    result.pop_back();
  }
  return result.size() < kPathSize ? result : std::string();
}

std::string last_component(const std::string& path) {
  const std::size_t separator = path.rfind('\\');
  return separator == std::string::npos ? path : path.substr(separator + 1);
}

bool is_same_file(const std::string& a, const std::string& b) {
  std::error_code error;
  return std::filesystem::equivalent(to_path(a), to_path(b), error);
}

void make_writable(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  fs::permissions(to_path(path), fs::perms::owner_write, fs::perm_options::add, error);
}

}  // namespace host
