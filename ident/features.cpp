#include "ident/features.h"

#include <array>

#include "lib/qorx.h"

namespace qorx {

namespace {

constexpr unsigned kTable = static_cast<unsigned>(FeatureVocabulary::kTable);
constexpr unsigned kPlatform = static_cast<unsigned>(FeatureVocabulary::kPlatformFile);
constexpr unsigned kModule = static_cast<unsigned>(FeatureVocabulary::kModuleFile);

struct FeatureWord {
  const char* word;
  std::uint8_t code;
  unsigned vocabularies;
};

constexpr std::array kWords{
    FeatureWord{"POE", QORX_FEATURE_POE, kTable | kPlatform | kModule},
    FeatureWord{"A_BYPASS", QORX_FEATURE_A_BYPASS, kTable | kPlatform | kModule},
    FeatureWord{"A_BYPASS-C", QORX_FEATURE_A_BYPASS, kPlatform},
    FeatureWord{"L_BYPASS", QORX_FEATURE_L_BYPASS, kTable | kPlatform | kModule},
    FeatureWord{"N/A", QORX_FEATURE_NA, kTable | kModule},
    FeatureWord{"NA", QORX_FEATURE_NA, kPlatform | kModule},
    FeatureWord{"NCSI", QORX_FEATURE_NCSI, kTable | kPlatform | kModule},
    FeatureWord{"1PPS", QORX_FEATURE_1PPS, kTable | kPlatform},
    FeatureWord{"NCSI/1PPS", QORX_FEATURE_NCSI_1PPS, kTable},
    FeatureWord{"A_BYPASS_I2C", QORX_FEATURE_A_BYPASS_I2C, kTable | kPlatform | kModule},
};

}  // namespace

std::optional<std::uint8_t> feature_code(std::string_view word, FeatureVocabulary vocabulary) {
  for (const FeatureWord& entry : kWords) {
    if ((entry.vocabularies & static_cast<unsigned>(vocabulary)) != 0 && word == entry.word) {
      return entry.code;
    }
  }
  return std::nullopt;
}

const char* feature_text(std::uint8_t code) {
  for (const FeatureWord& entry : kWords) {
    if ((entry.vocabularies & kTable) != 0 && code == entry.code) {
      return entry.word;
    }
  }
  return "unknown";
}

}  // namespace qorx
