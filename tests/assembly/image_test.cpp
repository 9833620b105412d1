// What is written in the DLL file itself.
#include <gtest/gtest.h>

#include <cstring>

#include "base/win/windows.h"

namespace orsin {
namespace {

TEST(Image, SharesTheSectionThatCarriesASecondInstancesCommandLine) {
  const auto* image = reinterpret_cast<const unsigned char*>(GetModuleHandleA("orsincore.dll"));
  ASSERT_NE(image, nullptr);
  IMAGE_DOS_HEADER dos;
  std::memcpy(&dos, image, sizeof(dos));
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(image + dos.e_lfanew);

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

}  // namespace
}  // namespace orsin
