#include "config/stages.h"

#include <string_view>

#include "base/bounded_text.h"
#include "base/messages.h"
#include "base/text_fields.h"
#include "config/platform_lines.h"
#include "ident/features.h"
#include "records/name_column.h"
#include "records/origins.h"
#include "records/state.h"

namespace qorx {

namespace {

// function / panel name / feature or order / extra
constexpr std::size_t kValueFields = 4;
constexpr std::size_t kRequiredFields = 3;

constexpr std::string_view kControlWord = "A_BYPASS-C";

void note_panel(const DeviceRecord& record, const PlatformLine& line) {
  origin_of(record).panel = Writer::kPlatformFile;
  origin_of(record).panel_line = static_cast<std::uint32_t>(line.number);
}

class FeaturePass final : public PlatformPass {
 public:
  std::int32_t begin_block(const char* slot_name, const char* /*file*/, int /*line_number*/) override {
    copy_text(slot_name_, slot_name);
    return 0;
  }

  std::int32_t take_line(const PlatformLine& line) override {
    if (line.key == PlatformKey::kFeature) {
      return take_feature(line);
    }
    return line.key == PlatformKey::kBusOrder ? take_bus_order(line) : 0;
  }

 private:
  using Value = Fields<kValueFields>;

  static Value split(const PlatformLine& line) {
    debug("Splitting string \"%s\" into tokens:\n", line.value);
    return split_fields<kValueFields>(line.value, "/");
  }

  std::int32_t take_bus_order(const PlatformLine& line);
  std::int32_t take_feature(const PlatformLine& line);
  static void apply_feature(DeviceRecord& record, std::uint8_t code, const Value& value, const PlatformLine& line);

  // Calls `action` for every port of the block's slot with the function in the line's first field.
  template <typename Action>
  void for_each_port(std::string_view function_field, Action action) {
    const int function = function_field[0] - '0';
    for (std::size_t i = names_.find(slot_name_); i != kNoRecord; i = names_.find_next(i)) {
      if (records_[i].fun == function) {
        action(records_[i]);
      }
    }
  }

  std::span<DeviceRecord> records_ = device_records();
  NameColumn<DeviceRecord> names_{records_, &DeviceRecord::slot_name};
  char slot_name_[QORX_NAME_SIZE] = {};
};

std::int32_t FeaturePass::take_bus_order(const PlatformLine& line) {
  const Value value = split(line);
  if (value.count < kRequiredFields) {
    return wrong_format(line);
  }
  const std::uint8_t port_index = value.at[2].starts_with('H') ? 1 : 0;
  for_each_port(value.at[0], [&](DeviceRecord& record) {
    if (record.port_index == port_index) {
      copy_text(record.panel_name, value.at[1]);
      note_panel(record, line);
    }
  });
  return 0;
}

std::int32_t FeaturePass::take_feature(const PlatformLine& line) {
  const Value value = split(line);
  if (value.count < kRequiredFields) {
    return wrong_format(line);
  }
  auto code = feature_code(value.at[2], FeatureVocabulary::kPlatformFile);
  if (!code) {
    error("Not supported feature! %s line: %d\n", line.file, line.number);
    return code_byte(QORX_ERR_CONF_FILE_FORMAT);
  }
  if (*code == QORX_FEATURE_NCSI && value.at[3] == "1PPS") {
    code = QORX_FEATURE_NCSI_1PPS;
  }
  for_each_port(value.at[0], [&](DeviceRecord& record) { apply_feature(record, *code, value, line); });
  return 0;
}

void FeaturePass::apply_feature(DeviceRecord& record, std::uint8_t code, const Value& value, const PlatformLine& line) {
  const std::string_view word = value.at[2];
  if (record.feature != QORX_FEATURE_NONE && record.feature != code && g_force_flag != 1) {
    record.feature |= QORX_FEATURE_MISMATCH;
    origin_of(record).refused_line = static_cast<std::uint32_t>(line.number);
    error("CFG file feature (%.*s) is not matched with Vlm default feature. Slot Name (%s) CFG file line: %d\n",
          static_cast<int>(word.size()), word.data(), record.slot_name, line.number);
    error("If you want to overwrite please add -F command!\n");
    return;
  }
  copy_text(record.panel_name, value.at[1]);
  note_panel(record, line);
  record.feature = code;
  origin_of(record).feature = Writer::kPlatformFile;
  origin_of(record).feature_line = static_cast<std::uint32_t>(line.number);
  record.bypass_ctrl_flag = word == kControlWord ? 1 : 0;
}

}  // namespace

std::int32_t qorx_check_conf_file(const char* conf_file) {
  FeaturePass pass;
  return read_platform_file(conf_file, pass);
}

}  // namespace qorx
