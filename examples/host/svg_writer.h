// A small writer of SVG pictures: boxes, lines and text, placed in pixels from the top left.
//
// What things look like is the style sheet's business: every element names a class of it. A box may
// carry a hint, which viewers show under the mouse. The text of the picture is ready at any time and
// the same for the same calls.
#pragma once

#include <string>
#include <string_view>

namespace host {

enum class SvgAnchor { kStart, kMiddle, kEnd };

class SvgWriter {
 public:
  /// A white picture of that size. `style` is a style sheet (CSS); `title` names the picture for
  /// readers that cannot see it.
  SvgWriter(double width, double height, std::string_view title, std::string_view style);

  void box(double x, double y, double width, double height, std::string_view style_class,
           std::string_view hint = {});
  void line(double x1, double y1, double x2, double y2, std::string_view style_class);

  /// `y` is the line that the letters stand on.
  void text(double x, double y, std::string_view style_class, std::string_view text,
            SvgAnchor anchor = SvgAnchor::kStart);

  /// The whole file.
  [[nodiscard]] std::string picture() const { return body_ + "</svg>\n"; }

 private:
  void attribute(std::string_view name, double value);
  void attribute(std::string_view name, std::string_view value);

  std::string body_;
};

}  // namespace host
