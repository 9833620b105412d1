#include "examples/host/ingest/manifest.h"

#include <gtest/gtest.h>

#include "examples/host/ingest/manifest_reader.h"

namespace host::ingest {
namespace {

constexpr std::uint64_t kMoment = 133511780960000000;  // 2024-01-31 12:34:56.

ManifestFile file(const std::string& path, std::uint64_t xxh64, Action action) {
  ManifestFile result;
  result.path = path;
  result.size = 5;
  result.write_time = kMoment;
  result.hash_time = kMoment;
  result.xxh64 = xxh64;
  result.md5 = Md5Digest{1, 2, 3};
  result.xxh64_action = result.md5_action = action;
  return result;
}

Manifest sample() {
  Manifest manifest;
  manifest.is_transfer = true;
  manifest.created = kMoment;
  manifest.host_name = "CART <1> & \"2\"";
  manifest.files = {file("b & c <1>.mov", 2, Action::kFailed),
                    file("A/日本.mov", 1, Action::kOriginal), file("A.txt", 3, Action::kVerified)};
  manifest.directories = {{"A", kMoment}, {"A/empty", 0}};
  return manifest;
}

std::string with_hashes(const std::string& hashes) {
  return "<hashlist version=\"2.0\" xmlns=\"urn:ASC:MHL:v2.0\"><hashes>" + hashes +
         "</hashes></hashlist>";
}

std::string with_path(const std::string& path) {
  return with_hashes("<hash><path>" + path + "</path></hash>");
}

TEST(IngestManifest, IsWrittenAsAWalkSeesTheFolder) {
  const std::string text = manifest_text(sample());
  std::size_t place = 0;
  for (
      const char* piece :
      {"<creationdate>2024-01-31T12:34:56+00:00</creationdate>",
       "<hostname>CART &lt;1&gt; &amp; &quot;2&quot;</hostname>", "<process>transfer</process>",
       "<roothash>", "<pattern>ascmhl/</pattern>", "<path>A/empty</path>",
       "<path size=\"5\" lastmodificationdate=\"2024-01-31T12:34:56+00:00\">A/日本.mov</path>",
       "<md5 action=\"original\" hashdate=\"2024-01-31T12:34:56+00:00\">0102030000000000000000000000"
       "0000</md5>",
       "<xxh64 action=\"original\" hashdate=\"2024-01-31T12:34:56+00:00\">0000000000000001</xxh64>",
       ">A</path>", ">A.txt</path>", "action=\"verified\"", ">b &amp; c &lt;1&gt;.mov</path>",
       "action=\"failed\"", "</hashes>"}) {
    SCOPED_TRACE(piece);
    place = text.find(piece, place);
    ASSERT_NE(place, std::string::npos);
  }
}

TEST(IngestManifest, ReadsWhatItWrites) {
  Manifest read;

  ASSERT_EQ(read_manifest(manifest_text(sample()), read), "");

  EXPECT_TRUE(read.is_transfer);
  ASSERT_EQ(read.files.size(), 3U);
  EXPECT_EQ(read.files[0].path, "A/日本.mov");
  EXPECT_EQ(read.files[2].path, "b & c <1>.mov");
  EXPECT_EQ(read.files[2].xxh64, 2U);
  EXPECT_EQ(read.files[2].md5, (Md5Digest{1, 2, 3}));
  EXPECT_EQ(read.files[2].xxh64_action, Action::kFailed);
  EXPECT_EQ(read.files[1].size, 5U);
  ASSERT_EQ(read.directories.size(), 2U);
}

TEST(IngestManifest, ReadsPrefixesAndStepsOverFormatsItDoesNotKnow) {
  Manifest read;

  ASSERT_EQ(read_manifest("<m:hashlist version=\"2.0\" xmlns:m=\"urn:ASC:MHL:v2.0\"><m:hashes>"
                          "<m:hash><m:path size=\"1\">a</m:path><m:xxh3>0</m:xxh3></m:hash>"
                          "</m:hashes></m:hashlist>",
                          read),
            "");

  ASSERT_EQ(read.files.size(), 1U);
  EXPECT_FALSE(read.files[0].xxh64);
  EXPECT_FALSE(read.files[0].md5);
}

TEST(IngestManifest, RefusesWhatCouldHarm) {
  const std::string outside = "a path leads out of the folder: '";
  struct Case {
    std::string text;
    std::string problem;
  };
  for (const Case& c :
       {Case{"", "it is no XML: No document element found"},
        Case{std::string("<a>\0</a>", 8), "it is no XML: a zero byte"},
        Case{"<hashlist version=\"2.0\"/>", "it is another kind of XML"},
        Case{"<hashlist version=\"2.0\" xmlns=\"urn:ASC:MHL:v1.0\"/>", "it is another kind of XML"},
        Case{"<hashlist version=\"3.0\" xmlns=\"urn:ASC:MHL:v2.0\"/>",
             "it is of another version than 2.0"},
        Case{"<!DOCTYPE a [<!ENTITY b \"c\"><!ENTITY d \"&b;&b;\">]>" + with_path("&d;"),
             "it has a document type, which manifests must not have"},
        Case{"<!DOCTYPE a SYSTEM \"file:///etc/passwd\">" + with_path("a"),
             "it has a document type, which manifests must not have"},
        Case{with_path(""), outside + "'"},
        Case{with_path("../a"), outside + "../a'"},
        Case{with_path("a/../../b"), outside + "a/../../b'"},
        Case{with_path("/etc/passwd"), outside + "/etc/passwd'"},
        Case{with_path("C:/a"), outside + "C:/a'"},
        Case{with_path("a\\b"), outside + "a\\b'"},
        Case{with_path("a/"), outside + "a/'"},
        Case{with_path("a//b"), outside + "a//b'"},
        Case{with_path("a") + "</x>", "it is no XML: Start-end tags mismatch"},
        Case{with_hashes("<hash><path>a</path></hash><hash><path>a</path></hash>"),
             "a path is there twice: 'a'"},
        Case{with_hashes("<hash><path size=\"-1\">a</path></hash>"), "the size of a is no number"},
        Case{with_hashes("<hash><path>a</path><xxh64>12</xxh64></hash>"), "the xxh64 of a is none"},
        Case{with_hashes("<hash><path>a</path><md5>12</md5></hash>"), "the md5 of a is none"}}) {
    SCOPED_TRACE(c.text);
    Manifest read;
    EXPECT_EQ(read_manifest(c.text, read), c.problem);
  }
}

TEST(IngestManifest, SurvivesAMillionNestedElements) {
  std::string deep;
  for (int i = 0; i < 1'000'000; ++i) {
    deep += "<a>";
  }
  Manifest read;

  EXPECT_TRUE(read_manifest(deep, read).starts_with("it is no XML"));
}

TEST(IngestManifest, OfEveryLengthCutOffIsRefused) {
  const std::string whole = manifest_text(sample());
  const std::size_t end = whole.rfind('>');
  for (std::size_t length = 0; length < end; length += 7) {
    SCOPED_TRACE(length);
    Manifest read;
    EXPECT_NE(read_manifest(std::string_view(whole).substr(0, length), read), "");
  }
}

TEST(IngestManifest, IsNamedAfterItsGenerationFolderAndTime) {
  EXPECT_EQ(manifest_name(12, "A001 日本", kMoment), "0012_A001 日本_2024-01-31_123456Z.mhl");
}

TEST(IngestManifest, DoesNotSpeakOfItselfNorOfDesktopLeftovers) {
  for (const char* path : {"ascmhl", "ascmhl/0001.mhl", ".DS_Store", "a/b/.DS_Store"}) {
    EXPECT_TRUE(is_ignored(path)) << path;
  }
  for (const char* path : {"ascmhl.txt", "a/ascmhl", "x.DS_Store"}) {
    EXPECT_FALSE(is_ignored(path)) << path;
  }
}

TEST(IngestChain, ReadsWhatItWritesInTheOrderOfItsNumbers) {
  std::vector<ChainEntry> read;

  ASSERT_EQ(read_chain(chain_text({{2, "0002_a&b.mhl", "c4y"}, {1, "0001_a&b.mhl", "c4x"}}), read),
            "");

  ASSERT_EQ(read.size(), 2U);
  EXPECT_EQ(read[0].number, 1);
  EXPECT_EQ(read[1].path, "0002_a&b.mhl");
  EXPECT_EQ(read[1].c4, "c4y");
}

TEST(IngestChain, RefusesWhatNamesOtherPlacesOrTheSameGenerationTwice) {
  std::vector<ChainEntry> read;

  EXPECT_EQ(read_chain(chain_text({{1, "../x.mhl", "c4"}}), read),
            "a path leads out of the folder: '../x.mhl'");
  EXPECT_EQ(read_chain(chain_text({{1, "a/x.mhl", "c4"}}), read),
            "a path leads out of the folder: 'a/x.mhl'");
  EXPECT_EQ(read_chain(chain_text({{1, "x", "c4"}, {1, "y", "c4"}}), read),
            "a generation is there twice");
  EXPECT_EQ(read_chain(chain_text({{0, "x", "c4"}}), read), "a generation has no number");
}

}  // namespace
}  // namespace host::ingest
