// The PRODUCT= line of a USB interface's uevent file.
#include <gtest/gtest.h>

#include <string>

#include "base/messages.h"
#include "discovery/port_identity.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {
namespace {

constexpr const char* kUevent = "/sys/class/net/usb0/device/uevent";
constexpr std::uint32_t kUnknown = 0x10000;

class Uevent : public testing::Test {
 protected:
  void SetUp() override { reset_library(); }

  void expect_ids(const std::string& content, std::uint32_t vendor, std::uint32_t product) {
    SCOPED_TRACE(content.substr(0, 60));
    machine_.write(kUevent + 1, content);
    ids_ = {1, 2};
    EXPECT_EQ(Search_USB_uevent(kUevent, ids_), 0);
    EXPECT_EQ(ids_.vendor, vendor);
    EXPECT_EQ(ids_.device, product);
  }

  FakeMachine machine_;
  PciIds ids_{1, 2};
};

TEST_F(Uevent, TheFirstTwoFieldsOfTheProductLineAreTheIds) {
  expect_ids("PRODUCT=bda/8153/3000\n", 0x0BDA, 0x8153);
  expect_ids("DEVTYPE=usb_interface\nDRIVER=r8152\nPRODUCT=b95/1790/200\nTYPE=0/0/0\n", 0x0B95, 0x1790);
  expect_ids("PRODUCT=BDA/8153/3000\n", 0x0BDA, 0x8153);
  expect_ids("PRODUCT=12345/ffffffff/0\n", 0x12345, 0xFFFFFFFF);
}

TEST_F(Uevent, TheReleaseFieldMayBeMissing) {
  expect_ids("PRODUCT=bda/8153\n", 0x0BDA, 0x8153);
  expect_ids("PRODUCT=bda/8153 \t\r\n", 0x0BDA, 0x8153);
}

TEST_F(Uevent, ALineWithoutBothIdsLeavesThemUnknown) {
  for (const char* const line : {"PRODUCT=bda\n", "PRODUCT=\n", "PRODUCT=/8153\n", "PRODUCT=bda/\n", "PRODUCT=//\n"}) {
    expect_ids(line, kUnknown, kUnknown);
  }
}

TEST_F(Uevent, RunsOfDelimitersCountAsOne) {
  expect_ids("PRODUCT==bda//8153/3000\n", 0x0BDA, 0x8153);
}

TEST_F(Uevent, AFieldThatIsNoNumberIsZero) {
  expect_ids("PRODUCT=xyz/8153/3000\n", 0, 0x8153);
}

TEST_F(Uevent, OnlyTheFirstProductLineIsRead) {
  expect_ids("PRODUCT=bda/8153/3000\nPRODUCT=b95/1790/200\n", 0x0BDA, 0x8153);
  expect_ids("PRODUCT=bda\nPRODUCT=b95/1790/200\n", kUnknown, kUnknown);
}

TEST_F(Uevent, TheKeyBeginsTheLine) {
  expect_ids("  \tPRODUCT=bda/8153/3000\n", 0x0BDA, 0x8153);
  for (const char* const line : {"XPRODUCT=bda/8153/3000\n", "product=bda/8153/3000\n", "PRODUCT =bda/8153/3000\n",
                                 "#PRODUCT=bda/8153/3000\n", "\rPRODUCT=bda/8153/3000\n"}) {
    expect_ids(line, kUnknown, kUnknown);
  }
}

TEST_F(Uevent, ALastLineWithoutALineFeedIsIgnored) {
  expect_ids("PRODUCT=bda/8153/3000", kUnknown, kUnknown);
  expect_ids("DEVTYPE=usb_interface\nPRODUCT=bda/8153/3000", kUnknown, kUnknown);
}

TEST_F(Uevent, AFileWithoutAProductLineLeavesTheIdsUnknown) {
  expect_ids("", kUnknown, kUnknown);
  expect_ids("\n", kUnknown, kUnknown);
  expect_ids("DRIVER=virtio_net\n", kUnknown, kUnknown);
}

TEST_F(Uevent, LinesUpToTheBufferAreReadWhole) {
  for (const std::size_t length : {1022U, 1023U, 1024U, 3000U}) {
    SCOPED_TRACE(length);
    expect_ids(std::string(length, 'x') + "\nPRODUCT=bda/8153/3000\n", 0x0BDA, 0x8153);
  }
}

TEST_F(Uevent, WhatLiesBehind1023BytesIsALineOfItsOwn) {
  expect_ids(std::string(1023, 'x') + "PRODUCT=bda/8153/3000\n", 0x0BDA, 0x8153);
  expect_ids(std::string(1022, 'x') + "PRODUCT=bda/8153/3000\n", kUnknown, kUnknown);
  expect_ids(std::string(1024, 'x') + "PRODUCT=bda/8153/3000\n", kUnknown, kUnknown);
}

// A piece that fills the buffer ends before the end of the file is met.
TEST_F(Uevent, ALastPieceThatFillsTheBufferIsReadWithoutALineFeed) {
  const std::string line = "PRODUCT=bda/8153/";
  expect_ids(line + std::string(1023 - line.size(), '3'), 0x0BDA, 0x8153);
  expect_ids(line + std::string(1022 - line.size(), '3'), kUnknown, kUnknown);
}

TEST_F(Uevent, ANullPathIsRefused) {
  EXPECT_EQ(code_byte(Search_USB_uevent(nullptr, ids_)), 0x94);
  EXPECT_EQ(ids_.vendor, kUnknown);
  EXPECT_EQ(ids_.device, kUnknown);
}

TEST_F(Uevent, AFileThatCannotBeOpenedIsAnError) {
  for (const bool is_directory : {false, true}) {
    SCOPED_TRACE(is_directory);
    if (is_directory) {
      machine_.make_directory(kUevent + 1);
    }
    ids_ = {1, 2};
    std::int32_t code = 0;
    const std::string printed = printed_by([&] { code = Search_USB_uevent(kUevent, ids_); });
    EXPECT_EQ(code_byte(code), 0x80);
    EXPECT_EQ(printed, "Error: Open file /sys/class/net/usb0/device/uevent failed.\n");
    EXPECT_EQ(ids_.vendor, kUnknown);
    EXPECT_EQ(ids_.device, kUnknown);
  }
}

TEST_F(Uevent, TheErrorIsSilentWhenErrorMessagesAreOff) {
  g_error_message_open = 0;
  EXPECT_EQ(printed_by([&] { static_cast<void>(Search_USB_uevent(kUevent, ids_)); }), "");
}

TEST_F(Uevent, TracesShowEachLineAndTheFields) {
  machine_.write(kUevent + 1, "A=b\n PRODUCT=bda/8153/3000\nTYPE=0/0/0\n");
  EXPECT_EQ(traced_by([&] { static_cast<void>(Search_USB_uevent(kUevent, ids_)); }),
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
  machine_.write(kUevent + 1, "A=b\n");
  EXPECT_EQ(traced_by([&] { static_cast<void>(Search_USB_uevent(kUevent, ids_)); }),
            "check head char of !A=b\n!\n"
            "check tail char of !A=b\n!\n"
            "remove tail 1 char !A=b!\n"
            "A=b\n");
}

}  // namespace
}  // namespace qorx::test
