// Text, pictures as data, and charts drawn as vector graphics.
#include "tlr2_replay/html.h"

#include <algorithm>
#include <cmath>

#include "tlr2_replay/console.h"

namespace tlr2::tool {
namespace {

constexpr const char* kStyle =
    ":root{color-scheme:light dark}"
    "body{font:14px/1.45 system-ui,sans-serif;margin:1.5em auto;max-width:1200px;padding:0 1em}"
    "h1{font-size:1.4em}h2{font-size:1.15em;margin-top:2em;border-bottom:1px solid #8886}h3{font-size:1em}"
    "table{border-collapse:collapse}td,th{padding:.15em .7em;text-align:left;vertical-align:top}"
    "th{font-weight:600}tr:nth-child(even) td{background:#8881}td.n{text-align:right;font-variant-numeric:tabular-nums}"
    "figure{display:inline-block;margin:.4em .8em .4em 0;vertical-align:top}figcaption{font-size:.9em;opacity:.8}"
    "img{border:1px solid "
    "#8886;max-width:100%}img.map{width:384px}.map,.small{image-rendering:pixelated}td.row{white-space:nowrap}td.row "
    "img{max-width:none}img."
    "thumb{width:240px}img.third{width:376px}"
    "code,pre,.mono{font-family:ui-monospace,monospace;font-size:.92em}"
    ".good{color:#2a8a3e}.bad{color:#d03030}.dim{opacity:.7}"
    "#calls{height:26em;overflow:auto;border:1px solid #8886;white-space:pre}"
    "input{font:inherit;padding:.25em .5em;width:24em}svg text{font:11px system-ui,sans-serif;fill:currentColor}";

/// The narrowest width that a style class shows pictures at.
constexpr std::int32_t kSmallPicture = 240;

constexpr const char* kBarColors[] = {"#4e79a7", "#f28e2b", "#59a14f", "#b07aa1", "#e15759", "#76b7b2"};

std::string Base64(const Bytes& bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = static_cast<std::uint32_t>(bytes[i]) << 16;
    if (i + 1 < bytes.size()) group |= static_cast<std::uint32_t>(bytes[i + 1]) << 8;
    if (i + 2 < bytes.size()) group |= bytes[i + 2];
    text += kDigits[group >> 18];
    text += kDigits[group >> 12 & 63];
    text += i + 1 < bytes.size() ? kDigits[group >> 6 & 63] : '=';
    text += i + 2 < bytes.size() ? kDigits[group & 63] : '=';
  }
  return text;
}

}  // namespace

std::string Escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string PictureData(const PictureView& picture) { return "data:image/png;base64," + Base64(PngOfPicture(picture)); }

std::string Image(const PictureView& picture, const std::string& alt, const std::string& classes) {
  // Enlarged pixels keep their edges.
  const std::string all = picture.width < kSmallPicture ? classes + (classes.empty() ? "small" : " small") : classes;
  return "<img class=\"" + all + "\" alt=\"" + Escaped(alt) + "\" src=\"" + PictureData(picture) + "\">";
}

std::string Facts(const std::vector<std::pair<std::string, std::string>>& facts) {
  std::string out = "<table>";
  for (const auto& [name, value] : facts)
    out += "<tr><th>" + Escaped(name) + "</th><td>" + Escaped(value) + "</td></tr>\n";
  return out + "</table>\n";
}

