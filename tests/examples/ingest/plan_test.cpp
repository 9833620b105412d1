#include "examples/host/ingest/plan.h"

#include <gtest/gtest.h>

#include <map>

namespace host::ingest {
namespace {

class FakeCard : public Lister {
 public:
  std::string list(const std::string& directory, std::vector<Entry>& entries) override {
    const auto found = directories.find(directory);
    if (found == directories.end()) {
      return "Access denied";
    }
    entries = found->second;
    return {};
  }

  std::map<std::string, std::vector<Entry>> directories;
};

Entry file(const std::string& name, std::uint64_t size = 0) {
  Entry entry;
  entry.name = name;
  entry.size = size;
  entry.write_time = 7;
  return entry;
}

Entry directory(const std::string& name) {
  Entry entry = file(name);
  entry.kind = EntryKind::kDirectory;
  return entry;
}

Entry link_to_elsewhere(const std::string& name) {
  Entry entry = file(name);
  entry.kind = EntryKind::kLink;
  return entry;
}

std::vector<std::string> paths(const std::vector<PlannedEntry>& entries) {
  std::vector<std::string> result;
  for (const PlannedEntry& entry : entries) {
    result.push_back(entry.path);
  }
  return result;
}

TEST(IngestPlan, TakesTheWholeTreeParentsFirst) {
  FakeCard card;
  card.directories["E:"] = {file("b.mov", 5), directory("CLIPS"), file(".hidden", 1)};
  card.directories["E:\\CLIPS"] = {file("a.mov", 3), directory("empty")};
  card.directories["E:\\CLIPS\\empty"] = {};

  const Plan plan = make_plan(card, "E:", 2);

  EXPECT_EQ(paths(plan.files), (std::vector<std::string>{".hidden", "CLIPS\\a.mov", "b.mov"}));
  EXPECT_EQ(paths(plan.directories), (std::vector<std::string>{"CLIPS", "CLIPS\\empty"}));
  EXPECT_EQ(plan.bytes, 9U);
  EXPECT_EQ(plan.files[2].write_time, 7U);
  EXPECT_TRUE(plan.refusals.empty());
}

TEST(IngestPlan, ListsLinksAndDoesNotFollowThem) {
  FakeCard card;
  card.directories["E:"] = {link_to_elsewhere("other")};
  card.directories["E:\\other"] = {file("inside")};

  const Plan plan = make_plan(card, "E:", 2);

  EXPECT_EQ(plan.links, std::vector<std::string>{"other"});
  EXPECT_TRUE(plan.files.empty());
}

TEST(IngestPlan, TakesTheLongestPathAndRefusesOneByteMore) {
  FakeCard card;
  card.directories["E:"] = {file(std::string(100, 'a')), file(std::string(101, 'b'))};

  const Plan plan = make_plan(card, "E:", 158);  // With the separator 159.

  ASSERT_EQ(plan.files.size(), 1U);
  EXPECT_EQ(plan.files[0].path, std::string(100, 'a'));
  ASSERT_EQ(plan.refusals.size(), 1U);
  EXPECT_EQ(plan.refusals[0].reason, "its path would have more than 259 bytes");
}

TEST(IngestPlan, RefusesADirectoryWithEverythingBelowIt) {
  FakeCard card;
  card.directories["E:"] = {directory("bad.")};
  card.directories["E:\\bad."] = {file("lost")};

  const Plan plan = make_plan(card, "E:", 2);

  EXPECT_TRUE(plan.files.empty());
  ASSERT_EQ(plan.refusals.size(), 1U);
  EXPECT_TRUE(plan.refusals[0].reason.ends_with("; everything below it is refused with it"));
}

TEST(IngestPlan, SaysWhichDirectoryCannotBeRead) {
  FakeCard card;
  card.directories["E:"] = {directory("locked"), file("a")};

  const Plan plan = make_plan(card, "E:", 2);

  EXPECT_EQ(plan.files.size(), 1U);
  ASSERT_EQ(plan.refusals.size(), 1U);
  EXPECT_EQ(plan.refusals[0].path, "locked");
  EXPECT_EQ(plan.refusals[0].reason, "the directory cannot be read: Access denied");
}

TEST(IngestPlan, RefusesTheSecondOfTwoNamesThatOnlyCapitalsTellApart) {
  FakeCard card;
  card.directories["E:"] = {file("A.MOV"), file("a.mov")};

  const Plan plan = make_plan(card, "E:", 2);

  EXPECT_EQ(paths(plan.files), std::vector<std::string>{"A.MOV"});
  ASSERT_EQ(plan.refusals.size(), 1U);
  EXPECT_EQ(plan.refusals[0].path, "a.mov");
}

TEST(IngestPlan, RefusesANameThatHasNoUtf8) {
  FakeCard card;
  Entry broken = file("x");
  broken.is_name_exact = false;
  card.directories["E:"] = {broken};

  const Plan plan = make_plan(card, "E:", 2);

  EXPECT_TRUE(plan.files.empty());
  EXPECT_EQ(plan.refusals.size(), 1U);
}

}  // namespace
}  // namespace host::ingest
