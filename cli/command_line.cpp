#include "cli/command_line.h"

#include <array>
#include <cstdio>
#include <string_view>

#include "base/messages.h"
#include "cli/options.h"
#include "cli/standard_output.h"
#include "cli/usage.h"
#include "lib/qorx.h"
#include "lib/version.h"

namespace qorx {

namespace {

// An operation runs with the word behind it, null where it takes none.
using Run = std::int32_t (*)(const char* word);

struct Operation {
  const char* word;
  std::size_t argument_count;  // the program's name included
  bool opens;                  // works on an opened library
  Run run;
};

std::int32_t print_versions(const char* /*word*/) {
  std::uint8_t major = 0;
  std::uint8_t minor = 0;
  if (const std::int32_t code = qorx_get_lib_version(&major, &minor); code != 0) {
    std::printf("Error: get version fail\n");
    return code;
  }
  std::printf("libqorx version: %02d.%02d\n", major, minor);
  std::printf("qorx version: %02d.%02d\n", kToolVersion.major, kToolVersion.minor);
  return 0;
}

constexpr std::array kOperations{
    Operation{"-V", 2, false, print_versions},
    Operation{"-a", 2, true, [](const char*) { return qorx_print_scan_result(nullptr, nullptr, nullptr); }},
    Operation{"-d", 3, true, [](const char* word) { return qorx_print_scan_result(word, nullptr, nullptr); }},
    Operation{"-f", 3, true, [](const char* word) { return qorx_print_scan_result(nullptr, word, nullptr); }},
    Operation{"-p", 3, true, [](const char* word) { return qorx_print_scan_result(nullptr, nullptr, word); }},
    Operation{"-o", 3, true, [](const char* word) { return qorx_fprint_scan_result(word); }},
    Operation{"-tovix.cfg", 2, true, [](const char*) { return qorx_output_tovix_cfg(); }},
    Operation{"-sysinfo", 2, true, [](const char*) { return qorx_print_system_info(); }},
    Operation{"-support", 2, true, [](const char*) { return qorx_print_supported_WMX(); }},
};

std::int32_t run_operation(const Operation& operation, const char* word) {
  if (!operation.opens) {
    return operation.run(word);
  }
  if (const std::int32_t code = qorx_open(); code != 0) {
    return code;
  }
  if (const std::int32_t code = operation.run(word); code != 0) {
    return code;
  }
  return qorx_close();
}

std::int32_t dispatch(std::string_view word, Arguments arguments) {
  for (const Operation& operation : kOperations) {
    if (word != operation.word) {
      continue;
    }
    if (arguments.size() != operation.argument_count) {
      qorx_print_usage();
      return QORX_ERR_PARAM_OUT_OF_BOUND;
    }
    return run_operation(operation, arguments.size() > 2 ? arguments[2] : nullptr);
  }
  return QORX_ERR_COMMAND_NOT_SUPPORT;
}

std::int32_t run_arguments(Arguments arguments) {
  if (arguments.size() < 2) {
    qorx_print_usage();
    return QORX_ERR_PARAM_OUT_OF_BOUND;
  }
  const std::string_view operation = arguments[1];
  arguments = strip_options(arguments);
  if (arguments.size() < 2) {
    qorx_print_usage();
    return QORX_ERR_PARAM_OUT_OF_BOUND;
  }
  std::int32_t code = QORX_ERR_PARAM_OUT_OF_BOUND;
  if (g_WMX_name_flag != 0 && g_legacy_flag == 0) {
    std::printf("NO -legacy command found!\n-sys_WMX_cfg should be used only after -legacy command.\n");
  } else {
    code = dispatch(operation, arguments);
  }
  if (code != 0) {
    qorx_print_error_message(code);
  }
  return code;
}

}  // namespace

int run_command_line(int argc, const char* const* argv) {
  protect_standard_output();
  const std::int32_t code = run_arguments(Arguments(argv, static_cast<std::size_t>(argc)));
  const std::int32_t output_code = finish_standard_output();
  return code_byte(code_byte(code) != 0 ? code : output_code);
}

}  // namespace qorx