std::string HistogramChart(const Comparison& comparison) {
  constexpr int kBars = 32, kHeight = 90, kBarWidth = 14, kTop = 14;
  std::uint64_t counts[kBars] = {};
  for (int d = 1; d < 256; ++d) {
    // One bar for each of the small differences, which are the common ones; wider ones beyond.
    const int bar = d <= 16 ? d - 1 : 16 + (d - 17) * 16 / 239;
    counts[std::min(bar, kBars - 1)] += comparison.histogram[d];
  }
  const std::uint64_t most = *std::max_element(counts, counts + kBars);
  if (most == 0) return "";
  std::string out =
      Format("<svg width=\"%d\" height=\"%d\" role=\"img\">", kBars * kBarWidth + 10, kHeight + kTop + 18);
  for (int bar = 0; bar < kBars; ++bar) {
    const double share = std::log2(1.0 + static_cast<double>(counts[bar])) / std::log2(1.0 + static_cast<double>(most));
    const int height = static_cast<int>(share * kHeight);
    const int least = bar < 16 ? bar + 1 : 17 + ((bar - 16) * 239 + 15) / 16;
    out += Format(
        "<rect x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" fill=\"#e15759\"><title>from %d: %llu "
        "pixels</title></rect>",
        bar * kBarWidth, kTop + kHeight - height, kBarWidth - 2, height, least,
        static_cast<unsigned long long>(counts[bar]));
    if (bar % 4 == 0) out += Format("<text x=\"%d\" y=\"%d\">%d</text>", bar * kBarWidth, kTop + kHeight + 14, least);
  }
  out += Format("<text x=\"0\" y=\"10\">pixels by greatest channel difference, logarithmic; most %llu</text></svg>",
                static_cast<unsigned long long>(most));
  return out;
}

std::string StackedChart(const std::vector<std::string>& names, const std::vector<std::uint32_t>& frames,
                         const std::vector<std::vector<double>>& values, const std::string& unit) {
  constexpr int kHeight = 180, kWidth = 1000, kTop = 24;
  if (values.empty()) return "";
  double most = 0;
  for (const std::vector<double>& row : values) {
    double sum = 0;
    for (const double value : row) sum += value;
    most = std::max(most, sum);
  }
  if (most <= 0) most = 1;
  const double step = std::min(60.0, static_cast<double>(kWidth) / static_cast<double>(values.size()));
  std::string out = Format("<svg width=\"%d\" height=\"%d\" role=\"img\">", kWidth + 60, kHeight + kTop + 20);
  double legend = 0;
  for (std::size_t c = 0; c < names.size(); ++c) {
    const char* color = kBarColors[c % (sizeof kBarColors / sizeof kBarColors[0])];
    out +=
        Format("<rect x=\"%.0f\" y=\"4\" width=\"10\" height=\"10\" fill=\"%s\"/><text x=\"%.0f\" y=\"13\">%s</text>",
               legend, color, legend + 14, Escaped(names[c]).c_str());
    legend += 30 + 7 * static_cast<double>(names[c].size());
  }
  for (std::size_t r = 0; r < values.size(); ++r) {
    double bottom = kTop + kHeight;
    for (std::size_t c = 0; c < values[r].size(); ++c) {
      const double height = values[r][c] / most * kHeight;
      bottom -= height;
      out += Format(
          "<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"%s\"><title>frame %u, %s: %.3f "
          "%s</title></rect>",
          static_cast<double>(r) * step, bottom, std::max(step - 1, 0.5), height,
          kBarColors[c % (sizeof kBarColors / sizeof kBarColors[0])], static_cast<unsigned>(frames[r]),
          Escaped(names[c]).c_str(), values[r][c], Escaped(unit).c_str());
    }
  }
  out +=
      Format("<text x=\"%d\" y=\"%d\">%.3g %s</text></svg>",
             static_cast<int>(step * static_cast<double>(values.size())) + 4, kTop + 10, most, Escaped(unit).c_str());
  return out;
}

std::string Page(const std::string& title, const std::string& body, const std::string& script) {
  return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" + Escaped(title) +
         "</title><link rel=\"icon\" href=\"data:,\"><style>" + kStyle + "</style></head>\n<body>\n<h1>" +
         Escaped(title) + "</h1>\n" + body + (script.empty() ? "" : "\n<script>\n" + script + "\n</script>") +
         "\n</body></html>\n";
}

}  // namespace tlr2::tool
