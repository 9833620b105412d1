// Damages its heap on purpose, for check-heap to prove that it sees such damage before it says of others
// that they do none:
//
//   heap_damage behind   writes behind a block
//   heap_damage freed    writes into a block that it has freed
//   heap_damage twice    frees a block twice
//
// A heap looks at its blocks when it is called, so another call follows. Pointers and stores are volatile,
// or the compiler would refuse this, or leave it out.
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kSize = 24;

int damage(const char* how) {
  char* volatile block = static_cast<char*>(std::malloc(kSize));
  char* volatile same = block;
  if (std::strcmp(how, "behind") == 0) {
    static_cast<volatile char*>(block)[kSize] = 1;
  } else {
    std::free(block);
    if (std::strcmp(how, "freed") == 0) {
      static_cast<volatile char*>(same)[kSize / 2] = 1;
    } else {
      std::free(same);
    }
  }
  void* volatile another = std::malloc(kSize);
  std::free(another);
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  return argc == 2 ? damage(argv[1]) : EXIT_FAILURE;
}
