#include "memory/heap_sizes.h"

#include <gtest/gtest.h>

namespace orsin {
namespace {

// A machine with room enough in its address space.
mem_info_str machine(std::uint64_t available_mib) {
  mem_info_str info = {};
  info.available_physical = available_mib * kMib;
  info.total_physical = info.available_physical;
  info.largest_usable = info.available_physical;
  info.total_virtual = std::uint64_t{1} << 47;
  return info;
}

TEST(HeapSizes, FollowTheMachine) {
  struct Case {
    const char* what;
    std::uint64_t available_mib;
    std::uint64_t frame_mib, proxy_mib, audio_mib, image_mib;
  };
  constexpr Case kCases[] = {
      {"1 GiB", 1024, 512 - 288, 128, 128, 32},
      {"just small", 2095, 1047 - 288, 128, 128, 32},
      {"just large", 2096, 1048 - 576, 256, 256, 64},
      {"8 GiB: half of it", 8192, 4096 - 576, 256, 256, 64},
      {"9 GiB: a quarter of what lies beyond 4", 9216, 4096 + 1280 - 576, 256, 256, 64},
      {"16 GiB: a quarter of what lies beyond 4", 16384, 4096 + 3072 - 576, 256, 256, 64},
      {"64 GiB", 65536, 4096 + 15360 - 576, 256, 256, 64},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);

    const HeapSizes sizes = default_heap_sizes(machine(c.available_mib));

    EXPECT_EQ(sizes.frame / kMib, c.frame_mib);
    EXPECT_EQ(sizes.frame % kMib, 0u);
    EXPECT_EQ(sizes.proxy, c.proxy_mib * kMib);
    EXPECT_EQ(sizes.audio, c.audio_mib * kMib);
    EXPECT_EQ(sizes.image, c.image_mib * kMib);
  }
}

TEST(HeapSizes, StayWithinTheLargestUsableBlock) {
  mem_info_str info = machine(8192);
  info.largest_usable = 1001 * kMib;

  EXPECT_EQ(default_heap_sizes(info).frame, (1000 - 576) * kMib);
}

TEST(HeapSizes, TakeThreeQuartersOfTheAddressSpaceWhereNoBlockIsKnown) {
  mem_info_str info = machine(8192);
  info.largest_usable = 0;
  info.total_virtual = 4096 * kMib;

  EXPECT_EQ(default_heap_sizes(info).frame, (3072 - 576) * kMib);
}

TEST(HeapSizes, WrapOnAMachineWithHardlyAnyMemory) {
  const HeapSizes sizes = default_heap_sizes(machine(500));

  EXPECT_GT(sizes.frame, std::uint64_t{1} << 63);
  EXPECT_EQ(sizes.frame, 250 * kMib - 288 * kMib);
  EXPECT_EQ(default_heap_sizes(machine(5)).frame, 0 - 288 * kMib);
}

TEST(HeapSizes, AreRaisedToTheirMinimum) {
  HeapSizes sizes = {1, 2, 3, 4};
  HeapSizes large = {kGib, kGib, kGib, kGib};

  raise_to_minimum(sizes);
  raise_to_minimum(large);

  EXPECT_EQ(sizes.frame, 256 * kMib);
  EXPECT_EQ(sizes.proxy, 128 * kMib);
  EXPECT_EQ(sizes.audio, 128 * kMib);
  EXPECT_EQ(sizes.image, 32 * kMib);
  EXPECT_EQ(large.frame + large.proxy + large.audio + large.image, 4 * kGib);
}

TEST(MemoryConfiguration, SetsTheHeapThatTheLineNames) {
  HeapSizes sizes = {1, 2, 3, 4};

  apply_configuration_line("frame_heap_size=4096", sizes);
  EXPECT_EQ(sizes.frame, 4 * kGib);
  apply_configuration_line("proxy_heap_size=5\n", sizes);
  EXPECT_EQ(sizes.proxy, 5 * kMib);
  apply_configuration_line("audio_heap_size=6\r\n", sizes);
  EXPECT_EQ(sizes.audio, 6 * kMib);
  apply_configuration_line("image_heap_size=7", sizes);
  EXPECT_EQ(sizes.image, 7 * kMib);
}

TEST(MemoryConfiguration, ReadsNumbersAndNothingElse) {
  constexpr std::uint64_t kUnchanged = 12345;
  struct Case {
    const char* what;
    const char* line;
    std::uint64_t frame;
  };
  constexpr Case kCases[] = {
      {"zero", "frame_heap_size=0", 0},
      {"leading zeros", "frame_heap_size=0012", 12 * kMib},
      {"blanks in front", "frame_heap_size= \t8", 8 * kMib},
      {"text behind", "frame_heap_size=8 MiB please", 8 * kMib},
      {"negative", "frame_heap_size=-8", kUnchanged},
      {"plus sign", "frame_heap_size=+8", kUnchanged},
      {"text", "frame_heap_size=lots", kUnchanged},
      {"nothing", "frame_heap_size=", kUnchanged},
      {"only blanks", "frame_heap_size=   ", kUnchanged},
      {"2^43, the last that fits", "frame_heap_size=8796093022208", std::uint64_t{1} << 63},
      {"2^63 loses its upper bits", "frame_heap_size=9223372036854775808", 0},
      {"2^64 - 1", "frame_heap_size=18446744073709551615", ~std::uint64_t{0} << 20},
      {"2^64 is no number", "frame_heap_size=18446744073709551616", kUnchanged},
      {"far too many digits", "frame_heap_size=99999999999999999999999999999999", kUnchanged},
      {"capital letter", "Frame_heap_size=8", kUnchanged},
      {"blank before the key", " frame_heap_size=8", kUnchanged},
      {"blank before the sign", "frame_heap_size =8", kUnchanged},
      {"comment", "# frame_heap_size=8", kUnchanged},
      {"other key", "frame_heap_sizes=8", kUnchanged},
      {"empty", "", kUnchanged},
      {"cut key", "frame_heap_size", kUnchanged},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    HeapSizes sizes = {kUnchanged, 1, 2, 3};

    apply_configuration_line(c.line, sizes);

    EXPECT_EQ(sizes.frame, c.frame);
    EXPECT_EQ(sizes.proxy, 1u);
    EXPECT_EQ(sizes.audio, 2u);
    EXPECT_EQ(sizes.image, 3u);
  }
}

}  // namespace
}  // namespace orsin
