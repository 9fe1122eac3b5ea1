#include "config/stages.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "base/bounded_text.h"
#include "base/line_reader.h"
#include "base/messages.h"
#include "base/text_fields.h"
#include "config/config_lines.h"
#include "ident/features.h"
#include "ident/strings.h"
#include "records/name_column.h"
#include "records/origins.h"
#include "records/state.h"

namespace qorx {

namespace {

constexpr std::string_view kFamilyPrefix = "WMX-";
constexpr std::size_t kShortDigits = 4;
constexpr std::size_t kSingleNameLength = 8;  // "WMX-2848": a longer model is a list of candidates

// How a fitted module's name can stand in a list of candidates: whole, or as its number behind a slash.
struct FittedModule {
  std::string_view name;
  std::string_view short_form;  // empty: none yet
  std::uint8_t feature;
  std::uint32_t line;

  [[nodiscard]] bool is_in(std::string_view candidates) const {
    return candidates.find(name) != std::string_view::npos ||
           (!short_form.empty() && candidates.find(short_form) != std::string_view::npos);
  }
};

bool is_listed(const DeviceRecord& record, std::string_view name) {
  // Names are kept cut to their field, so that is what is compared.
  name = name.substr(0, QORX_NAME_SIZE - 1);
  for (std::size_t k = 0; k < record.module_name_count; ++k) {
    if (name == record.module_names[k]) {
      return true;
    }
  }
  return false;
}

void confirm_candidate(DeviceRecord& record, const FittedModule& module) {
  if (record.module_name_count == 0) {
    record.feature = module.feature;
    origin_of(record).feature = origin_of(record).model = Writer::kModuleFile;
    origin_of(record).feature_line = module.line;
    if (module.feature == QORX_FEATURE_A_BYPASS && carries_control(record)) {
      record.bypass_ctrl_flag = 1;
    }
  } else if (record.feature != module.feature) {
    // Two fitted candidates disagree: no feature is claimed.
    record.feature = QORX_FEATURE_NONE;
    origin_of(record).conflict_line = module.line;
    record.bypass_ctrl_flag = 0;
  }
  if (record.module_name_count < QORX_MAX_MODULE_NAMES && !is_listed(record, module.name)) {
    copy_text(record.module_names[record.module_name_count], module.name);
    ++record.module_name_count;
  }
}

// The ports by their lists of candidates: there are few different ones, and a file may have thousands of lines.
class CandidateLists {
 public:
  CandidateLists() {
    for (std::size_t i = 0; i < ports_.size(); ++i) {
      const std::string_view model = ports_[i].model;
      if (model.size() > kSingleNameLength && models_.find(model) == i) {
        firsts_[count_++] = static_cast<std::uint16_t>(i);
      }
    }
  }

  void confirm(const FittedModule& module) {
    for (const std::size_t first : std::span(firsts_).first(count_)) {
      if (module.is_in(ports_[first].model)) {
        confirm_list(first, module);
      }
    }
  }

 private:
  void confirm_list(std::size_t first, const FittedModule& module) {
    for (std::size_t i = first; i != kNoRecord; i = models_.find_next(i)) {
      if (ports_[i].smbios_type == QORX_SMBIOS_SYSTEM_SLOT) {
        confirm_candidate(ports_[i], module);
      }
    }
  }

  std::span<DeviceRecord> ports_ = device_records();
  NameColumn<DeviceRecord> models_{ports_, &DeviceRecord::model};
  std::array<std::uint16_t, kMaxRecords> firsts_{};  // the first port of each list
  std::size_t count_ = 0;
};

class ModuleNames {
 public:
  explicit ModuleNames(const char* file) : file_(file) {}

  std::int32_t take_line(const char* text, int line_number);

  [[nodiscard]] bool any() const { return any_; }

 private:
  const char* file_;
  bool any_ = false;
  CandidateLists candidates_;
  // Deliberately kept from line to line: a name of another family is also found by the number of the last WMX
  // module before it.
  char short_form_[1 + kShortDigits + 1] = {};
};

std::int32_t ModuleNames::take_line(const char* text, int line_number) {
  const auto fields = split_fields<2>(text, " ");
  if (fields.count < 2) {
    error("can't find feature for WMX in %s file line %d\n", file_, line_number);
    return code_byte(QORX_ERR_CONF_FILE_FORMAT);
  }
  const std::string_view name = fields.at[0];
  const auto feature = feature_code(fields.at[1], FeatureVocabulary::kModuleFile);
  if (!feature) {
    error("Not supported feature for WMX in %s line %d\n", file_, line_number);
    return code_byte(QORX_ERR_CONF_FILE_FORMAT);
  }
  any_ = true;
  if (name.starts_with(kFamilyPrefix)) {
    copy_text(short_form_, "/");
    append_text(short_form_, name.substr(kFamilyPrefix.size(), kShortDigits));
  }
  candidates_.confirm({name, short_form_, *feature, static_cast<std::uint32_t>(line_number)});
  return 0;
}

}  // namespace

std::int32_t qorx_check_WMX_name_file(const char* name_file) {
  if (name_file == nullptr) {
    return 0;
  }
  FilePtr opened;
  if (const std::int32_t code = open_config_file(name_file, opened); code != 0) {
    return code;
  }
  LineReader lines(std::move(opened));
  ModuleNames names(name_file);
  while (!lines.at_end() && lines.read()) {
    str_eliminate_header_space(lines.text());
    str_eliminate_end_space(lines.text());
    if (is_blank_or_comment(lines.text())) {
      continue;
    }
    debug("%s\n", lines.text());
    if (const std::int32_t code = names.take_line(lines.text(), lines.line_number()); code != 0) {
      return code;
    }
  }
  if (lines.failed()) {
    return unreadable_config_file(name_file);
  }
  if (!names.any()) {
    error("Can't find WMX NAME in %s\n", name_file);
    return code_byte(QORX_ERR_CONF_FILE_FORMAT);
  }
  return 0;
}

}  // namespace qorx
