# The least versions that README names: older ones end the configuration with one line instead of a page of errors. That
# of CMake stands in scripts/install-packages too, for the presets, which an older CMake does not read.

if((CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12)
   OR (CMAKE_CXX_COMPILER_ID STREQUAL Clang AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 14))
  message(FATAL_ERROR
    "The compiler is too old: ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}; qorx needs g++ 12 or clang 14")
endif()

include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_QUIET ON)
check_cxx_source_compiles("
  #include <features.h>
  #if defined(__GLIBC__) && !__GLIBC_PREREQ(2, 36)
  #error too old
  #endif
  int main() {}" QORX_C_LIBRARY_IS_NEW_ENOUGH)
if(NOT QORX_C_LIBRARY_IS_NEW_ENOUGH)
  message(FATAL_ERROR "The C library is too old: qorx is built with the GNU C library 2.36 or newer")
endif()
