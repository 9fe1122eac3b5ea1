// Which slot record a port belongs to: the first one whose PCI address occurs in the port's sysfs path.
#ifndef QORX_DISCOVERY_SLOT_MATCH_H
#define QORX_DISCOVERY_SLOT_MATCH_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "records/pci_address.h"
#include "records/state.h"

namespace qorx {

// What a pass compares with the slot records' addresses. The values are those of the traces.
enum class MatchPass : std::uint8_t {
  kOwnAddress = 0,  // the port's own address
  kBridges = 1,     // every bridge above it
};

inline constexpr std::array kMatchPasses{MatchPass::kOwnAddress, MatchPass::kBridges};

// How much of an address a level compares.
enum class AddressPart : std::uint8_t { kBus, kDevice, kFunction };

// One way of comparing: a part of the slot's address, or of the one next to it.
struct MatchLevel {
  int number;  // in the traces; a higher one is more exact
  AddressPart part;
  int add_bus = 0;
  int add_dev = 0;
  int add_fun = 0;
};

// The slot records' addresses, prepared once for a scan.
//
// The rule is a substring search: a level turns a slot record's address into a text (":03:00.0", ":03:00", ":03:")
// and looks for it in the port's path. In each pass the levels go from the most exact to the least, and within a level
// the first record in table order wins. All those texts begin with a colon and a bus number, so an address that the
// path can hold is looked up in an index: the same answer without 512 searches per port.
class SlotMatcher {
 public:
  struct Match {
    std::size_t slot;
    int level;  // its number
  };

  // `slots` must outlive the matcher and keep its addresses.
  explicit SlotMatcher(std::span<const SlotRecord> slots);

  // The part of a port's path that a pass searches.
  static std::string_view searched_text(MatchPass pass, std::string_view net_path);

  // The first record that matches, at the highest level that has one.
  [[nodiscard]] std::optional<Match> find(MatchPass pass, std::string_view text) const;

  // The text that a level makes of a record's address, for the trace.
  static void format_pattern(MatchPass pass, int number, const SlotRecord& slot, char (&pattern)[16]);

 private:
  // A place in a path where a pattern can begin: a bus number between colons.
  struct Place {
    int bus;
    bool has_slots;          // on that very bus
    std::size_t behind_bus;  // where the text behind the second colon begins
  };

  // The first record of each address, by the part of it that some levels compare.
  class Index {
   public:
    Index(std::span<const SlotRecord> slots, AddressPart part);

    // kMaxRecords when there is none; numbers that no byte holds match nothing.
    [[nodiscard]] std::size_t find(int bus, int dev, int fun) const;

   private:
    static constexpr std::size_t kBuckets = 512;

    [[nodiscard]] PciAddress compared(const SlotRecord& slot) const;

    std::span<const SlotRecord> slots_;
    AddressPart part_;
    std::array<std::uint16_t, kBuckets> first_;
    std::array<std::uint16_t, kMaxRecords> next_;  // by record: one with another address in the same bucket
  };

  [[nodiscard]] std::size_t first_at(std::string_view text, const Place& place, const MatchLevel& level) const;

  std::array<Index, 3> indexes_;  // by AddressPart
};

}  // namespace qorx

#endif
