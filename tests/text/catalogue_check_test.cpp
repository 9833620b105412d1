#include "text/catalogue_check.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include "tests/text/catalogue_builder.h"

namespace orsin {
namespace {

using test::CatalogueBuilder;

// Offsets of the header's words, and of the tables of the builder's two messages.
constexpr std::size_t kCount = 8;
constexpr std::size_t kKeys = 12;
constexpr std::size_t kTranslations = 16;
constexpr std::size_t kHashSize = 20;
constexpr std::size_t kHash = 24;
constexpr std::size_t kFirstKey = 28;
constexpr std::size_t kSecondTranslation = 52;
constexpr std::size_t kFirstSlot = 60;

TEST(CatalogueCheck, AcceptsBothByteOrders) {
  CatalogueBuilder builder;
  EXPECT_TRUE(is_sound_catalogue(builder.bytes()));
  builder.is_big_endian = true;
  EXPECT_TRUE(is_sound_catalogue(builder.bytes()));
  builder.messages[0].second += std::string(0x12345, '#');  // So the offsets have three bytes.
  EXPECT_TRUE(is_sound_catalogue(builder.bytes()));
}

TEST(CatalogueCheck, RefusesFarPlacesInTheOtherByteOrderToo) {
  CatalogueBuilder builder;
  builder.is_big_endian = true;
  for (const std::size_t word :
       {kKeys, kTranslations, kFirstKey, kFirstKey + 4, kSecondTranslation + 4}) {
    SCOPED_TRACE(word);
    std::string file = builder.bytes();
    file[word] = '\x80';  // The most significant byte.
    EXPECT_FALSE(is_sound_catalogue(file));
  }
}

// One empty message, whose key and translation lie in the header's own zeros.
TEST(CatalogueCheck, AcceptsAFileThatIsItsHeader) {
  std::string file(28, '\0');
  const std::pair<std::size_t, std::uint32_t> words[] = {
      {0, 0x950412DE}, {kCount, 1}, {kKeys, 20}, {kTranslations, 20}, {kHash, 4}};
  for (const auto& [at, value] : words) {
    file = CatalogueBuilder::with_word(file, at, value);
  }

  EXPECT_TRUE(is_sound_catalogue(file));
}

TEST(CatalogueCheck, AcceptsACatalogueWithoutAHashTable) {
  CatalogueBuilder builder;
  builder.slots.clear();
  EXPECT_TRUE(is_sound_catalogue(builder.bytes()));
}

TEST(CatalogueCheck, AcceptsAHeaderWithoutMessages) {
  CatalogueBuilder builder;
  builder.messages.resize(1);
  builder.slots = {1, 0, 0};
  EXPECT_TRUE(is_sound_catalogue(builder.bytes()));
}

TEST(CatalogueCheck, AcceptsAHeaderWithoutAPluralRule) {
  CatalogueBuilder builder;
  builder.messages[0].second = "charset=UTF-8\n";
  EXPECT_TRUE(is_sound_catalogue(builder.bytes()));
}

TEST(CatalogueCheck, RefusesEveryTruncation) {
  const std::string whole = CatalogueBuilder().bytes();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    SCOPED_TRACE(length);
    EXPECT_FALSE(is_sound_catalogue(whole.substr(0, length)));
  }
}

TEST(CatalogueCheck, RefusesWhatLeadsOutsideTheFile) {
  struct Case {
    const char* what;
    std::size_t offset;
    std::uint32_t value;
  };
  const std::string whole = CatalogueBuilder().bytes();
  const auto size = static_cast<std::uint32_t>(whole.size());
  const Case cases[] = {
      {"no messages, so no header", kCount, 0},
      {"more messages than fit", kCount, 0x20000000},
      {"as many as a 32-bit product hides", kCount, 0x80000001},
      {"keys behind the end", kKeys, size},
      {"keys far away", kKeys, 0xFFFFFFF0},
      {"translations behind the end", kTranslations, size - 8},
      {"a hash table too large", kHashSize, size},
      {"a hash table whose step divides by zero", kHashSize, 2},
      {"a hash table of one slot", kHashSize, 1},
      {"a hash table behind the end", kHash, size - 8},
      {"a slot that names no message", kFirstSlot, 3},
      {"a key's length beyond the end", kFirstKey, size},
      {"a key's length that a 32-bit sum hides", kFirstKey, 0xFFFFFFFF},
      {"a key that is not terminated", kFirstKey, 1},
      {"a key behind the end", kFirstKey + 4, size},
      {"a translation one byte short", kSecondTranslation, 5},
      {"a translation far away", kSecondTranslation + 4, 0xFFFFFFFF},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_FALSE(is_sound_catalogue(CatalogueBuilder::with_word(whole, c.offset, c.value)));
  }
}

// Where a hash table names messages it would be refused for that.
TEST(CatalogueCheck, RefusesNoMessagesWithoutAHashTableToo) {
  CatalogueBuilder builder;
  builder.slots.clear();
  EXPECT_FALSE(is_sound_catalogue(CatalogueBuilder::with_word(builder.bytes(), kCount, 0)));
}

TEST(CatalogueCheck, ReadsAPluralRuleThatEndsWithTheHeader) {
  struct Case {
    std::size_t length;
    bool is_sound;
  };
  for (const Case& c : {Case{0, true}, Case{512, true}, Case{513, false}}) {
    SCOPED_TRACE(c.length);
    CatalogueBuilder builder;
    builder.messages[0].second = "charset=UTF-8\nplural=" + std::string(c.length, '(');
    EXPECT_EQ(is_sound_catalogue(builder.bytes()), c.is_sound);
  }
}

TEST(CatalogueCheck, RefusesAnotherMagicNumber) {
  CatalogueBuilder builder;
  builder.magic = 0x950412DF;
  EXPECT_FALSE(is_sound_catalogue(builder.bytes()));
}

TEST(CatalogueCheck, RefusesAPluralRuleThatWouldExhaustTheStack) {
  struct Case {
    std::size_t length;
    bool is_sound;
  };
  for (const Case& c : {Case{512, true}, Case{513, false}, Case{1000000, false}}) {
    SCOPED_TRACE(c.length);
    CatalogueBuilder builder;
    builder.messages[0].second = "charset=UTF-8\nplural=" + std::string(c.length, '(') + ";\n";
    EXPECT_EQ(is_sound_catalogue(builder.bytes()), c.is_sound);
  }
}

}  // namespace
}  // namespace orsin
