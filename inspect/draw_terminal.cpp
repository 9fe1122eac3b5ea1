#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/draw.h"
#include "inspect/text.h"

namespace qorx::inspect {

namespace {

// A column of the grid: a port of 15 columns, 5 for the join to the next one. The box around ports adds 2 on each
// side, which leaves 1 between boxes: 79 columns in all.
constexpr std::size_t kPortWidth = 15;
constexpr std::size_t kPitch = 20;
constexpr std::size_t kMargin = 2;
constexpr std::size_t kPortLines = 6;  // four texts and the border
constexpr std::size_t kJoinLine = 2;

enum class Colour : std::uint8_t { kNone, kTitle, kName, kBypass, kFeature, kMark };

const char* escape_for(Colour colour) {
  switch (colour) {
    case Colour::kTitle:
      return "\x1B[1m";
    case Colour::kName:
      return "\x1B[36m";
    case Colour::kBypass:
      return "\x1B[33m";
    case Colour::kFeature:
      return "\x1B[32m";
    case Colour::kMark:
      return "\x1B[31m";
    case Colour::kNone:
      break;
  }
  return "\x1B[0m";
}

// The characters of a border: corners, lines and the places where a join begins and ends.
struct Border {
  const char* horizontal;
  const char* vertical;
  std::array<const char*, 4> corners;
  const char* join_from;
  const char* join_to;
  const char* join;
  const char* ellipsis;
};
constexpr Border kBoxCharacters{"─", "│", {"┌", "┐", "└", "┘"}, "╞", "╡", "═", "…"};
constexpr Border kAscii{"-", "|", {"+", "+", "+", "+"}, "|", "|", "=", "~"};

// A sheet of characters.
class Canvas {
 public:
  void put(std::size_t column, std::size_t line, std::string_view text, Colour colour = Colour::kNone) {
    if (lines_.size() <= line) {
      lines_.resize(line + 1);
    }
    std::vector<Cell>& cells = lines_[line];
    for (const std::string& character : characters_of(text)) {
      const std::size_t width = columns_of(character);
      if (cells.size() < column + width) {
        cells.resize(column + width);
      }
      for (std::size_t i = 0; i < width; ++i) {
        cells[column + i] = Cell(i == 0 ? character : "", colour);
      }
      column += width;
    }
  }

  // One character of one column, for the borders.
  void put_border(std::size_t column, std::size_t line, const char* character) {
    if (lines_.size() <= line) {
      lines_.resize(line + 1);
    }
    std::vector<Cell>& cells = lines_[line];
    if (cells.size() <= column) {
      cells.resize(column + 1);
    }
    cells[column] = Cell(character, Colour::kNone);
  }

  [[nodiscard]] std::string text(bool is_coloured) const {
    std::string all;
    for (const std::vector<Cell>& cells : lines_) {
      Colour current = Colour::kNone;
      std::string line;
      for (const Cell& cell : cells) {
        if (is_coloured && cell.colour != current) {
          line += escape_for(Colour::kNone);
          line += cell.colour == Colour::kNone ? "" : escape_for(cell.colour);
          current = cell.colour;
        }
        line += cell.text();
      }
      line.erase(line.find_last_not_of(' ') + 1);
      all += line + (current != Colour::kNone ? escape_for(Colour::kNone) : "") + "\n";
    }
    return all;
  }

 private:
  // A character with its combining ones; "?" for a heap of these.
  class Cell {
   public:
    Cell() : Cell(" ", Colour::kNone) {}
    Cell(std::string_view character, Colour of) : colour(of) {
      if (character.size() > bytes_.size()) {
        character = "?";
      }
      length_ = static_cast<std::uint8_t>(character.copy(bytes_.data(), bytes_.size()));
    }

    [[nodiscard]] std::string_view text() const { return {bytes_.data(), length_}; }

    Colour colour;

   private:
    std::array<char, 14> bytes_{};
    std::uint8_t length_ = 0;
  };
  std::vector<std::vector<Cell>> lines_;
};

class TerminalDrawing {
 public:
  explicit TerminalDrawing(const TerminalStyle& style)
      : is_utf8_(style.is_utf8), border_(style.is_utf8 ? kBoxCharacters : kAscii) {}

  void draw(const Front& front) {
    for (const auto& boxes : front.lines) {
      std::size_t height = 0;
      for (const FrontBox& box : boxes) {
        height = std::max(height, 2 + std::max<std::size_t>(box.rows * kPortLines, 1));
      }
      for (const FrontBox& box : boxes) {
        draw_box(box, height);
      }
      line_ += height;
    }
    draw_legend();
  }

  [[nodiscard]] const Canvas& canvas() const { return canvas_; }

 private:
  // What the terminal can show.
  [[nodiscard]] std::string plain(std::string_view text) const {
    if (is_utf8_) {
      return std::string(text);
    }
    std::string ascii;
    for (const std::string& character : characters_of(text)) {
      ascii += character.size() == 1 ? character : "?";
    }
    return ascii;
  }

  void put_text(std::size_t column, std::size_t line, std::string_view text, std::size_t room, Colour colour) {
    canvas_.put(column, line, shortened(plain(text), room, border_.ellipsis), colour);
  }

