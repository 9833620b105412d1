#include "tests/support/kit_path.h"

#include <cstdlib>
#include <filesystem>

#include "tests/support/temporary_directory.h"

namespace orsin::test {

std::string kit_path(const std::string& name_in_kit, const std::string& built) {
#if defined(_WIN32)
  const wchar_t* kit = _wgetenv(L"ORSIN_TEST_KIT");
#else
  const char* kit = std::getenv("ORSIN_TEST_KIT");
#endif
  const std::filesystem::path path =
      kit != nullptr ? std::filesystem::path(kit) / to_path(name_in_kit) : to_path(built);
  return to_utf8(std::filesystem::absolute(path).make_preferred());
}

}  // namespace orsin::test
