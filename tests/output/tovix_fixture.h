// A library that is open, and a machine whose working directory is the process's own: tovix.cfg is written there.
#ifndef QORX_TESTS_OUTPUT_TOVIX_FIXTURE_H
#define QORX_TESTS_OUTPUT_TOVIX_FIXTURE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "records/state.h"
#include "tests/support/fake_machine.h"
#include "tests/support/library.h"

namespace qorx::test {

class TovixFixture : public testing::Test {
 protected:
  void SetUp() override {
    reset_library();
    g_qorx_init = 0;
    std::filesystem::current_path(machine_.work());
  }
  void TearDown() override {
    std::filesystem::current_path(before_);
    reset_library();
  }

  // A port that carries the controller of its segment.
  static DeviceRecord& add_port(std::string_view name, int feature, int seg = 255, int type = 9) {
    DeviceRecord& record = add_device(name, "S", type);
    record.feature = static_cast<std::uint8_t>(feature);
    record.bypass_ctrl_flag = 1;
    record.seg = static_cast<std::uint8_t>(seg);
    return record;
  }

  // What is printed; the file is in file().
  static std::string printed() {
    return printed_by([] { EXPECT_EQ(qorx_output_tovix_cfg(), 0); });
  }

  [[nodiscard]] std::string file() const { return read_file(machine_.work() / "tovix.cfg"); }

  // The file of a run that prints nothing.
  [[nodiscard]] std::string written() const {
    EXPECT_EQ(printed(), "");
    return file();
  }

  FakeMachine machine_;

 private:
  const std::filesystem::path before_ = std::filesystem::current_path();
};

}  // namespace qorx::test

#endif
