#include "records/virtual_names.h"

#include "base/bounded_text.h"

namespace qorx {

VirtualNames g_virtual_names;

void VirtualNames::forget() {
  are_known_ = false;
  is_full_ = false;
  used_ = 0;
}

void VirtualNames::note(std::string_view name) {
  is_full_ = is_full_ || name.size() >= kRoom - used_;
  if (!is_full_) {
    copy_text(texts_ + used_, kRoom - used_, name);
    used_ += name.size() + 1;
  }
}

const char* VirtualNames::next(const char* name) const {
  const char* const following = name == nullptr ? texts_ : name + std::string_view(name).size() + 1;
  return following < texts_ + used_ ? following : nullptr;
}

}  // namespace qorx
