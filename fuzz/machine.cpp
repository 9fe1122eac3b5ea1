#include "fuzz/machine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>

namespace qorx::fuzz {

namespace fs = std::filesystem;

namespace {

constexpr char kMark = '\xF5';
constexpr std::size_t kMostWords = 24;
constexpr std::size_t kLongestName = 255;
constexpr std::size_t kLongestPath = 1000;
constexpr long kMemoryLimit = 0x200000;

struct UserFile {
  char letter;
  const char* name;
};
constexpr std::array kUserFiles{
    UserFile{'q', "qorx.cfg"}, UserFile{'s', "smbios.cfg"}, UserFile{'w', "wmx_name.cfg"},
    UserFile{'1', "entry"},    UserFile{'2', "table"},
};

// What one machine has made, to be removed in the opposite order: quicker than walking the tree again, and laying it
// out and removing it is most of a run.
class Made {
 public:
  void directory(const std::string& path) {
    bool is_made = mkdir(path.c_str(), 0700) == 0;
    if (!is_made && errno == ENOENT) {
      directory(path.substr(0, path.rfind('/')));
      is_made = mkdir(path.c_str(), 0700) == 0;
    }
    if (is_made) {
      made_.push_back({path, true});
    }
  }

  void file(const std::string& path, std::string_view content, long offset = 0) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (file >= 0) {
      require(pwrite(file, content.data(), content.size(), offset) == static_cast<ssize_t>(content.size()),
              "the scratch file system has room");
      close(file);
      made_.push_back({path, false});
    }
  }

  void link(const std::string& target, const std::string& path) {
    if (symlink(target.c_str(), path.c_str()) == 0) {
      made_.push_back({path, false});
    }
  }

  void remove_all() {
    for (auto one = made_.rbegin(); one != made_.rend(); ++one) {
      static_cast<void>(one->is_directory ? rmdir(one->path.c_str()) : unlink(one->path.c_str()));
    }
    made_.clear();
  }

