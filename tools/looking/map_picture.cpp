// Draws the map of a file as SVG, alone or in a web page.

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "app/text.h"
#include "looking/map.h"

namespace tool {

namespace {

// In pixels.
constexpr double WIDTH = 1200;
constexpr double MARGIN = 24;
constexpr double BAR = WIDTH - 2 * MARGIN;
constexpr double TITLE_Y = 34;
constexpr double SIZE_Y = 56;
constexpr double ROWS_Y = 74;
constexpr double ROW_HEIGHT = 42;
constexpr double ROW_GAP = 4;
constexpr double SCALE_HEIGHT = 34;
constexpr double LINE_HEIGHT = 24;
constexpr double LETTER = 7.3;  // width of a letter of a label
constexpr double MIN_BOX = 2;

constexpr std::size_t COLOURS = 8;

constexpr std::string_view STYLE = R"(<style>
.map{font:13px system-ui,"Segoe UI","DejaVu Sans",sans-serif;fill:#1e293b;background:#fff}
.map .t{font-size:17px;font-weight:600}
.map .s{fill:#64748b;font-size:12px}
.map .e{text-anchor:end}
.map .m{text-anchor:middle}
.map line{stroke:#94a3b8}
.map .paper{fill:#fff}
.map rect.b{stroke:#fff;stroke-width:.5}
.map rect.thin{stroke:none}
.map g:hover>rect.b{stroke:#0f172a;stroke-width:2}
.map .group{fill:#dbe2ea}.map .free{fill:url(#free)}.map .none{fill:url(#none)}.map .other{fill:#b6c2cd}
.map .c0{fill:#7cb8e8}.map .c1{fill:#f6c667}.map .c2{fill:#8fd19e}.map .c3{fill:#f2a2a2}
.map .c4{fill:#c3a6e6}.map .c5{fill:#f3b58a}.map .c6{fill:#7fd1c7}.map .c7{fill:#e6a9cf}
.map .p1{fill:#f1f5f9}.map .p2{stroke:#a3b1c2}.map .q1{fill:#fdecec}.map .q2{stroke:#d97777}
@media (prefers-color-scheme:dark){
.map{fill:#e2e8f0;background:#0f172a}
.map .s{fill:#94a3b8}
.map line{stroke:#64748b}
.map .paper{fill:#0f172a}
.map rect.b:not(.thin){stroke:#0f172a}
.map g:hover>rect.b{stroke:#f8fafc}
.map .group{fill:#334155}.map .other{fill:#52606f}
.map .c0{fill:#23648f}.map .c1{fill:#876310}.map .c2{fill:#2c6e3f}.map .c3{fill:#8f3d3d}
.map .c4{fill:#5f4394}.map .c5{fill:#8a4f22}.map .c6{fill:#1d6f66}.map .c7{fill:#863f6b}
.map .p1{fill:#1e293b}.map .p2{stroke:#475569}.map .q1{fill:#3b1d1d}.map .q2{stroke:#a65252}
}
</style>
)";

constexpr std::string_view PATTERNS =
    R"(<defs><pattern id="free" width="8" height="8" patternUnits="userSpaceOnUse"><rect class="p1" width="8" height="8"/><path class="p2" d="M0 8L8 0"/></pattern><pattern id="none" width="8" height="8" patternUnits="userSpaceOnUse"><rect class="q1" width="8" height="8"/><path class="q2" d="M0 0L8 8M0 8L8 0"/></pattern></defs>
)";

constexpr std::string_view PAGE_STYLE = R"(<style>
:root{color-scheme:light dark}
body{margin:24px auto;max-width:1248px;font:15px system-ui,"Segoe UI","DejaVu Sans",sans-serif;background:#fff;color:#1e293b}
svg{width:100%;height:auto;display:block}
@media (prefers-color-scheme:dark){body{background:#0f172a;color:#e2e8f0}}
</style>
)";

// Text in an element. XML allows neither U+FFFE nor U+FFFF; printable() has replaced control
// characters.
std::string escaped(std::string_view text) {
  std::string xml;
  while (!text.empty()) {
    const std::size_t size = std::max<std::size_t>(characterSize(text), 1);
    const std::string_view character = text.substr(0, size);
    if (character == "<") {
      xml += "&lt;";
    } else if (character == ">") {
      xml += "&gt;";
    } else if (character == "&") {
      xml += "&amp;";
    } else if (character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF") {
      xml += "\xEF\xBF\xBD";
    } else {
      xml += character;
    }
    text.remove_prefix(size);
  }
  return xml;
}

std::string pixels(double number) {
  constexpr int DIGITS = 2;
  std::array<char, 32> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), number,
                                    std::chars_format::fixed, DIGITS);
  return {text.data(), result.ptr};
}

// The size of a tick, such as "1.25 MiB", without rounding. Three decimals are enough, because a
// tick is a power of two multiplied by at most 9.
std::string tickSize(uint64_t tick) {
  std::string rounded = binarySize(tick);
  if (tick < 1024) return rounded;
  auto number = static_cast<double>(tick);
  while (number >= 1024) number /= 1024;
  return decimal(number) + rounded.substr(rounded.find(' '));
}

class Picture {
 public:
  explicit Picture(const Map& map) : map(map) {
    for (const SummaryLine& line : map.summary.lines) {
      if (line.name.kind != ItemKind::DATA) continue;
      if (coloured.size() == COLOURS) break;
      coloured.push_back(line.name);
    }
  }

  std::string draw() {
    const auto rows = static_cast<double>(map.rows.size());
    const double scaleY = ROWS_Y + rows * (ROW_HEIGHT + ROW_GAP) + ROW_GAP;
    const double tableY = scaleY + SCALE_HEIGHT + (map.hasMoreLevels ? LINE_HEIGHT : 0);
    const double height =
        tableY + LINE_HEIGHT * (2 + static_cast<double>(map.summary.lines.size())) + MARGIN;
    svg = R"(<svg xmlns="http://www.w3.org/2000/svg" class="map" preserveAspectRatio="xMidYMin" )"
          R"(viewBox="0 0 )" +
          pixels(WIDTH) + " " + pixels(height) + "\">\n";
    svg.append(STYLE).append(PATTERNS);
    svg += R"(<rect class="paper" width="100%" height="100%"/>)";
    text(MARGIN, TITLE_Y, "t", printable(map.title));
    text(MARGIN, SIZE_Y, "s",
         binarySize(map.fileSize) + " (" + grouped(map.fileSize) + " bytes), " +
             grouped(map.summary.chunks) + (map.summary.chunks == 1 ? " chunk" : " chunks"));
    drawRows();
    drawScale(scaleY);
    if (map.hasMoreLevels) text(MARGIN, tableY - MARGIN / 2, "s", "Deeper levels are left out.");
    drawTable(tableY);
    return std::move(svg.append("</svg>\n"));
  }

 private:
  std::string styleOf(const ItemName& name) const {
    if (name.kind == ItemKind::GROUP) return "group";
    if (name.kind == ItemKind::FREE) return "free";
    if (name.kind != ItemKind::DATA) return "none";
    const auto found = std::ranges::find(coloured, name);
    if (found == coloured.end()) return "other";
    return std::string("c").append(std::to_string(found - coloured.begin()));
  }

  double x(uint64_t offset) const {
    return MARGIN + static_cast<double>(offset) / static_cast<double>(map.fileSize) * BAR;
  }

  double widthOf(const MapBox& item) const { return x(item.end) - x(item.offset); }

  void text(double x, double y, std::string_view style, std::string_view words) {
    svg += "<text x=\"" + pixels(x) + "\" y=\"" + pixels(y) + "\" class=\"" + std::string(style) +
           "\">" + escaped(words) + "</text>\n";
  }

  void box(double x, double y, double width, double height, std::string_view style) {
    const bool isThin = width < 2 * ROW_GAP;
    svg += std::string("<rect class=\"b ") + (isThin ? "thin " : "") + std::string(style) +
           "\" x=\"" + pixels(x) + "\" y=\"" + pixels(y) + "\" width=\"" + pixels(width) +
           "\" height=\"" + pixels(height) + "\" rx=\"" + (isThin ? "0" : "3") + "\"/>";
  }

  void drawRows() {
    double y = ROWS_Y;
    for (const std::vector<MapBox>& row : map.rows) {
      // Boxes that are widened come last: their neighbours would hide them.
      for (const bool isWidened : {false, true}) {
        for (const MapBox& item : row) {
          if ((widthOf(item) < MIN_BOX) == isWidened) drawBox(item, y);
        }
      }
      y += ROW_HEIGHT + ROW_GAP;
    }
  }

  void drawBox(const MapBox& item, double y) {
    constexpr double PADDING = 6;
    constexpr double FIRST_LINE = 18;
    constexpr double SECOND_LINE = 34;
    const uint64_t size = item.end - item.offset;
    const double width = std::max(widthOf(item), MIN_BOX);
    const double left = std::min(x(item.offset), MARGIN + BAR - width);
    svg += "<g><title>" + escaped(hint(item)) + "</title>";
    box(left, y, width, ROW_HEIGHT, styleOf(item.name()));
    svg += '\n';
    const auto label = [&](const std::string& words, double line, std::string_view style) {
      const double needed = static_cast<double>(words.size()) * LETTER + 2 * PADDING;
      if (needed <= width) text(left + PADDING, y + line, style, words);
    };
    label(item.count == 1 ? textOf(item.name()) : grouped(item.count) + " items", FIRST_LINE, "");
    label(binarySize(size), SECOND_LINE, "l");
    svg += "</g>\n";
  }

  // What a browser shows beside the mouse pointer.
  std::string hint(const MapBox& item) const {
    const uint64_t size = item.end - item.offset;
    std::string words = item.text() + "\noffset " + grouped(item.offset) + "\n" + grouped(size) +
                        (size == 1 ? " byte" : " bytes");
    if (size >= 1024) words += " (" + binarySize(size) + ")";
    return words + ", " + percentage(size, map.fileSize) + " of the file";
  }

  // Ticks at multiples of a power of two.
  void drawScale(double y) {
    constexpr double TICKS = 10;
    constexpr double TICK = 6;
    constexpr double WORDS_Y = 21;
    constexpr double MIN_DISTANCE = 80;
    const double end = MARGIN + BAR;
    if (map.fileSize == 0) return;
    uint64_t step = 1;
    while (static_cast<double>(map.fileSize) / static_cast<double>(step) > TICKS) step *= 2;
    line(MARGIN, y, end, y);
    for (uint64_t tick = 0; tick < map.fileSize && end - x(tick) >= MIN_DISTANCE; tick += step) {
      line(x(tick), y, x(tick), y + TICK);
      text(x(tick), y + WORDS_Y, tick == 0 ? "s" : "s m", tick == 0 ? "0" : tickSize(tick));
    }
    line(end, y, end, y + TICK);
    text(end, y + WORDS_Y, "s e", binarySize(map.fileSize));
  }

  void line(double x1, double y1, double x2, double y2) {
    svg += "<line x1=\"" + pixels(x1) + "\" y1=\"" + pixels(y1) + "\" x2=\"" + pixels(x2) +
           "\" y2=\"" + pixels(y2) + "\"/>\n";
  }

  void drawTable(double y) {
    const SummaryLine& others = map.summary.others;
    tableLine(y += LINE_HEIGHT, "s ", {"chunk", "count", "bytes", "share", "first at"});
    for (const SummaryLine& line : map.summary.lines) {
      y += LINE_HEIGHT;
      svg += "<g>";
      box(MARGIN, y - 12, 16, 16, styleOf(line.name));
      svg += "</g>";
      tableLine(y, "",
                {textOf(line.name), grouped(line.count), grouped(line.bytes),
                 percentage(line.bytes, map.summary.bytes), grouped(line.offset)});
    }
    if (others.count == 0) return;
    tableLine(y + LINE_HEIGHT, "",
              {"(other ids)", grouped(others.count), grouped(others.bytes),
               percentage(others.bytes, map.summary.bytes), ""});
  }

  static constexpr std::size_t CELLS = 5;

  void tableLine(double y, const std::string& style, const std::array<std::string, CELLS>& cells) {
    constexpr std::array<double, CELLS> X = {52, 310, 480, 600, 780};
    text(X[0], y, style, cells[0]);
    for (std::size_t i = 1; i < CELLS; ++i) text(X.at(i), y, style + "e", cells.at(i));
  }

  const Map& map;
  std::vector<ItemName> coloured;  // the largest ids
  std::string svg;
};

}  // namespace

std::string svgOf(const Map& map) { return Picture(map).draw(); }

std::string htmlOf(const Map& map) {
  std::string page =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width\">\n<title>";
  page.append(escaped(printable(map.title))).append("</title>\n").append(PAGE_STYLE);
  return page.append("</head>\n<body>\n").append(svgOf(map)).append("</body>\n</html>\n");
}

}  // namespace tool
