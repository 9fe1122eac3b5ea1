#include "tools/archive.h"

#include <fcntl.h>
#include <ftw.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

namespace qorx {

namespace {

constexpr int kOpenDirectories = 16;  // of a walk at a time

struct Free {
  void operator()(char* text) const { std::free(text); }  // NOLINT(cppcoreguidelines-no-malloc)
};

// The path without links; empty when it leads nowhere.
std::string real_path(const char* path) {
  const std::unique_ptr<char, Free> real(realpath(path, nullptr));
  return real ? real.get() : "";
}

bool complain(const char* file, const char* reason) {
  std::fprintf(stderr, "%s: %s: %s\n", program_invocation_short_name, file, reason);
  return false;
}

// Keeps the signals that end a program from outside, and the word of a child's end, for whoever asks.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigemptyset(&signals_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) {
      sigaddset(&signals_, signal);
    }
    std::signal(SIGCHLD, SIG_DFL);
    sigprocmask(SIG_BLOCK, &signals_, &before_);
  }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld() { restore(); }

  void restore() const { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  // Waits until the child has ended, handing signals on to it. Returns its status.
  [[nodiscard]] int wait_for(pid_t child) const {
    int status = -1;
    while (waitpid(child, &status, WNOHANG) == 0) {
      const int signal = sigwaitinfo(&signals_, nullptr);
      if (signal > 0 && signal != SIGCHLD) {
        kill(child, signal);
      }
    }
    return status;
  }

 private:
  sigset_t signals_;
  sigset_t before_;
};

// Runs tar with its standard output going to `output` (-1: to ours). Returns its process id, -1 on failure.
pid_t start_tar(std::vector<const char*> arguments, int output) {
  arguments.insert(arguments.begin(), "tar");
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (output >= 0) {
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, output);
  }
  // Its own complaints say less than what the caller makes of its failure.
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  // Signals that wait here still end it.
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  pid_t process = -1;
  // The strings are not written to: the parameter's type is older than const.
  const auto* const words =
      const_cast<char* const*>(arguments.data());  // NOLINT(cppcoreguidelines-pro-type-const-cast)
  const bool started = posix_spawnp(&process, "tar", &actions, &attributes, words, environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  return started ? process : -1;
}

bool succeeded(pid_t process) {
  int status = -1;
  while (process > 0 && waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return process > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// What `tar` prints for these arguments; false when it fails.
bool read_from_tar(const std::vector<const char*>& arguments, std::string& output) {
  int ends[2];
  if (pipe(ends) != 0) {
    return false;
  }
  const pid_t process = start_tar(arguments, ends[1]);
  close(ends[1]);
  char buffer[4096];
  ssize_t count = 1;
  while (count > 0 || (count < 0 && errno == EINTR)) {
    count = read(ends[0], buffer, sizeof buffer);
    output.append(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  close(ends[0]);
  return succeeded(process) && count == 0;
}

bool leads_out(std::string_view name) {
  if (name.starts_with('/')) {
    return true;
  }
  for (std::size_t start = 0; start != std::string_view::npos;) {
    const std::size_t slash = name.find('/', start);
    if (name.substr(start, slash - start) == "..") {
      return true;
    }
    start = slash == std::string_view::npos ? slash : slash + 1;
  }
  return false;
}

bool any_name_leads_out(std::string_view listing) {
  while (!listing.empty()) {
    const std::size_t end = listing.find('\n');
    if (leads_out(listing.substr(0, end))) {
      return true;
    }
    listing.remove_prefix(end == std::string_view::npos ? listing.size() : end + 1);
  }
  return false;
}

std::string g_walked_directory;  // with a slash; nftw has no parameter for it

// Non-zero for what does not belong into a recording.
int refuse_entry(const char* path, const struct stat* status, int /*kind*/, struct FTW* /*place*/) {
  if (S_ISLNK(status->st_mode)) {
    const std::string target = real_path(path);
    return target.empty() || (target + "/").starts_with(g_walked_directory) ? 0 : 1;
  }
  return S_ISDIR(status->st_mode) || S_ISREG(status->st_mode) ? 0 : 1;
}

int remove_entry(const char* path, const struct stat* /*status*/, int /*kind*/, struct FTW* /*place*/) {
  static_cast<void>(std::remove(path));
  return 0;
}

}  // namespace

bool is_archive(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && !S_ISDIR(status.st_mode);
}

UnpackedArchive::~UnpackedArchive() {
  if (!directory_.empty()) {
    static_cast<void>(nftw(directory_.c_str(), remove_entry, kOpenDirectories, FTW_DEPTH | FTW_PHYS));
  }
}

bool UnpackedArchive::make_directory() {
  const char* const parent = std::getenv("TMPDIR");
  std::string name = std::string(parent != nullptr && parent[0] != '\0' ? parent : "/tmp") + "/qorx-replay.XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    return complain(name.c_str(), "can't make a temporary directory");
  }
  directory_ = real_path(name.c_str());
  return true;
}

bool UnpackedArchive::unpack(const char* file) {
  // With its whole path: a name such as "host:file" would make tar look for another machine.
  const std::string path = real_path(file);
  std::string listing;
  if (!read_from_tar({"-tf", path.c_str()}, listing)) {
    return complain(file, "no archive that tar can read");
  }
  if (any_name_leads_out(listing)) {
    return complain(file, "the archive holds names that lead out of it");
  }
  if (!make_directory()) {
    return false;
  }
  // Times are of no use here; those of a machine whose clock is ahead make tar talk (m).
  if (!succeeded(start_tar({"-xomf", path.c_str(), "-C", directory_.c_str()}, -1))) {
    return complain(file, "tar can't unpack it");
  }
  g_walked_directory = directory_ + "/";
  if (nftw(directory_.c_str(), refuse_entry, kOpenDirectories, FTW_PHYS) != 0) {
    return complain(file, "the archive holds links that lead out of it, or special files");
  }
  return true;
}

std::optional<int> use_archive(const char* file, const std::function<int(const char* root)>& use) {
  int status = -1;
  {
    const SignalsHeld held;
    UnpackedArchive archive;
    if (!archive.unpack(file)) {
      return std::nullopt;
    }
    const pid_t child = fork();
    if (child == 0) {
      held.restore();
      const std::string root = archive.directory();
      archive.release();
      return use(root.c_str());
    }
    if (child < 0) {
      complain(file, "no process can be made for it");
      return std::nullopt;
    }
    status = held.wait_for(child);
  }
  if (WIFSIGNALED(status)) {
    raise(WTERMSIG(status));
  }
  return WEXITSTATUS(status);
}

}  // namespace qorx
