// What every fuzz target needs: its bytes, a scratch directory, a clean library, and the promises that hold whatever
// the input was.
#ifndef QORX_FUZZ_SUPPORT_H
#define QORX_FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qorx::fuzz {

using Bytes = std::span<const std::uint8_t>;

// Takes values off the front of an input; zeros and nothing where it has ended. The fuzzer's buffer ends exactly
// where rest() does, so that reading past it is seen.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

  std::uint8_t byte();
  std::uint16_t u16();
  std::uint32_t u32();
  Bytes take(std::size_t count);  // fewer where the input ends
  [[nodiscard]] Bytes rest() const { return bytes_; }

 private:
  Bytes bytes_;
};

std::string_view as_text(Bytes bytes);
Bytes as_bytes(std::string_view text);

// The lines of a text file as fgets with a 1,024-byte buffer reads them, each up to its first NUL, with its line
// feed. Without the last one when the file ends inside it.
std::vector<std::string> complete_lines(std::string_view file);

// Ends the process, which is a finding, when a promise of the library is broken.
void require(bool holds, const char* promise);

// The code as the stages pass it on, and that it is 0 or one of these.
void require_code(std::int32_t code, std::initializer_list<std::int32_t> allowed);

// A directory of this process, on a memory file system where there is one; removed when the process exits. Its
// subdirectory "root" is the library's system root.
const std::string& scratch_directory();

// A file below scratch_directory(), made with the directories above it, to be rewritten for every input.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string& path);
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  // Replaces the content; what lies before `offset` is a hole of zeros.
  void write(Bytes content, long offset = 0);
  [[nodiscard]] const char* path() const { return path_.c_str(); }

 private:
  std::string path_;
  int descriptor_ = -1;
};

// Makes both checksums of an SMBIOS entry point right, so that the fuzzer gets past them.
void repair_checksums(std::vector<std::uint8_t>& entry_point);

// One run of the library: clean tables, options and flags at its start; at its end the tables must be sound and every
// descriptor closed again.
class LibraryRun {
 public:
  explicit LibraryRun(int message_level);
  ~LibraryRun();
  LibraryRun(const LibraryRun&) = delete;
  LibraryRun& operator=(const LibraryRun&) = delete;

 private:
  int free_descriptor_;
};

// Fingerprints of the counted records; a slot's without its raw bytes.
std::size_t device_fingerprint();
std::size_t slot_fingerprint();

// Runs `action`, which returns a code, on a clean library: without any message, then with all of them. Printing must
// not change what comes out. Returns the code.
template <typename Action>
std::int32_t run_at_both_levels(Action action) {
  std::int32_t codes[2] = {};
  std::size_t prints[2] = {};
  for (int i = 0; i < 2; ++i) {
    const LibraryRun run(i == 0 ? 0 : 2);
    codes[i] = action();
    prints[i] = device_fingerprint() * 31 + slot_fingerprint();
  }
  require(codes[0] == codes[1] && prints[0] == prints[1], "messages do not change results");
  return codes[0];
}

}  // namespace qorx::fuzz

#endif
