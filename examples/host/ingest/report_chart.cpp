#include "examples/host/ingest/report_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "examples/host/ingest/status_text.h"

namespace host::ingest {
namespace {

constexpr double kWidth = 640;
constexpr double kHeight = 120;
constexpr double kLeft = 64;
constexpr double kTop = 10;
constexpr double kBottom = 24;
constexpr std::size_t kColumnsMax = 160;

struct Rate {
  double begin;
  double end;
  double megabytes;  // A second.
};

std::string formatted(const char* format, double a, double b = 0, double c = 0, double d = 0) {
  char text[200];
  std::snprintf(text, sizeof(text), format, a, b, c, d);
  return text;
}

// Several samples in one where there are more than can be told apart.
std::vector<Rate> rates_of(const std::vector<Sample>& samples) {
  const std::size_t step = samples.size() / kColumnsMax + 1;
  std::vector<Rate> rates;
  for (std::size_t i = 0; i + 1 < samples.size(); i += step) {
    const Sample& from = samples[i];
    const Sample& to = samples[std::min(i + step, samples.size() - 1)];
    if (to.seconds > from.seconds) {
      rates.push_back(
          {from.seconds, to.seconds,
           static_cast<double>(to.bytes - from.bytes) / 1e6 / (to.seconds - from.seconds)});
    }
  }
  return rates;
}

// 1, 2, 3 or 5 times a power of ten, not below the value.
double round_limit(double value) {
  const double power = std::pow(10, std::floor(std::log10(std::max(value, 0.1))));
  for (const double factor : {1.0, 2.0, 3.0, 5.0}) {
    if (value <= factor * power) {
      return factor * power;
    }
  }
  return 10 * power;
}

}  // namespace

std::string throughput_chart(const std::vector<Sample>& samples, double seconds) {
  const std::vector<Rate> rates = rates_of(samples);
  if (rates.empty() || seconds <= 0) {
    return {};
  }
  const double highest =
      std::max_element(rates.begin(), rates.end(), [](const Rate& a, const Rate& b) {
        return a.megabytes < b.megabytes;
      })->megabytes;
  const double limit = round_limit(highest);
  const double floor_y = kHeight - kBottom;
  const auto x_of = [&](double at) { return kLeft + (kWidth - kLeft - 4) * at / seconds; };
  const auto y_of = [&](double rate) { return floor_y - (floor_y - kTop) * rate / limit; };

  std::string area = formatted("M%.1f %.1f", x_of(rates.front().begin), floor_y);
  for (const Rate& rate : rates) {
    area += formatted("L%.1f %.1f", x_of(rate.begin), y_of(rate.megabytes)) +
            formatted("L%.1f %.1f", x_of(rate.end), y_of(rate.megabytes));
  }
  area += formatted("L%.1f %.1fZ", x_of(rates.back().end), floor_y);

  std::string svg = formatted("<svg viewBox=\"0 0 %.0f %.0f\" role=\"img\">", kWidth, kHeight) +
                    "<title>Megabytes a second over time</title>";
  for (const double share : {0.0, 0.5, 1.0}) {
    const double y = y_of(limit * share);
    svg += formatted("<line class=\"grid\" x1=\"%.0f\" y1=\"%.1f\" x2=\"%.0f\" y2=\"%.1f\"/>",
                     kLeft, y, kWidth - 4, y) +
           formatted("<text x=\"%.0f\" y=\"%.1f\" text-anchor=\"end\">%g</text>", kLeft - 8, y + 4,
                     limit * share);
  }
  svg += "<path class=\"area\" d=\"" + area + "\"/>";
  svg += formatted("<text x=\"%.0f\" y=\"%.0f\">0:00</text>", kLeft, kHeight - 6) +
         formatted("<text x=\"%.0f\" y=\"%.0f\" text-anchor=\"end\">", kWidth - 4, kHeight - 6) +
         duration_text(seconds) + "</text>" +
         formatted("<text x=\"0\" y=\"%.0f\">MB/s</text>", floor_y - (floor_y - kTop) / 2 + 4);
  return svg + "</svg>";
}

}  // namespace host::ingest
