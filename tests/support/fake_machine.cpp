#include "tests/support/fake_machine.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "base/system_root.h"

namespace qorx::test {

namespace fs = std::filesystem;

namespace {

void put16(std::string& bytes, std::size_t offset, std::uint16_t value) {
  bytes[offset] = static_cast<char>(value & 0xFF);
  bytes[offset + 1] = static_cast<char>(value >> 8);
}

void open_directories(const fs::path& path) {
  if (!fs::is_directory(fs::symlink_status(path))) {
    return;
  }
  std::error_code ignored;
  fs::permissions(path, fs::perms::owner_all, fs::perm_options::add, ignored);
  for (const auto& entry : fs::directory_iterator(path, ignored)) {
    open_directories(entry.path());
  }
}

// Also what a test has closed to itself, where it runs as an ordinary user.
void remove_tree(const fs::path& path) {
  std::error_code failure;
  fs::remove_all(path, failure);
  if (failure) {
    open_directories(path);
    fs::remove_all(path, failure);
  }
}

void write_file(const fs::path& path, std::string_view content) {
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  file.close();
  if (!file) {
    throw std::runtime_error("can't write " + path.string());
  }
}

}  // namespace

std::string endpoint_config(const Ids& ids) {
  std::string config(64, '\0');
  put16(config, 0x00, ids.vendor);
  put16(config, 0x02, ids.device);
  config[0x0B] = 0x02;  // class: network controller
  put16(config, 0x2C, ids.subsys_vendor);
  put16(config, 0x2E, ids.subsys_device);
  return config;
}

std::string bridge_config(const Ids& ids, std::uint8_t capability_offset) {
  std::string config(256, '\0');
  put16(config, 0x00, ids.vendor);
  put16(config, 0x02, ids.device);
  config[0x0B] = 0x06;  // class: bridge
  config[0x0A] = 0x04;
  config[0x0E] = 0x01;
  if (capability_offset != 0) {
    config[0x06] = 0x10;
    config[0x34] = static_cast<char>(capability_offset);
    config[capability_offset] = 0x0D;
    put16(config, capability_offset + 4U, ids.subsys_vendor);
    put16(config, capability_offset + 6U, ids.subsys_device);
  }
  return config;
}

TemporaryDirectory::TemporaryDirectory() {
  std::string name = (fs::temp_directory_path() / "qorx-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("can't make a temporary directory");
  }
  path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  remove_tree(path_);
}

FakeMachine::FakeMachine() {
  make_directory("sys/class/net");
  make_directory("sys/devices/pci0000:00");
  make_directory("sys/bus/pci/devices");
  add_virtual("lo", "00:00:00:00:00:00");
  use();
}

FakeMachine::~FakeMachine() {
  set_system_root("");
}

FakeMachine& FakeMachine::write(const std::string& path, std::string_view content) {
  write_file(below_root(path), content);
  return *this;
}

FakeMachine& FakeMachine::remove(const std::string& path) {
  remove_tree(below_root(path));
  return *this;
}

FakeMachine& FakeMachine::make_directory(const std::string& path) {
  fs::create_directories(below_root(path));
  return *this;
}

FakeMachine& FakeMachine::make_link(const std::string& target, const std::string& path) {
  fs::create_directories(below_root(path).parent_path());
  fs::create_symlink(target, below_root(path));
  return *this;
}

FakeMachine& FakeMachine::add_function(const std::string& path, const std::string& config) {
  const std::string device = "devices/pci0000:00/" + path;
  write("sys/" + device + "/config", config);
  std::istringstream components(path);
  std::string below = "devices/pci0000:00";
  for (std::string component; std::getline(components, component, '/');) {
    below += "/" + component;
    const fs::path link = root() / "sys/bus/pci/devices" / component;
    if (component.starts_with("0000:") && !fs::is_symlink(link)) {
      fs::create_symlink("../../../" + below, link);
    }
  }
  return *this;
}

FakeMachine& FakeMachine::add_port(const std::string& name, const std::string& path, const Ids& ids,
                                   const std::string& mac) {
  add_function(path, endpoint_config(ids));
  return add_interface(name, path, mac);
}

FakeMachine& FakeMachine::add_usb_port(const std::string& name, const std::string& path, const std::string& product,
                                       const std::string& mac) {
  write("sys/devices/pci0000:00/" + path + "/uevent", "DEVTYPE=usb_interface\nPRODUCT=" + product + "\nTYPE=0/0/0\n");
  return add_interface(name, path, mac);
}

FakeMachine& FakeMachine::add_interface(const std::string& name, const std::string& path, const std::string& mac) {
  const std::string net = "devices/pci0000:00/" + path + "/net/" + name;
  write("sys/" + net + "/address", next_mac(mac) + "\n");
  make_link("../../../" + fs::path(path).filename().string(), "sys/" + net + "/device");
  return make_link("../../" + net, "sys/class/net/" + name);
}

FakeMachine& FakeMachine::add_virtual(const std::string& name, const std::string& mac) {
  const std::string net = "devices/virtual/net/" + name;
  write("sys/" + net + "/address", mac + "\n");
  return make_link("../../" + net, "sys/class/net/" + name);
}

FakeMachine& FakeMachine::add_raw_interface(const std::string& name, const std::string& link_text) {
  return make_link(link_text, "sys/class/net/" + name);
}

FakeMachine& FakeMachine::add_i2c_adapter(int number, const std::string& name) {
  return write("sys/class/i2c-adapter/i2c-" + std::to_string(number) + "/name", name + "\n");
}

FakeMachine& FakeMachine::smbios(const SmbiosTable& table) {
  write("sys/firmware/dmi/tables/smbios_entry_point", table.entry_point3());
  return write("sys/firmware/dmi/tables/DMI", table.bytes());
}

std::string FakeMachine::user_file(const std::string& name, std::string_view content) {
  write_file(work() / name, content);
  return (work() / name).string();
}

ToolRun FakeMachine::run(const std::vector<std::string>& arguments) const {
  return run_replay(root(), work(), arguments);
}

void FakeMachine::use() const {
  if (!set_system_root(root().string())) {
    throw std::runtime_error("the temporary directory's name is too long");
  }
}

fs::path FakeMachine::below_root(const std::string& path) const {
  // Joined to the root, an absolute path would stay as it is and lead out of the fake machine.
  if (fs::path(path).is_absolute()) {
    throw std::invalid_argument("not below the fake machine: " + path);
  }
  return root() / path;
}

std::string FakeMachine::next_mac(const std::string& wanted) {
  ++ports_;
  if (!wanted.empty()) {
    return wanted;
  }
  char mac[18];
  std::snprintf(mac, sizeof mac, "02:00:00:00:%02x:%02x", ports_ >> 8 & 0xFF, ports_ & 0xFF);
  return mac;
}

std::string bytes(std::string_view hexadecimal) {
  std::istringstream words{std::string(hexadecimal)};
  std::string result;
  for (std::string word; words >> word;) {
    result += static_cast<char>(std::stoi(word, nullptr, 16));
  }
  return result;
}

}  // namespace qorx::test
