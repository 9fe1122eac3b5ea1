#include "tests/support/expect.h"

#include <gtest/gtest.h>

#include <ostream>
#include <sstream>
#include <utility>

#include "base/bounded_text.h"
#include "tests/support/library.h"

namespace qorx {

void PrintTo(const PciIds& ids, std::ostream* out) {
  *out << std::hex << ids.vendor << ':' << ids.device << std::dec;
}

}  // namespace qorx

namespace qorx::test {

namespace {

// Collects what differs between a record and what is expected of it.
class Comparison {
 public:
  void text(const char* field, std::string_view actual, const Text& expected) {
    if (expected && actual != *expected) {
      differences_ << "\n  " << field << " is \"" << actual << "\", not \"" << *expected << '"';
    }
  }

  void number(const char* field, std::int64_t actual, const Number& expected) {
    if (expected && actual != *expected) {
      differences_ << "\n  " << field << " is " << in_both_bases(actual) << ", not " << in_both_bases(*expected);
    }
  }

  void texts(const char* field, const Texts& actual, const std::optional<Texts>& expected) {
    if (expected && actual != *expected) {
      differences_ << "\n  " << field << " are " << testing::PrintToString(actual) << ", not "
                   << testing::PrintToString(*expected);
    }
  }

  void report(const std::string& subject, Where where) const {
    if (const std::string differences = differences_.str(); !differences.empty()) {
      ADD_FAILURE_AT(where.file, where.line) << subject << differences;
    }
  }

 private:
  static std::string in_both_bases(std::int64_t value) {
    std::ostringstream text;
    text << value << " (0x" << std::hex << value << ')';
    return text.str();
  }

  std::ostringstream differences_;
};

Texts module_names_of(const DeviceRecord& port) {
  Texts names;
  for (std::size_t i = 0; i < port.module_name_count; ++i) {
    names.emplace_back(i < QORX_MAX_MODULE_NAMES ? port.module_names[i] : "(not there)");
  }
  return names;
}

}  // namespace

#define QORX_SET_TEXT(field)              \
  if (fields.field) {                     \
    copy_text(port.field, *fields.field); \
  }
#define QORX_SET_NUMBER(field) port.field = static_cast<decltype(port.field)>(fields.field.value_or(port.field));

DeviceRecord& set_port(DeviceRecord& port, const PortFields& fields) {
  QORX_PORT_FIELDS(QORX_SET_TEXT, QORX_SET_NUMBER)
  for (const std::string& name : fields.module_names.value_or(Texts{})) {
    copy_text(port.module_names[port.module_name_count++], name);
  }
  return port;
}

DeviceRecord& add_port(const PortFields& fields) {
  return set_port(add_device(""), fields);
}

#define QORX_TEXT(field) comparison.text(#field, actual.field, expected.field);
#define QORX_NUMBER(field) comparison.number(#field, actual.field, expected.field);

void expect_port(const DeviceRecord& actual, const PortFields& expected, Where where) {
  Comparison comparison;
  QORX_PORT_FIELDS(QORX_TEXT, QORX_NUMBER)
  comparison.texts("module_names", module_names_of(actual), expected.module_names);
  comparison.report("port \"" + std::string(actual.eth_name) + '"', where);
}

void expect_slot(const SlotRecord& actual, const SlotFields& expected, Where where) {
  Comparison comparison;
  QORX_SLOT_FIELDS(QORX_TEXT, QORX_NUMBER)
  comparison.report("slot \"" + std::string(actual.slot_name) + '"', where);
}

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << "code 0x" << std::hex << outcome.code << std::dec << " and \"" << outcome.printed << '"';
}

Outcome outcome_of(const std::function<std::int32_t()>& call) {
  std::int32_t code = 0;
  std::string printed = printed_by([&] { code = call(); });
  return {std::move(printed), code & 0xFF};
}

void expect_run(const FakeMachine& machine, const std::vector<std::string>& words, std::string_view output, int status,
                Where where) {
  const testing::ScopedTrace trace(where.file, where.line, testing::PrintToString(words));
  const ToolRun run = machine.run(words);
  EXPECT_EQ(run.output, output);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, status);
}

}  // namespace qorx::test
