#include "base/print.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace qorx {
namespace {

// What is written to the stream.
std::string written_by(const std::function<void(std::FILE* stream)>& action) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* const stream = open_memstream(&text, &size);
  action(stream);
  std::fclose(stream);
  std::string result(text, size);
  std::free(text);
  return result;
}

// What a terminal is shown.
[[gnu::format(printf, 1, 2)]] std::string cleaned(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = written_by([&](std::FILE* stream) { print_cleaned(stream, format, arguments); });
  va_end(arguments);
  return text;
}

TEST(PrintCleaned, ControlCharactersOfATextBecomeQuestionMarks) {
  for (int byte = 1; byte < 256; ++byte) {
    const char text[] = {'a', static_cast<char>(byte), 'b', '\0'};
    const bool is_control = byte < 0x20 || byte == 0x7F;
    EXPECT_EQ(cleaned("%s", text), is_control ? "a?b" : text) << byte;
  }
  EXPECT_EQ(cleaned("%c%c%c", 0, '\033', 'x'), "??x");
}

TEST(PrintCleaned, ControlCharactersOfTheFormatStay) {
  EXPECT_EQ(cleaned("\ta\n%s\n", "b\n"), "\ta\nb?\n");
  EXPECT_EQ(cleaned("\n"), "\n");
  EXPECT_EQ(cleaned("%s", ""), "");
}

TEST(PrintCleaned, EverythingElseIsAsPrintfPrintsIt) {
  EXPECT_EQ(cleaned("%-6s|%6s|%.2s|%-4.1s|", "ab", "ab", "abc", "abc"), "ab    |    ab|ab|a   |");
  EXPECT_EQ(cleaned("%.*s|%.*s|", 2, "abc", 0, "abc"), "ab||");
  EXPECT_EQ(cleaned("%d %-4d|%04d|%u|%x|%.4x|%2x|", -5, 7, 12, 4000000000U, 255U, 0xABU, 5U),
            "-5 7   |0012|4000000000|ff|00ab| 5|");
  EXPECT_EQ(cleaned("%lx %lx %d", ~0UL, 1UL << 31, 9),
            sizeof(long) == 8 ? "ffffffffffffffff 80000000 9" : "ffffffff 80000000 9");
  EXPECT_EQ(cleaned("100%% %s", "x"), "100% x");
}

// Standard output is a terminal as long as it lives.
class StandardOutputOnATerminal {
 public:
  StandardOutputOnATerminal() : saved_(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_GE(terminal, 0);
    dup2(terminal, STDOUT_FILENO);
    close(terminal);
    EXPECT_EQ(isatty(STDOUT_FILENO), 1);
    look_at_standard_output();
  }
  ~StandardOutputOnATerminal() {
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    look_at_standard_output();
  }
  StandardOutputOnATerminal(const StandardOutputOnATerminal&) = delete;
  StandardOutputOnATerminal& operator=(const StandardOutputOnATerminal&) = delete;

 private:
  int saved_;
};

std::string written_to_another_stream() {
  return written_by([](std::FILE* stream) {
    print(stream, "%s|%c\n", "a\033b\n", '\t');
    print_line(stream, "\033a");
    print_line(stream, "");
  });
}

TEST(Print, OtherStreamsGetEveryByte) {
  EXPECT_EQ(written_to_another_stream(), "a\033b\n|\t\n\033a\n\n");
}

TEST(Print, OtherStreamsGetEveryByteAlsoWhereStandardOutputIsATerminal) {
  std::string written;
  {
    const StandardOutputOnATerminal terminal;
    written = written_to_another_stream();
  }
  EXPECT_EQ(written, "a\033b\n|\t\n\033a\n\n");
}

}  // namespace
}  // namespace qorx
