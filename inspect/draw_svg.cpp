#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>

#include "inspect/draw.h"
#include "inspect/text.h"

namespace qorx::inspect {

namespace {

// All lengths are pixels. A column of the grid holds a port and the join to the next one.
constexpr int kPortWidth = 148;
constexpr int kPortHeight = 92;
constexpr int kPitch = 200;
constexpr int kRowPitch = 106;
constexpr int kPadding = 15;  // around the ports of a box
constexpr int kTitleHeight = 30;
constexpr int kBoxGap = 22;
constexpr int kMargin = 20;
constexpr int kEmptyHeight = 34;
constexpr int kSheetWidth = 2 * kMargin + static_cast<int>(kFrontColumns) * kPitch - kBoxGap;

constexpr int kFontSize = 13;
constexpr int kCharacterWidth = 8;  // every text is given its length, whatever font the viewer has
constexpr int kLineHeight = 20;

std::string escaped(std::string_view text) {
  std::string result;
  for (const char character : text) {
    switch (character) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += character;
    }
  }
  return result;
}

// What XML can hold: no U+FFFE and U+FFFF.
std::string xml_text(std::string_view text) {
  std::string result;
  for (const std::string& character : characters_of(text)) {
    const bool is_forbidden =
        character.find("\xEF\xBF\xBE") != std::string::npos || character.find("\xEF\xBF\xBF") != std::string::npos;
    result += is_forbidden ? "?" : character;
  }
  return result;
}

const char* class_of(const Port& port) {
  if (port.segment || port.lacks_segment) {
    return "port bypass";
  }
  switch (port.feature_state) {
    case FeatureState::kKnown:
      return "port special";
    case FeatureState::kNeeded:
      return "port needed";
    default:
      return "port";
  }
}

class Picture {
 public:
  void draw(const Front& front) {
    for (const auto& boxes : front.lines) {
      int height = 0;
      for (const FrontBox& box : boxes) {
        height = std::max(height, height_of(box));
      }
      for (const FrontBox& box : boxes) {
        draw_box(box, height);
      }
      y_ += height + kBoxGap;
    }
    draw_legend();
  }

  [[nodiscard]] std::string document() const {
    std::ostringstream svg;
    svg << R"(<?xml version="1.0" encoding="UTF-8"?>)"
        << "\n"
        << R"(<svg xmlns="http://www.w3.org/2000/svg" width=")" << kSheetWidth << R"(" height=")" << y_
        << R"(" viewBox="0 0 )" << kSheetWidth << " " << y_ << R"(" role="img">)"
        << "\n"
        << "<title>The front of the appliance</title>\n"
        << kStyle << "<rect class=\"sheet\" width=\"100%\" height=\"100%\"/>\n"
        << body_.str() << "</svg>\n";
    return svg.str();
  }

 private:
  static constexpr const char* kStyle =
      "<style>\n"
      "text { font-family: 'DejaVu Sans Mono', 'Liberation Mono', Menlo, Consolas, monospace; font-size: 13px; "
      "fill: #1f2933; }\n"
      ".sheet { fill: #ffffff; }\n"
      ".box { fill: #f3f5f8; stroke: #7b8794; stroke-width: 1.5; }\n"
      ".empty { fill: #ffffff; stroke-dasharray: 6 4; }\n"
      ".port { fill: #ffffff; stroke: #52606d; stroke-width: 1.5; }\n"
      ".bypass { fill: #fff4d6; stroke: #b7791f; }\n"
      ".special { fill: #e3f5e8; stroke: #2f855a; }\n"
      ".needed { fill: #fde8e8; stroke: #c53030; }\n"
      ".join { stroke: #b7791f; stroke-width: 3; }\n"
      ".segment { fill: #ffffff; stroke: #b7791f; stroke-width: 1.5; }\n"
      ".title { font-weight: bold; }\n"
      ".quiet { fill: #52606d; }\n"
      "</style>\n";

  static int height_of(const FrontBox& box) {
    return box.rows == 0 ? kTitleHeight + kEmptyHeight
                         : kTitleHeight + static_cast<int>(box.rows) * kRowPitch - (kRowPitch - kPortHeight) + kPadding;
  }

