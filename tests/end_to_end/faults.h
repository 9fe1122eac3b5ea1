// Faults that are planted in a machine, and whole command lines that run on it in this process.
#ifndef QORX_TESTS_END_TO_END_FAULTS_H
#define QORX_TESTS_END_TO_END_FAULTS_H

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/command_line.h"
#include "tests/end_to_end/fault_machine.h"
#include "tests/end_to_end/system_tools.h"
#include "tests/support/fixture.h"
#include "tests/support/transcript.h"
#include "tests/support/unprivileged.h"

namespace qorx::test {

inline std::vector<Words> every_operation() {
  std::vector<Words> operations;
  for (const char* const operation :
       {"-a", "-d eth5", "-f A_BYPASS", "-p 03:00.1", "-o result", "-tovix.cfg", "-sysinfo", "-support", "-V",
        "-a -ML 2", "-tovix.cfg -F -sort_slotname -legacy -sys_WMX_cfg wmx_name.cfg"}) {
    operations.push_back(words_of(operation));
  }
  return operations;
}

// What lies where a file or a directory should be.
enum class Fault { kMissing, kLoop, kNowhere, kUnreadable, kDirectory, kEmpty, kEndless, kReadError, kPipe };

inline const char* name_of(Fault fault) {
  constexpr const char* kNames[] = {"Missing", "Loop",    "LinkToNowhere", "Unreadable", "EmptyDirectory",
                                    "Empty",   "Endless", "ReadError",     "Pipe"};
  return kNames[static_cast<int>(fault)];
}

inline void PrintTo(Fault fault, std::ostream* stream) {
  *stream << name_of(fault);
}

// Nothing can be opened there as a file; as a directory nothing but kDirectory can.
inline bool cant_be_opened(Fault fault) {
  return fault == Fault::kMissing || fault == Fault::kLoop || fault == Fault::kNowhere || fault == Fault::kUnreadable;
}

// Nor can anything be read from it as a file.
inline bool cant_be_read(Fault fault) {
  return cant_be_opened(fault) || fault == Fault::kDirectory || fault == Fault::kReadError;
}

// Lays a fault at `path` for a while; what was there comes back.
class Planted {
 public:
  Planted(const FakeMachine& machine, std::filesystem::path path, Fault fault)
      : path_(std::move(path)), aside_(machine.root() / "aside") {
    namespace fs = std::filesystem;
    was_there_ = fs::exists(fs::symlink_status(path_));
    if (fault == Fault::kUnreadable) {
      permissions_ = fs::status(path_).permissions();
      fs::permissions(path_, fs::perms::none);
      return;
    }
    if (was_there_) {
      fs::rename(path_, aside_);
    }
    lay(fault);
  }
  ~Planted() {
    std::error_code ignored;
    if (permissions_) {
      std::filesystem::permissions(path_, *permissions_, ignored);
      return;
    }
    std::filesystem::remove_all(path_, ignored);
    if (was_there_) {
      std::filesystem::rename(aside_, path_, ignored);
    }
  }
  Planted(const Planted&) = delete;
  Planted& operator=(const Planted&) = delete;

 private:
  void lay(Fault fault) const {
    if (const std::filesystem::path target = link_target(fault); !target.empty()) {
      std::filesystem::create_symlink(target, path_);
    } else if (fault == Fault::kDirectory) {
      std::filesystem::create_directory(path_);
    } else if (fault == Fault::kEmpty || fault == Fault::kPipe) {
      ASSERT_EQ(mknod(path_.c_str(), (fault == Fault::kPipe ? S_IFIFO : S_IFREG) | 0600, 0), 0) << path_;
    }
  }
  [[nodiscard]] std::filesystem::path link_target(Fault fault) const {
    switch (fault) {
      case Fault::kLoop:
        return path_.filename();
      case Fault::kNowhere:
        return "no/such/file";
      case Fault::kEndless:
        return "/dev/zero";
      case Fault::kReadError:
        return "/proc/self/mem";  // which has nothing at address 0
      default:
        return {};
    }
  }

  std::filesystem::path path_;
  std::filesystem::path aside_;
  bool was_there_ = false;
  std::optional<std::filesystem::perms> permissions_;
};

inline std::size_t open_descriptors() {
  const std::filesystem::directory_iterator directory("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(directory), end(directory)));
}

// Ends a run that hangs or spins, and with it the test that started it.
inline void limit_time(unsigned seconds) {
  const rlimit processor{seconds, seconds + 1};
  setrlimit(RLIMIT_CPU, &processor);
  alarm(2 * seconds);
}

// Takes root's rights from this process for a while: what may not be read is then not read.
class OrdinaryUser {
 public:
  explicit OrdinaryUser(const FakeMachine& machine) : was_root_(geteuid() == 0) {
    namespace fs = std::filesystem;
    if (was_root_) {
      constexpr auto kRead =
          fs::perms::group_read | fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec;
      fs::permissions(machine.root(), kRead, fs::perm_options::add);
      fs::permissions(machine.work(), kRead | fs::perms::group_write | fs::perms::others_write, fs::perm_options::add);
      works_ = seteuid(kNobody) == 0;
    }
  }
  ~OrdinaryUser() {
    if (was_root_ && works_) {
      works_ = seteuid(0) == 0;
      prctl(PR_SET_DUMPABLE, 1);  // lost with the rights; the leak check at the end needs it
    }
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
  const EveryonesTemporaryDirectory temporary_;
  bool was_root_;
  bool works_ = true;
};

// Runs the whole command line in this process, as it would run in a new one, in the machine's working directory. No run
// may leave a descriptor open.
class RunsHere : public LibraryTest {
 protected:
  RunsHere() { alarm(kSeconds); }
  ~RunsHere() override {
    alarm(0);
    std::filesystem::current_path(directory_);
  }

  ToolRun run(const FakeMachine& machine, const Words& words) const {
    std::filesystem::current_path(machine.work());
    machine.use();
    reset_library();
    std::vector<const char*> arguments{"qorx"};
    for (const std::string& word : words) {
      arguments.push_back(word.c_str());
    }
    ToolRun result;
    const std::size_t before = open_descriptors();
    {
      const auto user = as_ordinary_user_ ? std::make_unique<OrdinaryUser>(machine) : nullptr;
      result.output =
          printed_by([&] { result.status = run_command_line(static_cast<int>(arguments.size()), arguments.data()); });
    }
    EXPECT_EQ(open_descriptors(), before) << "a descriptor was left open by " << testing::PrintToString(words);
    return result;
  }

  bool as_ordinary_user_ = false;

 private:
  static constexpr unsigned kSeconds = 60;
  const std::filesystem::path directory_ = std::filesystem::current_path();
};

// The same rule for each fault.
class FaultTest : public RunsHere, public testing::WithParamInterface<Fault> {
 protected:
  FaultTest() { as_ordinary_user_ = GetParam() == Fault::kUnreadable; }  // root reads everything
};

#define QORX_FAULTS(suite, ...)                                                                              \
  INSTANTIATE_TEST_SUITE_P(                                                                                  \
      Machine, suite,                                                                                        \
      testing::Values(Fault::kMissing, Fault::kLoop, Fault::kNowhere, Fault::kUnreadable, Fault::kDirectory, \
                      Fault::kEmpty, Fault::kEndless, Fault::kReadError __VA_OPT__(, ) __VA_ARGS__),         \
      [](const auto& fault) { return name_of(fault.param); })

}  // namespace qorx::test

#endif
