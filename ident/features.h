// Feature codes and the words for them: in the table and the -f filter, in the platform file, and in the module
// name file. The three vocabularies differ on purpose.
#ifndef QORX_IDENT_FEATURES_H
#define QORX_IDENT_FEATURES_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace qorx {

enum class FeatureVocabulary : std::uint8_t { kTable = 1, kPlatformFile = 2, kModuleFile = 4 };

// The code of a word, compared exactly; nothing for a word that the vocabulary does not have.
std::optional<std::uint8_t> feature_code(std::string_view word, FeatureVocabulary vocabulary);

// The table's text for a code; "unknown" for a code without one.
const char* feature_text(std::uint8_t code);

}  // namespace qorx

#endif