  void rectangle(const char* kind, int x, int y, int width, int height, const std::string& tip = "") {
    body_ << "<rect class=\"" << kind << "\" x=\"" << x << "\" y=\"" << y << "\" width=\"" << width << "\" height=\""
          << height << R"(" rx="4")";
    if (tip.empty()) {
      body_ << "/>\n";
    } else {
      body_ << "><title>" << escaped(xml_text(tip)) << "</title></rect>\n";
    }
  }

  // `room` is in pixels.
  void text(const char* kind, int x, int y, std::string_view content, int room) {
    const std::string shown = shortened(xml_text(content), static_cast<std::size_t>(room / kCharacterWidth), "…");
    if (shown.empty()) {
      return;
    }
    body_ << "<text class=\"" << kind << "\" x=\"" << x << "\" y=\"" << y << "\" textLength=\""
          << static_cast<int>(columns_of(shown)) * kCharacterWidth
          << R"(" lengthAdjust="spacingAndGlyphs" xml:space="preserve">)" << escaped(shown) << "</text>\n";
  }

  void draw_box(const FrontBox& box, int height) {
    const int left = kMargin + static_cast<int>(box.column) * kPitch;
    const int width = static_cast<int>(box.columns) * kPitch - kBoxGap;
    const int room = width - 2 * kPadding;
    rectangle(box.ports.empty() ? "box empty" : "box", left, y_, width, height, box.title);
    const int title_width = std::min(room, static_cast<int>(columns_of(box.title)) * kCharacterWidth);
    text("title", left + kPadding, y_ + kLineHeight, box.title, room);
    // The ports say it too.
    const int model_left = title_width + 2 * kCharacterWidth;
    if (const int model_width = static_cast<int>(columns_of(box.model)) * kCharacterWidth;
        model_left + model_width <= room) {
      text("quiet", left + kPadding + model_left, y_ + kLineHeight, box.model, model_width);
    }
    if (box.ports.empty()) {
      text("quiet", left + kPadding, y_ + kTitleHeight + kLineHeight / 2, "empty", room);
    }
    for (const PortBox& port : box.ports) {
      draw_port(port, left + kPadding + static_cast<int>(port.column) * kPitch,
                y_ + kTitleHeight + static_cast<int>(port.row) * kRowPitch);
    }
  }

  static std::string tip_of(const PortBox& port) {
    return port.label + ": " + port.name + (port.port->address ? ", " + *port.port->address : "") + ", " +
           port.feature + (port.segment.empty() ? "" : ", segment " + port.segment) +
           (port.model.empty() ? "" : ", " + port.model);
  }

  void draw_port(const PortBox& port, int x, int y) {
    constexpr int kInset = 9;
    constexpr int kRoom = kPortWidth - 2 * kInset;
    rectangle(class_of(*port.port), x, y, kPortWidth, kPortHeight, tip_of(port));
    // Where no join carries the segment, it stands in the port's upper right corner.
    const std::string own_segment = port.segment.empty() || port.is_joined ? "" : "seg " + port.segment;
    const int segment_width = static_cast<int>(own_segment.size()) * kCharacterWidth;
    int line = y + kLineHeight;
    text("title", x + kInset, line, port.label, kRoom - (own_segment.empty() ? 0 : segment_width + kCharacterWidth));
    text("quiet", x + kPortWidth - kInset - segment_width, line, own_segment, segment_width);
    text("name", x + kInset, line += kLineHeight, port.name, kRoom);
    text("name", x + kInset, line += kLineHeight, port.feature, kRoom);
    text("quiet", x + kInset, line + kLineHeight, port.model, kRoom);
    if (port.is_joined) {
      draw_join(port, x + kPortWidth, y + kPortHeight / 2);
    }
  }

  // A line to the next port, with the segment in the middle.
  void draw_join(const PortBox& port, int x, int y) {
    constexpr int kJoinWidth = kPitch - kPortWidth;
    const int text_width = static_cast<int>(port.segment.size()) * kCharacterWidth;
    constexpr int kLabelHeight = 22;
    const int label_width = text_width + 10;
    body_ << R"(<line class="join" x1=")" << x << "\" y1=\"" << y << "\" x2=\"" << x + kJoinWidth << "\" y2=\"" << y
          << "\"/>\n";
    rectangle("segment", x + (kJoinWidth - label_width) / 2, y - kLabelHeight / 2, label_width, kLabelHeight);
    text("title", x + (kJoinWidth - text_width) / 2, y + kFontSize / 3 + 1, port.segment, text_width);
  }

  void draw_legend() {
    constexpr int kSample = 18;
    struct Entry {
      const char* kind;
      const char* text;
    };
    constexpr int kEntryWidth = (kSheetWidth - 2 * kMargin) / 4;
    int x = kMargin;
    for (const Entry& entry : {Entry{"port bypass", "LAN bypass"}, Entry{"port special", "PoE, NC-SI, 1PPS"},
                               Entry{"port needed", "Need cfg"}, Entry{"port", "none or unknown"}}) {
      rectangle(entry.kind, x, y_, kSample, kSample);
      text("quiet", x + kSample + 8, y_ + kSample - 4, entry.text, kEntryWidth - kSample - 8);
      x += kEntryWidth;
    }
    y_ += kSample;
    for (const char* const line :
         {"A port: panel name, interface, feature (- has none), model. A pair of bypass ports is joined;",
          "its segment stands on the join. (*) default name  (!) platform file disagrees  (?) no segment",
          "(!!) no slot record  (u) USB"}) {
      text("quiet", kMargin, y_ + kLineHeight, line, kSheetWidth - 2 * kMargin);
      y_ += kLineHeight;
    }
    y_ += kMargin;
  }

  std::ostringstream body_;
  int y_ = kMargin;
};

}  // namespace

std::string draw_as_svg(const Front& front) {
  Picture picture;
  picture.draw(front);
  return picture.document();
}

}  // namespace qorx::inspect
