// Calls that a signal can interrupt are made again.
#ifndef QORX_BASE_INTERRUPTED_H
#define QORX_BASE_INTERRUPTED_H

#include <cerrno>

namespace qorx {

// Calls `call` until it returns something else than `failure`, or fails for another reason than a signal.
template <typename Result, typename Call>
Result retry_interrupted(Result failure, Call call) {
  for (;;) {
    errno = 0;
    Result result = call();
    if (result != failure || errno != EINTR) {
      return result;
    }
  }
}

}  // namespace qorx

#endif
