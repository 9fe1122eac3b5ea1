// A small machine laid out from fuzz bytes: its part of /sys and /dev, the user's files and a command line.
#ifndef QORX_FUZZ_MACHINE_H
#define QORX_FUZZ_MACHINE_H

#include <string>
#include <string_view>
#include <vector>

#include "fuzz/support.h"

namespace qorx::fuzz {

// The bytes are sections: the byte 0xF5, the section's letter, its content up to the next 0xF5. A 0xF5 of the content
// is doubled. What lies before the first section is one of words. README.md lists the letters.
class Machine {
 public:
  // Lays the machine out below scratch_directory()/root and makes an empty current directory with the user's files.
  explicit Machine(Bytes sections);

  // Removes all that and goes back to the directory before.
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  // The command line, with the program's name.
  [[nodiscard]] const std::vector<std::string>& words() const { return words_; }

 private:
  void add_section(char letter, const std::string& content);
  void add_words(std::string_view content);
  void add_interface(std::string_view content);
  void repeat_interface(int byte) const;
  void add_function(std::string_view content);
  void add_memory(std::string_view content);
  void write_system(const std::string& path, std::string_view content) const;

  std::string root_;
  std::string name_;       // of the interface that was added last,
  std::string link_;       // its link text,
  std::string interface_;  // its own directory, empty where the link leads out of the device tree,
  std::string device_;     // and that of its device
  std::vector<std::string> words_{"qorx"};
};

}  // namespace qorx::fuzz

#endif
