// Texts, names and words at the edge of what is taken.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "inspect/arguments.h"
#include "inspect/link_names.h"
#include "inspect/text.h"

namespace qorx::inspect {
namespace {

TEST(Characters, AreCutShortWithTheText) {
  EXPECT_FALSE(is_utf8("\xF0\x90\x80"));
  EXPECT_FALSE(
      is_utf8("\xF0\x90\x80"
              "A"));
  EXPECT_EQ(characters_of("\xCC\x81x").size(), 2U) << "an accent with nothing before it";
  EXPECT_EQ(shortened("\xE7\xAB\xAF", 1, ""), "");
  EXPECT_EQ(shortened("abc", 0, "~"), "");
}

TEST(Printable, ShowsEveryControlCharacterAsAQuestionMark) {
  EXPECT_EQ(printable("a\x7F"
                      "b\x1F"),
            "a?b?");
  EXPECT_EQ(printable("\xC2\x9F\xC2\xA0\xC3\xA9"), "?\xC2\xA0\xC3\xA9");
}

TEST(NaturalOrder, PutsADigitBesideALetterByItsCharacter) {
  EXPECT_TRUE(natural_less("a1", "ab"));
  EXPECT_FALSE(natural_less("ab", "a1"));
  EXPECT_TRUE(natural_less("1", "a"));
}

TEST(UdevPath, TakesOnlyWhatIsAnAddress) {
  for (const char* const no_address : {"0000:03:00", "000:03:00.0", "000000000:03:00.0", "0000:03:00.0x",
                                       "000g:03:00.0", "0000:0g:00.0", "0000.03:00.0"}) {
    EXPECT_EQ(udev_path(no_address), "") << no_address;
  }
  EXPECT_EQ(udev_path("pci0000:00/0000:03:00.0"), "pci-0000:03:00.0");
}

TEST(UdevPath, TakesOnlyWhatIsAnInterfaceOfAUsbDevice) {
  for (const char* const no_interface : {"2-1", "-1:1.0", "a-1:1.0", "2-1:1.0x", "2:1.0"}) {
    EXPECT_EQ(udev_path("0000:00:14.0/" + std::string(no_interface)), "pci-0000:00:14.0") << no_interface;
  }
  EXPECT_EQ(udev_path("0000:00:14.0/usb2/2-1/2-1:1.0"), "pci-0000:00:14.0-usb-0:1:1.0");
}

TEST(PlaceName, IsMadeOfLettersAndDigits) {
  Port port;
  port.place = Place::kSystemSlot;
  port.slot = "Slot";
  EXPECT_EQ(place_name(port), "slot");
  port.slot = "{WMX} Slot ~1`";
  EXPECT_EQ(place_name(port), "wmx1");
  port.panel = "@[{~";
  EXPECT_EQ(place_name(port), "");
}

template <typename... Words>
std::string complaint(const Words*... words) {
  const std::array all{"qorx-inspect", words...};
  return parse_arguments(all).complaint;
}

TEST(Words, TheFirstWrongOneIsTold) {
  EXPECT_EQ(complaint("explain"), "explain needs a port");
  EXPECT_EQ(complaint("explain", "-"), "") << "a port may be called so";
  EXPECT_EQ(complaint("explain", "eth0", "eth1"), "unexpected word 'eth1'");
  EXPECT_EQ(complaint("explain", "-x", "eth0"), "unknown option '-x'");
  EXPECT_EQ(complaint("link", "-sys_WMX_cfg", "f"), "link needs -o DIR or --dry-run");
}

}  // namespace
}  // namespace qorx::inspect
