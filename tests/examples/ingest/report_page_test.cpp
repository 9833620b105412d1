#include "examples/host/ingest/report_page.h"

#include <gtest/gtest.h>

#include "examples/host/ingest/report_chart.h"

namespace host::ingest {
namespace {

RunRecord sample() {
  RunRecord record;
  record.card = "E:\\A001 <b>";
  record.started = 133511780960000000;
  record.seconds = 10;
  record.is_verified = true;
  record.bytes = 2'000'000;
  DestinationRecord destination;
  destination.folder = "F:\\";
  destination.tree = "F:\\A001 <b>";
  destination.bytes = 2'000'000;
  destination.files = 1;
  destination.samples = {{0, 0}, {5, 1'000'000}, {10, 2'000'000}};
  record.destinations = {destination};
  record.files = {{"CLIPS\\a&b.mov", 2'000'000, FileHashes{1, {2}}}};
  return record;
}

TEST(IngestReport, SaysThatAllIsWellOnlyWhenItIs) {
  const std::string good = "Everything is there and was read back the same";
  RunRecord stopped = sample();
  RunRecord troubled = sample();
  RunRecord ended = sample();
  RunRecord incomplete = sample();
  stopped.is_stopped = true;
  troubled.problems = {{"a", "cannot read"}};
  ended.destinations[0].ended = "full";
  incomplete.destinations[0].files = 0;

  EXPECT_NE(report_page(sample()).find(good), std::string::npos);
  for (const RunRecord& record : {stopped, troubled, ended, incomplete}) {
    EXPECT_EQ(report_page(record).find(good), std::string::npos);
    EXPECT_NE(report_page(record).find("verdict bad"), std::string::npos);
  }
}

TEST(IngestReport, PutsWhatWentWrongBeforeEverythingElse) {
  RunRecord record = sample();
  record.destinations[0].ended = "no room";
  record.problems = {{"CLIPS\\x", "cannot be read"}};

  const std::string page = report_page(record);

  EXPECT_LT(page.find("no room"), page.find("cannot be read"));
  EXPECT_LT(page.find("cannot be read"), page.find("Started"));
}

TEST(IngestReport, LetsNoNameBecomeMarkup) {
  const std::string page = report_page(sample());

  EXPECT_EQ(page.find("<b>"), std::string::npos);
  EXPECT_NE(page.find("A001 &lt;b&gt;"), std::string::npos);
  EXPECT_NE(page.find("a&amp;b.mov"), std::string::npos);
}

TEST(IngestReport, NeedsNothingFromElsewhere) {
  const std::string page = report_page(sample());

  for (const char* piece : {"http:", "https:", "src=", "@import", "url(", "<script", "<link"}) {
    EXPECT_EQ(page.find(piece), std::string::npos) << piece;
  }
}

TEST(IngestReport, ListsEachFileWithItsHashes) {
  RunRecord record = sample();
  record.files.push_back({"lost.mov", 5, {}});

  const std::string page = report_page(record);

  EXPECT_NE(page.find("0000000000000001"), std::string::npos);
  EXPECT_NE(page.find("02000000000000000000000000000000"), std::string::npos);
  EXPECT_NE(page.find("lost.mov</span></td><td class=\"number\">5</td><td colspan=\"2\" "
                      "class=\"bad\">not copied"),
            std::string::npos);
}

TEST(IngestReportChart, NeedsTwoSamplesOfDifferentMoments) {
  EXPECT_EQ(throughput_chart({}, 10), "");
  EXPECT_EQ(throughput_chart({{0, 0}}, 10), "");
  EXPECT_EQ(throughput_chart({{1, 0}, {1, 5}}, 10), "");
  EXPECT_EQ(throughput_chart({{0, 0}, {1, 5}}, 0), "");
}

TEST(IngestReportChart, DrawsARateUpToARoundLimit) {
  // 0.2 MB/s throughout: the limit is the same round number, so the area touches the top.
  const std::string svg = throughput_chart({{0, 0}, {5, 1'000'000}, {10, 2'000'000}}, 10);

  EXPECT_NE(svg.find("d=\"M64.0 96.0L64.0 10.0L350.0 10.0L350.0 10.0L636.0 10.0L636.0 96.0Z\""),
            std::string::npos);
  EXPECT_NE(svg.find(">0.2</text>"), std::string::npos);
}

TEST(IngestReportChart, JoinsSamplesThatCannotBeToldApart) {
  std::vector<Sample> samples;
  for (int i = 0; i < 100'000; ++i) {
    samples.push_back({static_cast<double>(i), static_cast<std::uint64_t>(i) * 1000});
  }

  EXPECT_LT(throughput_chart(samples, 100'000).size(), 8000U);
}

}  // namespace
}  // namespace host::ingest
