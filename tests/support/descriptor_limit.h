#ifndef QORX_TESTS_SUPPORT_DESCRIPTOR_LIMIT_H
#define QORX_TESTS_SUPPORT_DESCRIPTOR_LIMIT_H

#include <sys/resource.h>

namespace qorx::test {

// As long as it lives, this process gets no descriptor from `end` on.
class DescriptorLimit {
 public:
  explicit DescriptorLimit(int end) {
    getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit limit{static_cast<rlim_t>(end), before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &limit);
  }
  ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &before_); }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;

 private:
  rlimit before_{};
};

}  // namespace qorx::test

#endif
