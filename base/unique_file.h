// A C stream that is closed when its owner goes.
//
// Whoever must know whether the last bytes reached the disk closes it by hand: release() it to
// std::fclose() and look at the answer.
//
// The library's own files have an "N" in their mode: a program that is started while one is open must
// not inherit it. It would hold the file for as long as it lives, so that nobody could replace it.
#pragma once

#include <cstdio>
#include <memory>

namespace orsin {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace orsin
