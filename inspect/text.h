// Texts of a machine: bytes that a firmware, a kernel or a user chose.
#ifndef QORX_INSPECT_TEXT_H
#define QORX_INSPECT_TEXT_H

#include <string>
#include <string_view>
#include <vector>

#include "lib/version.h"

namespace qorx::inspect {

// Whether the bytes are well-formed UTF-8.
bool is_utf8(std::string_view bytes);

// The text as UTF-8. Bytes that are not UTF-8 are taken as Latin-1, each byte one character, so that nothing is lost.
std::string as_utf8(std::string_view bytes);

// Two digits per byte.
std::string hexadecimal(std::string_view bytes);

// How many columns of a terminal an UTF-8 text takes: East Asian characters take two, combining ones none.
std::size_t columns_of(std::string_view utf8);

// The characters of an UTF-8 text, combining ones with the one before.
std::vector<std::string> characters_of(std::string_view utf8);

// As much of an UTF-8 text as fits into these columns; a cut text ends in `mark`.
std::string shortened(std::string_view utf8, std::size_t columns, std::string_view mark);

// Control characters replaced by "?": what a terminal or a picture can show.
std::string printable(std::string_view bytes);

// "WMX Slot 10" comes behind "WMX Slot 9": digits are compared as numbers, letters whatever their case,
// blanks not at all.
bool natural_less(std::string_view a, std::string_view b);

// "01.38"
std::string version_text(const Version& version);

}  // namespace qorx::inspect

#endif
