// Which vector instructions decode base64 on this processor.
#include <array>

#include "base/cpu_features.h"
#include "text/base64_blocks.h"

namespace orsin {
namespace {

struct Kernels {
  std::array<const Base64Kernel*, 2> list = {};
  std::size_t count = 0;

  Kernels() {
    const CpuFeatures features = detect_cpu_features();
    if (features.avx512_vbmi) {
      list[count++] = &kBase64Avx512;
    }
    if (features.avx2) {
      list[count++] = &kBase64Avx2;
    }
  }
};

}  // namespace

std::span<const Base64Kernel* const> base64_kernels() {
  static const Kernels known;
  return {known.list.data(), known.count};
}

}  // namespace orsin
