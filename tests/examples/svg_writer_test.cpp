#include "examples/host/svg_writer.h"

#include <gtest/gtest.h>

#include <string>

namespace host {
namespace {

TEST(SvgWriter, MakesAWholeFile) {
  SvgWriter svg(100, 50.5, "A & B", ".x { fill: red; }\n");

  EXPECT_EQ(svg.picture(),
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"100\" height=\"50.5\""
            " viewBox=\"0 0 100 50.5\">\n"
            "<title>A &amp; B</title>\n"
            "<style>\n.x { fill: red; }\n</style>\n"
            "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n"
            "</svg>\n");
}

// What the calls added to an empty picture.
template <typename Draw>
std::string drawn(Draw draw) {
  SvgWriter svg(1, 1, "", "");
  const std::string empty = svg.picture();
  draw(svg);
  const std::string picture = svg.picture();
  const std::size_t head = empty.size() - std::string("</svg>\n").size();
  return picture.substr(head, picture.size() - empty.size());
}

TEST(SvgWriter, PlacesBoxesLinesAndText) {
  EXPECT_EQ(drawn([](SvgWriter& svg) { svg.box(1, 2, 3, 4, "used"); }),
            "<rect class=\"used\" x=\"1\" y=\"2\" width=\"3\" height=\"4\"/>\n");
  EXPECT_EQ(drawn([](SvgWriter& svg) { svg.line(0, 1, 2, 3, "tick"); }),
            "<line class=\"tick\" x1=\"0\" y1=\"1\" x2=\"2\" y2=\"3\"/>\n");
  EXPECT_EQ(drawn([](SvgWriter& svg) { svg.text(5, 6, "plain", "free"); }),
            "<text class=\"plain\" x=\"5\" y=\"6\">free</text>\n");
}

TEST(SvgWriter, AnchorsText) {
  EXPECT_EQ(drawn([](SvgWriter& svg) { svg.text(5, 6, "plain", "a", SvgAnchor::kMiddle); }),
            "<text class=\"plain\" x=\"5\" y=\"6\" text-anchor=\"middle\">a</text>\n");
  EXPECT_EQ(drawn([](SvgWriter& svg) { svg.text(5, 6, "plain", "a", SvgAnchor::kEnd); }),
            "<text class=\"plain\" x=\"5\" y=\"6\" text-anchor=\"end\">a</text>\n");
}

TEST(SvgWriter, GivesBoxesAHint) {
  EXPECT_EQ(drawn([](SvgWriter& svg) { svg.box(0, 0, 1, 1, "used", "1 block"); }),
            "<rect class=\"used\" x=\"0\" y=\"0\" width=\"1\" height=\"1\">"
            "<title>1 block</title></rect>\n");
}

TEST(SvgWriter, EscapesWhatTheFormatReserves) {
  EXPECT_EQ(drawn([](SvgWriter& svg) { svg.text(0, 0, "a\"b", "<&> \"'é"); }),
            "<text class=\"a&quot;b\" x=\"0\" y=\"0\">&lt;&amp;&gt; &quot;'é</text>\n");
}

TEST(SvgWriter, RoundsToHundredths) {
  struct {
    double value;
    const char* text;
  } const cases[] = {{0, "0"},        {-0.001, "0"},    {1.005, "1"},         {2.5, "2.5"},
                     {99.999, "100"}, {-3.25, "-3.25"}, {1234567, "1234567"}, {100, "100"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(
        drawn([&](SvgWriter& svg) { svg.line(c.value, 0, 0, 0, "t"); }),
        "<line class=\"t\" x1=\"" + std::string(c.text) + "\" y1=\"0\" x2=\"0\" y2=\"0\"/>\n");
  }
}

}  // namespace
}  // namespace host
