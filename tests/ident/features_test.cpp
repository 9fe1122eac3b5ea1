#include "ident/features.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace qorx {
namespace {

using Words = std::map<std::string, int>;

// Every word that any of the three vocabularies has, and some that none has.
const std::vector<std::string> kAllWords{"POE",  "A_BYPASS", "A_BYPASS-C", "L_BYPASS",     "N/A",  "NA",
                                         "NCSI", "1PPS",     "NCSI/1PPS",  "A_BYPASS_I2C", "poe",  "",
                                         "POE ", "POEX",     "unknown",    "Need cfg",     "ncsi", "A_BYPASS_I2"};

void expect_vocabulary(FeatureVocabulary vocabulary, const Words& expected) {
  for (const std::string& word : kAllWords) {
    SCOPED_TRACE("\"" + word + "\"");
    const auto code = feature_code(word, vocabulary);
    const auto wanted = expected.find(word);
    EXPECT_EQ(code ? *code : -1, wanted == expected.end() ? -1 : wanted->second);
  }
}

TEST(FeatureCode, TheTableHasOneWordPerCode) {
  const Words words{{"POE", 1},   {"A_BYPASS", 2}, {"L_BYPASS", 4},   {"N/A", 8},
                    {"NCSI", 16}, {"1PPS", 32},    {"NCSI/1PPS", 48}, {"A_BYPASS_I2C", 64}};
  expect_vocabulary(FeatureVocabulary::kTable, words);
}

TEST(FeatureCode, ThePlatformFileTellsTheControllerPortAndWritesNaWithoutASlash) {
  const Words words{{"POE", 0x01}, {"A_BYPASS", 0x02}, {"A_BYPASS-C", 0x02}, {"L_BYPASS", 0x04},
                    {"NA", 0x08},  {"NCSI", 0x10},     {"1PPS", 0x20},       {"A_BYPASS_I2C", 0x40}};
  expect_vocabulary(FeatureVocabulary::kPlatformFile, words);
}

TEST(FeatureCode, TheModuleNameFileHasNeitherControllerPortsNor1pps) {
  const Words words{{"A_BYPASS", 0x02}, {"L_BYPASS", 0x04}, {"POE", 0x01},         {"NA", 0x08},
                    {"N/A", 0x08},      {"NCSI", 0x10},     {"A_BYPASS_I2C", 0x40}};
  expect_vocabulary(FeatureVocabulary::kModuleFile, words);
}

TEST(FeatureText, EveryCodeHasItsTextAndEveryOtherValueIsUnknown) {
  const std::map<int, std::string> texts{{1, "POE"},   {2, "A_BYPASS"}, {4, "L_BYPASS"},   {8, "N/A"},
                                         {16, "NCSI"}, {32, "1PPS"},    {48, "NCSI/1PPS"}, {64, "A_BYPASS_I2C"}};
  for (int code = 0; code < 256; ++code) {
    SCOPED_TRACE(code);
    const auto text = texts.find(code);
    EXPECT_EQ(feature_text(static_cast<std::uint8_t>(code)), text == texts.end() ? "unknown" : text->second);
  }
}

}  // namespace
}  // namespace qorx
