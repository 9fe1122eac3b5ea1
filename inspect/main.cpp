// qorx-inspect: what qorx knows, for programs and for people: JSON, comparison, interface names, a drawing.
#include <cstdio>
#include <exception>

#include "inspect/run.h"

int main(int argc, char** argv) {
  try {
    return qorx::inspect::run(argc, argv);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "qorx-inspect: %s\n", failure.what());
    return qorx::inspect::kTrouble;
  }
}
