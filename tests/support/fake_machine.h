// A machine made of files in a temporary directory, and ways to run qorx on it.
#ifndef QORX_TESTS_SUPPORT_FAKE_MACHINE_H
#define QORX_TESTS_SUPPORT_FAKE_MACHINE_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/smbios_builder.h"
#include "tests/support/tool_run.h"

namespace qorx::test {

// The ids of a PCI function. The defaults are those of a card that no table knows.
struct Ids {
  std::uint16_t vendor = 0x8086;
  std::uint16_t device = 0x1521;
  std::uint16_t subsys_vendor = 0x8086;
  std::uint16_t subsys_device = 0x0001;
};

// 64 bytes of configuration space of an endpoint.
std::string endpoint_config(const Ids& ids);

// 256 bytes of configuration space of a bridge; the subsystem ids are in capability 0x0D at `capability_offset`,
// or nowhere when that is 0.
std::string bridge_config(const Ids& ids, std::uint8_t capability_offset = 0);

// A temporary directory that is removed with its contents.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

class FakeMachine {
 public:
  // A machine with "lo", PCI domain 0000 and nothing else. It becomes the library's system root.
  FakeMachine();
  ~FakeMachine();
  FakeMachine(const FakeMachine&) = delete;
  FakeMachine& operator=(const FakeMachine&) = delete;

  // Writes a file below the machine's root ("sys/…", "dev/mem") or removes one.
  FakeMachine& write(const std::string& path, std::string_view content);
  FakeMachine& remove(const std::string& path);
  FakeMachine& make_directory(const std::string& path);
  FakeMachine& make_link(const std::string& target, const std::string& path);

  // Adds a PCI function: `path` is the chain of addresses below pci0000:00, for example
  // "0000:00:1c.0/0000:03:00.0". Bridges above it are made, without a config file, where they do not exist.
  FakeMachine& add_function(const std::string& path, const std::string& config);

  // Adds a network port on such a function. Its MAC address is made up of its number of creation unless given.
  FakeMachine& add_port(const std::string& name, const std::string& path, const Ids& ids = {},
                        const std::string& mac = "");

  // Adds a USB network adapter; `path` goes on behind the controller: "0000:00:14.0/usb2/2-1/2-1:1.0". `product` is
  // the value of the uevent file's PRODUCT= line.
  FakeMachine& add_usb_port(const std::string& name, const std::string& path, const std::string& product,
                            const std::string& mac = "");

  FakeMachine& add_virtual(const std::string& name, const std::string& mac);

  // Adds an interface whose link has this text, whether it leads anywhere or not.
  FakeMachine& add_raw_interface(const std::string& name, const std::string& link_text);

  FakeMachine& add_i2c_adapter(int number, const std::string& name);

  // Installs a table as sys/firmware/dmi/tables, with a version 3 entry point.
  FakeMachine& smbios(const SmbiosTable& table);

  // Writes a file in the directory that the tool runs in. Returns its full path.
  std::string user_file(const std::string& name, std::string_view content);

  [[nodiscard]] const std::filesystem::path& root() const { return root_.path(); }
  [[nodiscard]] const std::filesystem::path& work() const { return work_.path(); }

  // Runs the whole command line on this machine in a process of its own, in the directory work().
  ToolRun run(const std::vector<std::string>& arguments) const;

  // Makes this machine the library's system root, for calls in this process.
  void use() const;

 private:
  FakeMachine& add_interface(const std::string& name, const std::string& path, const std::string& mac);
  std::string next_mac(const std::string& wanted);
  [[nodiscard]] std::filesystem::path below_root(const std::string& path) const;

  TemporaryDirectory root_;
  TemporaryDirectory work_;
  int ports_ = 0;
};

// Bytes written as text: "5f 53 4d 5f"; blanks and line feeds part them.
std::string bytes(std::string_view hexadecimal);

}  // namespace qorx::test

#endif
