// Which slot record a port belongs to: the first one whose PCI address occurs in the port's sysfs path.
#ifndef QORX_DISCOVERY_SLOT_MATCH_H
#define QORX_DISCOVERY_SLOT_MATCH_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "records/state.h"

namespace qorx {

// The slot records' addresses, prepared once for a scan.
//
// The rule is a substring search: a level turns a slot record's address into a text (":03:00.0", ":03:00", ":03:")
// and looks for it in the port's path. Pass 0 looks at the port's own address, pass 1 at every bridge above it; in
// each pass the levels go from the most exact to the least, and within a level the first record in table order
// wins. All those texts begin with a colon and the bus number, so the records are chained by bus and only compared
// where the path has a colon and that number: the same answer without 512 searches per port.
class SlotMatcher {
 public:
  static constexpr int kPasses = 2;

  struct Match {
    std::size_t slot;
    int level;
  };

  // `slots` must outlive the matcher and keep its addresses.
  explicit SlotMatcher(std::span<const SlotRecord> slots);

  // The part of a port's path that a pass searches.
  static std::string_view searched_text(int pass, std::string_view net_path);

  // The first record that matches, at the highest level that has one.
  [[nodiscard]] std::optional<Match> find(int pass, std::string_view text) const;

  // The text that a level makes of a record's address, for the trace.
  static void format_pattern(int pass, int level, const SlotRecord& slot, char (&pattern)[16]);

 private:
  // What a level takes of an address, and what it adds to the part before comparing.
  struct Level {
    int number;
    bool with_dev;
    bool with_fun;
    int add_bus;
    int add_dev;
    int add_fun;
  };

  // A place in a path where a pattern can begin.
  struct Place {
    int bus;                      // the two digits behind the colon, where a colon follows them
    int dev;                      // the two digits behind that, -1 where there are none
    std::string_view behind_bus;  // the text from the device number on
  };

  static std::span<const Level> levels(int pass);
  static bool read_place(std::string_view behind_colon, Place& place);
  static bool matches_at(const Place& place, const Level& level, const SlotRecord& slot);
  [[nodiscard]] std::size_t first_match(const Level& level, std::span<const Place> places) const;

  static constexpr std::uint16_t kNone = kMaxRecords;

  std::span<const SlotRecord> slots_;
  std::array<std::uint16_t, 256> first_;         // by bus: the first record
  std::array<std::uint16_t, kMaxRecords> next_;  // by record: the next one with the same bus
};

}  // namespace qorx

#endif
