#include "examples/host/svg_writer.h"

#include <array>
#include <charconv>

#include "examples/host/markup.h"

namespace host {
namespace {

// Hundredths of a pixel are finer than any screen; a point whatever the locale says.
std::string number(double value) {
  constexpr int kDecimals = 2;
  std::array<char, 64> text = {};
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value,
                                          std::chars_format::fixed, kDecimals);
  if (error != std::errc()) {
    return "0";
  }
  std::string result(text.data(), end);
  result.erase(result.find_last_not_of('0') + 1);
  if (result.back() == '.') {
    result.pop_back();
  }
  return result == "-0" ? "0" : result;
}

std::string_view name_of(SvgAnchor anchor) {
  return anchor == SvgAnchor::kMiddle ? "middle" : "end";
}

}  // namespace

SvgWriter::SvgWriter(double width, double height, std::string_view title, std::string_view style) {
  body_ = "<svg xmlns=\"http://www.w3.org/2000/svg\"";
  attribute("width", width);
  attribute("height", height);
  attribute("viewBox", "0 0 " + number(width) + " " + number(height));
  body_ += ">\n<title>" + escaped(title) + "</title>\n<style>\n";
  body_ += style;
  body_ += "</style>\n<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
}

void SvgWriter::box(double x, double y, double width, double height, std::string_view style_class,
                    std::string_view hint) {
  body_ += "<rect";
  attribute("class", style_class);
  attribute("x", x);
  attribute("y", y);
  attribute("width", width);
  attribute("height", height);
  body_ += hint.empty() ? "/>\n" : "><title>" + escaped(hint) + "</title></rect>\n";
}

void SvgWriter::line(double x1, double y1, double x2, double y2, std::string_view style_class) {
  body_ += "<line";
  attribute("class", style_class);
  attribute("x1", x1);
  attribute("y1", y1);
  attribute("x2", x2);
  attribute("y2", y2);
  body_ += "/>\n";
}

void SvgWriter::text(double x, double y, std::string_view style_class, std::string_view text,
                     SvgAnchor anchor) {
  body_ += "<text";
  attribute("class", style_class);
  attribute("x", x);
  attribute("y", y);
  if (anchor != SvgAnchor::kStart) {
    attribute("text-anchor", name_of(anchor));
  }
  body_ += ">" + escaped(text) + "</text>\n";
}

void SvgWriter::attribute(std::string_view name, double value) {
  attribute(name, number(value));
}

void SvgWriter::attribute(std::string_view name, std::string_view value) {
  body_ += " ";
  body_ += name;
  body_ += "=\"" + escaped(value) + "\"";
}

}  // namespace host
