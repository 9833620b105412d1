// What is written in the DLL file itself.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "base/win/windows.h"

namespace orsin {
namespace {

struct Image {
  const unsigned char* base = nullptr;
  const IMAGE_NT_HEADERS64* headers = nullptr;
};

Image library_image() {
  const auto* base = reinterpret_cast<const unsigned char*>(GetModuleHandleA("orsincore.dll"));
  if (base == nullptr) {
    return {};
  }
  IMAGE_DOS_HEADER dos;
  std::memcpy(&dos, base, sizeof(dos));
  return {base, reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos.e_lfanew)};
}

TEST(Image, SharesTheSectionThatCarriesASecondInstancesCommandLine) {
  const IMAGE_NT_HEADERS64* headers = library_image().headers;
  ASSERT_NE(headers, nullptr);

  const IMAGE_SECTION_HEADER* found = nullptr;
  const IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(headers);
  for (int i = 0; i < headers->FileHeader.NumberOfSections; ++i, ++section) {
    if (std::memcmp(section->Name, "Instance", sizeof(section->Name)) == 0) {
      found = section;
    }
  }

  ASSERT_NE(found, nullptr);
  constexpr DWORD kWanted = IMAGE_SCN_MEM_READ | IMAGE_SCN_MEM_WRITE | IMAGE_SCN_MEM_SHARED;
  EXPECT_EQ(found->Characteristics & kWanted, kWanted);
  // 260 bytes of command line and a pending flag of 32 bits.
  EXPECT_GE(found->Misc.VirtualSize, 264u);
}

// The directory itself and two words between its marks come with the start-up code of GCC's run-time
// library.
TEST(Image, HasNoThreadLocalDataOfItsOwn) {
  constexpr std::size_t kStartUpCodesBytes = 16;
  const Image image = library_image();
  ASSERT_NE(image.headers, nullptr);
  const IMAGE_DATA_DIRECTORY& entry =
      image.headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_TLS];

  IMAGE_TLS_DIRECTORY64 storage = {};
  if (entry.Size != 0) {
    std::memcpy(&storage, image.base + entry.VirtualAddress, sizeof(storage));
  }

  EXPECT_LE(storage.EndAddressOfRawData - storage.StartAddressOfRawData, kStartUpCodesBytes);
  EXPECT_EQ(storage.SizeOfZeroFill, 0u);
}

}  // namespace
}  // namespace orsin
