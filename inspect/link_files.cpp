#include "inspect/link_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "inspect/link_names.h"
#include "inspect/run.h"
#include "inspect/text.h"

namespace qorx::inspect {

namespace {

namespace fs = std::filesystem;

// The first line of every file that this program may replace or remove.
constexpr std::string_view kMarker = "# Written by qorx-inspect link, which replaces and removes it. Change a copy.";
constexpr std::string_view kPrefix =
    "70-qorx-";  // before the distribution's 73-usb-net-by-mac.link and 99-default.link
constexpr std::string_view kSuffix = ".link";

// Only the first .link file that matches an interface is used, so this one repeats what systemd's own last one,
// 99-default.link, says; without the policy "mac" of newer versions, since a replaced card would lose such a name.
constexpr std::string_view kPolicies =
    "AlternativeNamesPolicy=database onboard slot path\n"
    "MACAddressPolicy=persistent\n";
constexpr std::string_view kNamePolicy = "NamePolicy=keep kernel database onboard slot path\n";

std::string content_for(const NamedPort& named, NameKind kind) {
  const bool is_primary = kind == NameKind::kPrimary;
  std::string text(kMarker);
  text += "\n# " + printable(*named.port->slot) + ", " + printable(named.port->panel.value_or("its only port")) + "\n";
  text += "\n[Match]\nPath=" + named.path + "\n\n[Link]\n";
  text += is_primary ? "" : kNamePolicy;
  text += (is_primary ? "Name=" : "AlternativeName=") + named.name + "\n";
  text += kPolicies;
  return text;
}

std::string file_name_for(const NamedPort& named) {
  return std::string(kPrefix) + named.name + std::string(kSuffix);
}

bool is_ours(const fs::path& file) {
  std::error_code ignored;
  if (!fs::is_regular_file(fs::symlink_status(file, ignored))) {
    return false;
  }
  std::ifstream stream(file);
  std::string line;
  return std::getline(stream, line) && line == kMarker;
}

// The whole file appears at once, or not at all.
bool replace_file(const fs::path& file, const std::string& content) {
  std::string temporary = file.string() + ".XXXXXX";
  const int descriptor = mkstemp(temporary.data());
  if (descriptor < 0) {
    return false;
  }
  std::FILE* const stream = fdopen(descriptor, "w");
  if (stream == nullptr) {
    close(descriptor);
    static_cast<void>(unlink(temporary.c_str()));
    return false;
  }
  constexpr mode_t kReadableByAll = 0644;
  const bool is_written = std::fwrite(content.data(), 1, content.size(), stream) == content.size() &&
                          fchmod(descriptor, kReadableByAll) == 0 && std::fflush(stream) == 0 && fsync(descriptor) == 0;
  const bool is_closed = std::fclose(stream) == 0;
  if (!is_written || !is_closed || std::rename(temporary.c_str(), file.c_str()) != 0) {
    static_cast<void>(unlink(temporary.c_str()));
    return false;
  }
  return true;
}

// One run over a directory.
class LinkWriter {
 public:
  LinkWriter(const Request& request, const Machine& machine)
      : kind_(request.primary ? NameKind::kPrimary : NameKind::kAlternative),
        is_dry_(request.dry_run),
        directory_(request.output.value_or("")),
        ports_(name_ports(machine, kind_)) {}

  int run() {
    if (!is_dry_ && !has_directory()) {
      return kTrouble;
    }
    for (const NamedPort& named : ports_) {
      if (named.reason.empty()) {
        take(named);
      } else {
        complain(printable(named.port->name) + " is left out: " + printable(named.reason));
      }
    }
    if (!directory_.empty()) {
      remove_stale();
    }
    return status_;
  }

 private:
  static void complain(const std::string& text) { std::fprintf(stderr, "qorx-inspect: %s\n", text.c_str()); }

  void fail(const fs::path& file, const std::string& what) {
    complain(printable(file.string()) + " " + what);
    status_ = kTrouble;
  }

  bool has_directory() {
    std::error_code error;
    const fs::file_status status = fs::status(directory_, error);
    if (!fs::is_directory(status)) {
      const std::string reason = fs::status_known(status) ? " is no directory" : ": " + error.message();
      complain(printable(directory_.string()) + reason);
      return false;
    }
    return true;
  }

  void take(const NamedPort& named) {
    const fs::path file = directory_ / file_name_for(named);
    const std::string content = content_for(named, kind_);
    std::error_code none;
    kept_.push_back(file);
    if (fs::exists(fs::symlink_status(file, none)) && !is_ours(file)) {
      fail(file, "is not a file of this program: it stays as it is");
    } else if (is_dry_) {
      std::printf("%s%s:\n%s", is_first_ ? "" : "\n", file.c_str(), content.c_str());
      is_first_ = false;
    } else if (!replace_file(file, content)) {
      fail(file, "can't be written");
    } else {
      std::printf("%s: %s is %s\n", file.c_str(), printable(named.port->name).c_str(), named.name.c_str());
    }
  }

  // The files of earlier runs that would give names to ports which are now called otherwise.
  void remove_stale() {
    std::vector<fs::path> stale;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(directory_, ignored)) {
      const std::string name = entry.path().filename().string();
      const bool is_kept = std::find(kept_.begin(), kept_.end(), entry.path()) != kept_.end();
      if (name.starts_with(kPrefix) && name.ends_with(kSuffix) && !is_kept && is_ours(entry.path())) {
        stale.push_back(entry.path());
      }
    }
    std::sort(stale.begin(), stale.end());
    for (const fs::path& file : stale) {
      if (!is_dry_ && !fs::remove(file, ignored)) {
        fail(file, "can't be removed");
      } else {
        std::printf("%s: %s\n", file.c_str(), is_dry_ ? "would be removed" : "removed");
      }
    }
  }

  NameKind kind_;
  bool is_dry_;
  bool is_first_ = true;
  fs::path directory_;
  std::vector<NamedPort> ports_;
  std::vector<fs::path> kept_;
  int status_ = 0;
};

}  // namespace

int write_link_files(const Request& request, const Machine& machine) {
  return LinkWriter(request, machine).run();
}

}  // namespace qorx::inspect
