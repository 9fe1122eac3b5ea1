#include "ident/strings.h"

#include <cstring>
#include <string_view>

#include "base/messages.h"

namespace qorx {

namespace {

bool is_empty(const char* s) {
  return s == nullptr || *s == '\0';
}

}  // namespace

void str_eliminate_header_space(char* s) {
  if (is_empty(s)) {
    return;
  }
  debug("check head char of !%s!\n", s);
  const std::size_t count = std::strspn(s, " \t");
  if (count == 0) {
    return;
  }
  debug("remove head %d char ", static_cast<int>(count));
  std::memmove(s, s + count, std::strlen(s + count) + 1);
  debug("!%s!\n", s);
}

void str_eliminate_end_space(char* s) {
  if (is_empty(s)) {
    return;
  }
  debug("check tail char of !%s!\n", s);
  const std::string_view text = s;
  const std::size_t last = text.find_last_not_of(" \n\r\t");
  const std::size_t kept = last == std::string_view::npos ? 0 : last + 1;
  if (kept == text.size()) {
    return;
  }
  std::memset(s + kept, 0, text.size() - kept);
  debug("remove tail %d char !%s!\n", static_cast<int>(text.size() - kept), s);
}

void str_upper_case(char* s) {
  if (is_empty(s)) {
    return;
  }
  for (; *s != '\0'; ++s) {
    if (*s >= 'a' && *s <= 'z') {
      *s = static_cast<char>(*s - ('a' - 'A'));
    }
  }
}

}  // namespace qorx
