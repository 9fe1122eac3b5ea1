// The text that explains a port: headings with the values, and below each where it comes from.
#ifndef QORX_INSPECT_EXPLANATION_H
#define QORX_INSPECT_EXPLANATION_H

#include <string>
#include <vector>

namespace qorx::inspect {

class Explanation {
 public:
  void heading(const std::string& what, const std::string& value) { text_ += what + ": " + value + "\n"; }
  void say(const std::string& sentence) { text_ += "    " + sentence + "\n"; }

  // Lines to write into a file.
  void write_into(const std::string& file, const std::vector<std::string>& lines) {
    say("In " + file + ":");
    for (const std::string& line : lines) {
      text_ += "        " + line + "\n";
    }
  }

  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace qorx::inspect

#endif