 private:
  struct One {
    std::string path;
    bool is_directory;
  };
  std::vector<One> made_;
};

Made& made() {
  static Made one;
  return one;
}

// What the run itself has written into the current directory.
void empty_directory(const std::string& path) {
  std::error_code gone;
  for (const auto& entry : fs::directory_iterator(path, gone)) {
    fs::remove_all(entry.path(), gone);
  }
}

// The text up to the first NUL and, in `text`, what lies behind it.
std::string_view take_text(std::string_view& text) {
  const std::string_view taken = text.substr(0, text.find('\0'));
  text.remove_prefix(std::min(text.size(), taken.size() + 1));
  return taken;
}

// A name that can be used in a directory; empty when `text` can't be one.
std::string file_name(std::string_view text) {
  std::string name(text.substr(0, kLongestName));
  std::ranges::replace(name, '/', '_');
  return name == "." || name == ".." ? std::string() : name;
}

// A path below a directory; empty when it can't be one or could leave it ("device" is a link upwards here).
std::string path_below(std::string_view text) {
  std::string path;
  if (text.size() > kLongestPath) {
    return path;
  }
  while (!text.empty()) {
    const std::string_view part = text.substr(0, text.find('/'));
    text.remove_prefix(std::min(text.size(), part.size() + 1));
    if (part == ".." || part == "device" || part.size() > kLongestName) {
      return {};
    }
    if (!part.empty() && part != ".") {
      path += (path.empty() ? "" : "/") + std::string(part);
    }
  }
  return path;
}

std::string parent_of(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

int current_directory() {
  static const int descriptor = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  return descriptor;
}

}  // namespace

Machine::Machine(Bytes sections) : root_(scratch_directory() + "/root") {
  const std::string work = scratch_directory() + "/user";
  require(current_directory() >= 0, "the current directory can be returned to");
  made().directory(work);
  made().directory(root_ + "/sys/class/net");
  made().directory(root_ + "/sys/devices/pci0000:00");
  require(chdir(work.c_str()) == 0, "the user's directory can be entered");
  char letter = 'a';
  std::string content;
  for (std::size_t i = 0; i < sections.size(); ++i) {
    const char byte = static_cast<char>(sections[i]);
    const char next = i + 1 < sections.size() ? static_cast<char>(sections[i + 1]) : '\0';
    if (byte != kMark || next == kMark) {
      content += byte;
      i += byte == kMark ? 1 : 0;
      continue;
    }
    add_section(letter, content);
    letter = next;
    content.clear();
    ++i;
  }
  add_section(letter, content);
}

Machine::~Machine() {
  require(fchdir(current_directory()) == 0, "the current directory can be returned to");
  empty_directory(scratch_directory() + "/user");
  made().remove_all();
}

void Machine::add_section(char letter, const std::string& content) {
  std::string_view rest = content;
  switch (letter) {
    case 'a':
      return add_words(content);
    case 'n':
      return add_interface(content);
    case 'r':
      return repeat_interface(content.empty() ? 0 : static_cast<std::uint8_t>(content[0]));
    case 'c':
      return write_system(device_ + "/config", content);
    case 'u':
      return write_system(device_ + "/uevent", content);
    case 'm':
      return write_system(interface_ + "/address", content);
    case 'f':
      return add_function(content);
    case 'i': {
      const std::string name = file_name(take_text(rest));
      return write_system(root_ + "/sys/class/i2c-adapter/" + name + "/name", rest);
    }
    case 'e':
      return write_system(root_ + "/sys/firmware/dmi/tables/smbios_entry_point", content);
    case 't':
      return write_system(root_ + "/sys/firmware/dmi/tables/DMI", content);
    case 'y':
      return write_system(root_ + "/sys/firmware/efi/systab", content);
    case 'M':
      return add_memory(content);
    case 'x': {
      fs::remove_all(root_ + (content.empty() ? "/sys/class/net" : "/sys/devices/pci0000:00"));
      return;
    }
    default:
      break;
  }
  const auto file = std::ranges::find(kUserFiles, letter, &UserFile::letter);
  if (file != kUserFiles.end()) {
    made().file(scratch_directory() + "/user/" + file->name, content);
  }
}

// No word may lead out of the current directory: the tool writes where -o says.
void Machine::add_words(std::string_view content) {
  while (!content.empty() && words_.size() < kMostWords) {
    const std::string word(take_text(content));
    words_.push_back(word == "NCSI/1PPS" ? word : file_name(word));
  }
}

// Name and link text. A link into the device tree leads to directories of that name, as in a real tree.
void Machine::add_interface(std::string_view content) {
  constexpr std::string_view kDevices = "../../devices/";
  device_.clear();
  interface_.clear();
  name_ = file_name(take_text(content));
  link_ = take_text(content);
  made().link(link_, root_ + "/sys/class/net/" + name_);
  const std::string below = link_.starts_with(kDevices) ? path_below(link_.substr(kDevices.size())) : std::string();
  if (name_.empty() || below.empty()) {
    return;
  }
  interface_ = root_ + "/sys/devices/" + below;
  device_ = parent_of(parent_of(interface_));
  made().directory(interface_);
  made().link("../..", interface_ + "/device");
}

// Many more interfaces like the last one: up to as many ports as the tables hold, and more.
void Machine::repeat_interface(int byte) const {
  const int count = byte == 0xFF ? 1000 : byte;
  for (int i = 0; i < count; ++i) {
    made().link(link_, root_ + "/sys/class/net/" + name_ + '.' + std::to_string(i));
  }
}

// Address and configuration space of a PCI function, below all functions' directory; a path below the host bridge
// makes a device directory.
void Machine::add_function(std::string_view content) {
  const std::string below = path_below(take_text(content));
  if (below.empty()) {
    return;
  }
  write_system(root_ + "/sys/devices/pci0000:00/" + below + "/config", content);
  write_system(root_ + "/sys/bus/pci/devices/" + below.substr(below.rfind('/') + 1) + "/config", content);
}

// Address, 4 bytes, and the bytes there. What lies around them reads as zeros.
void Machine::add_memory(std::string_view content) {
  Input input(as_bytes(content).data(), content.size());
  const long address = static_cast<long>(input.u32()) % kMemoryLimit;
  made().directory(root_ + "/dev");
  made().file(root_ + "/dev/mem", as_text(input.rest()), address);
}

void Machine::write_system(const std::string& path, std::string_view content) const {
  if (!path.starts_with(root_)) {
    return;
  }
  made().directory(parent_of(path));
  made().file(path, content);
}

}  // namespace qorx::fuzz
