// The PRODUCT= line of a USB interface's uevent file.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/messages.h"
#include "discovery/port_identity.h"
#include "tests/support/expect.h"
#include "tests/support/rows.h"

namespace qorx::test {
namespace {

constexpr const char* kUevent = "/sys/class/net/usb0/device/uevent";
constexpr const char* kLine = "PRODUCT=bda/8153/3000\n";
constexpr std::uint32_t kUnknown = 0x10000;

struct Content {
  std::string_view rule;
  std::vector<std::string> files;  // each of them
  std::uint32_t vendor = 0x0BDA;
  std::uint32_t product = 0x8153;
};

class Uevent : public RowTest<Content, MachineTest> {
 protected:
  void expect_ids(std::uint32_t vendor, std::uint32_t product) const {
    EXPECT_EQ(ids_.vendor, vendor);
    EXPECT_EQ(ids_.device, product);
  }

  std::string traced(const std::string& content) {
    machine_.write(kUevent + 1, content);
    return traced_by([this] { EXPECT_EQ(Search_USB_uevent(kUevent, ids_), 0); });
  }

  PciIds ids_{1, 2};
};

TEST_P(Uevent, HoldsTheIds) {
  for (const std::string& content : row().files) {
    SCOPED_TRACE(content.substr(0, 60));
    machine_.write(kUevent + 1, content);
    ids_ = {1, 2};
    EXPECT_EQ(Search_USB_uevent(kUevent, ids_), 0);
    expect_ids(row().vendor, row().product);
  }
}

Content unknown(std::string_view rule, const std::vector<std::string>& files) {
  return {rule, files, kUnknown, kUnknown};
}

std::string xs(std::size_t count, const std::string& tail) {
  return std::string(count, 'x') + tail;
}

// The line without a line feed, as long as this.
std::string line_of(std::size_t length) {
  const std::string line = "PRODUCT=bda/8153/";
  return line + std::string(length - line.size(), '3');
}

QORX_ROWS(Uevent, {"the first two fields of the product line are the ids", {kLine, "PRODUCT=BDA/8153/3000\n"}},
          {"other lines stand around it",
           {"DEVTYPE=usb_interface\nDRIVER=r8152\nPRODUCT=b95/1790/200\nTYPE=0/0/0\n"},
           0x0B95,
           0x1790},
          {"numbers may be longer", {"PRODUCT=12345/ffffffff/0\n"}, 0x12345, 0xFFFFFFFF},
          {"the release field may be missing", {"PRODUCT=bda/8153\n", "PRODUCT=bda/8153 \t\r\n"}},
          unknown("a line without both ids leaves them unknown",
                  {"PRODUCT=bda\n", "PRODUCT=\n", "PRODUCT=/8153\n", "PRODUCT=bda/\n", "PRODUCT=//\n"}),
          {"runs of delimiters count as one", {"PRODUCT==bda//8153/3000\n"}},
          {"a field that is no number is zero", {"PRODUCT=xyz/8153/3000\n"}, 0},
          {"only the first product line is read", {"PRODUCT=bda/8153/3000\nPRODUCT=b95/1790/200\n"}},
          unknown("whatever it says", {"PRODUCT=bda\nPRODUCT=b95/1790/200\n"}),
          {"blanks may stand before the key", {"  \tPRODUCT=bda/8153/3000\n"}},
          unknown("nothing else may",
                  {"XPRODUCT=bda/8153/3000\n", "product=bda/8153/3000\n", "PRODUCT =bda/8153/3000\n",
                   "#PRODUCT=bda/8153/3000\n", "\rPRODUCT=bda/8153/3000\n"}),
          unknown("a last line without a line feed is ignored",
                  {"PRODUCT=bda/8153/3000", "DEVTYPE=usb_interface\nPRODUCT=bda/8153/3000"}),
          unknown("a file without a product line leaves the ids unknown", {"", "\n", "DRIVER=virtio_net\n"}),
          {"lines up to the buffer are read whole",
           {xs(1022, "\n") + kLine, xs(1023, "\n") + kLine, xs(1024, "\n") + kLine, xs(3000, "\n") + kLine}},
          {"what lies behind 1023 bytes is a line of its own", {xs(1023, kLine)}},
          unknown("what lies before is not", {xs(1022, kLine), xs(1024, kLine)}),
          // It ends before the end of the file is met.
          {"a last piece that fills the buffer is read without a line feed", {line_of(1023)}},
          unknown("a shorter one is not", {line_of(1022)}));

TEST_F(Uevent, ANullPathIsRefused) {
  EXPECT_EQ(code_byte(Search_USB_uevent(nullptr, ids_)), 0x94);
  expect_ids(kUnknown, kUnknown);
}

TEST_F(Uevent, AFileThatCannotBeOpenedIsAnError) {
  const Outcome failed{"Error: Open file /sys/class/net/usb0/device/uevent failed.\n", 0x80};
  const auto search = [this] { return Search_USB_uevent(kUevent, ids_); };
  EXPECT_EQ(outcome_of(search), failed);
  expect_ids(kUnknown, kUnknown);
  machine_.make_directory(kUevent + 1);
  EXPECT_EQ(outcome_of(search), failed);
  g_error_message_open = 0;
  EXPECT_EQ(outcome_of(search), (Outcome{"", 0x80}));
}

TEST_F(Uevent, TracesShowEachLineAndTheFields) {
  EXPECT_EQ(traced("A=b\n PRODUCT=bda/8153/3000\nTYPE=0/0/0\n"),
            "check head char of !A=b\n!\n"
            "check tail char of !A=b\n!\n"
            "remove tail 1 char !A=b!\n"
            "A=b\n"
            "check head char of ! PRODUCT=bda/8153/3000\n!\n"
            "remove head 1 char !PRODUCT=bda/8153/3000\n!\n"
            "check tail char of !PRODUCT=bda/8153/3000\n!\n"
            "remove tail 1 char !PRODUCT=bda/8153/3000!\n"
            "PRODUCT=bda/8153/3000\n"
            "PRODUCT\nbda\n8153\n");
}

TEST_F(Uevent, TheReadThatOnlyMeetsTheEndTracesNothing) {
  EXPECT_EQ(traced("A=b\n"),
            "check head char of !A=b\n!\n"
            "check tail char of !A=b\n!\n"
            "remove tail 1 char !A=b!\n"
            "A=b\n");
}

}  // namespace
}  // namespace qorx::test