  void draw_frame(std::size_t column, std::size_t line, std::size_t width, std::size_t height) {
    for (std::size_t i = 1; i + 1 < width; ++i) {
      canvas_.put_border(column + i, line, border_.horizontal);
      canvas_.put_border(column + i, line + height - 1, border_.horizontal);
    }
    for (std::size_t i = 1; i + 1 < height; ++i) {
      canvas_.put_border(column, line + i, border_.vertical);
      canvas_.put_border(column + width - 1, line + i, border_.vertical);
    }
    canvas_.put_border(column, line, border_.corners[0]);
    canvas_.put_border(column + width - 1, line, border_.corners[1]);
    canvas_.put_border(column, line + height - 1, border_.corners[2]);
    canvas_.put_border(column + width - 1, line + height - 1, border_.corners[3]);
  }

  // The title in the upper border, the model in the lower one.
  void draw_box(const FrontBox& box, std::size_t height) {
    const std::size_t left = box.column * kPitch;
    const std::size_t width = box.columns * kPitch - 1;
    draw_frame(left, line_, width, height);
    const std::size_t room = width - 2 * kMargin - 2;
    const auto framed = [&](const std::string& text) {
      return " " + shortened(plain(text), room, border_.ellipsis) + " ";
    };
    canvas_.put(left + kMargin, line_, framed(box.title), Colour::kTitle);
    if (!box.model.empty()) {
      canvas_.put(left + kMargin, line_ + height - 1, framed(box.model));
    }
    if (box.ports.empty()) {
      canvas_.put(left + kMargin, line_ + 1, "empty");
    }
    for (const PortBox& port : box.ports) {
      draw_port(port, left + kMargin + port.column * kPitch, line_ + 1 + port.row * kPortLines);
    }
    for (const PortBox& port : box.ports) {
      if (port.is_joined) {
        draw_join(port, left + kMargin + port.column * kPitch + kPortWidth - 1,
                  line_ + 1 + port.row * kPortLines + kJoinLine);
      }
    }
  }

  static Colour feature_colour(const PortBox& port) {
    if (port.port->has_mismatch || port.port->feature_state == FeatureState::kNeeded) {
      return Colour::kMark;
    }
    if (port.port->segment || port.port->lacks_segment) {
      return Colour::kBypass;
    }
    return port.port->feature_state == FeatureState::kKnown ? Colour::kFeature : Colour::kNone;
  }

  void draw_port(const PortBox& port, std::size_t column, std::size_t line) {
    constexpr std::size_t kRoom = kPortWidth - 2;
    draw_frame(column, line, kPortWidth, kPortLines);
    put_text(column + 1, line + 1, port.label, kRoom, port.port->slot ? Colour::kTitle : Colour::kMark);
    put_text(column + 1, line + 2, port.name, kRoom, Colour::kName);
    put_text(column + 1, line + 3, port.feature, kRoom, feature_colour(port));
    put_text(column + 1, line + 4, port.model, kRoom, Colour::kNone);
    if (!port.is_joined && !port.segment.empty()) {
      const std::string text = " seg " + port.segment + " ";
      canvas_.put(column + 1, line + kPortLines - 1, text, Colour::kBypass);
    }
  }

  // ╞═102═╡
  void draw_join(const PortBox& port, std::size_t column, std::size_t line) {
    constexpr std::size_t kJoinWidth = kPitch - kPortWidth;
    for (std::size_t i = 0; i < kJoinWidth; ++i) {
      canvas_.put(column + 1 + i, line, border_.join, Colour::kBypass);
    }
    canvas_.put(column, line, border_.join_from, Colour::kBypass);
    canvas_.put(column + kJoinWidth + 1, line, border_.join_to, Colour::kBypass);
    canvas_.put(column + 1 + (kJoinWidth - port.segment.size()) / 2, line, port.segment, Colour::kBypass);
  }

  void draw_legend() {
    const std::string join = std::string(border_.join) + "4" + border_.join;
    for (const std::string& text :
         {"A port: panel name, interface, feature (-: none), model.  " + join + " bypass segment 4",
          std::string("(*) default name  (!) platform file disagrees  (?) no segment  seg: no pair"),
          std::string("(!!) no slot record  (u) USB")}) {
      canvas_.put(0, line_++, text);
    }
  }

  bool is_utf8_;
  const Border& border_;
  Canvas canvas_;
  std::size_t line_ = 0;
};

}  // namespace

TerminalStyle terminal_style() {
  TerminalStyle style;
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale != nullptr) {
    style.is_utf8 = std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
    freelocale(locale);
  }
  const char* const no_colour = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  style.is_coloured = isatty(STDOUT_FILENO) == 1 && (no_colour == nullptr || no_colour[0] == '\0') &&
                      terminal != nullptr && std::string_view(terminal) != "dumb";
  return style;
}

std::string draw_on_terminal(const Front& front, const TerminalStyle& style) {
  TerminalDrawing drawing(style);
  drawing.draw(front);
  return drawing.canvas().text(style.is_coloured);
}

}  // namespace qorx::inspect
