// A C stream that is closed when its owner goes.
//
// Whoever must know whether the last bytes reached the disk closes it by hand: release() it to
// std::fclose() and look at the answer.
#pragma once

#include <cstdio>
#include <memory>

namespace orsin {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace orsin
