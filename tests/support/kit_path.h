// Where the files stand that tests need beside their programs.
#pragma once

#include <string>

namespace orsin::test {

/// A file or folder: the name in the acceptance kit, below the folder that the environment variable
/// ORSIN_TEST_KIT names; where that is not set, as in every build tree, the place where it was built.
/// UTF-8, full, with the platform's own separators.
std::string kit_path(const std::string& name_in_kit, const std::string& built);

}  // namespace orsin::test
