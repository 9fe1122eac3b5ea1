# Flags of every target of this project: project-wide ones, and interface targets.

# Position-independent programs.
include(CheckPIESupported)
check_pie_supported()

# A newer compiler knows new warnings: only the project's own runs (.ci/run) take them for errors.
add_library(qorx_warnings INTERFACE)
target_compile_options(qorx_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${QORX_WARNINGS_ARE_ERRORS}>:-Werror>)

# What is installed carries the few run-time pieces of C++ that it uses, and needs no libstdc++ on the appliance.
add_library(qorx_self_contained INTERFACE)
target_link_options(qorx_self_contained INTERFACE LINKER:--as-needed -static-libgcc -static-libstdc++)

# Makes a program fully static, and still position-independent. Instead of qorx_self_contained, whose options bring
# shared libraries back.
function(qorx_link_statically target)
  set_property(TARGET ${target} PROPERTY POSITION_INDEPENDENT_CODE)  # unset: its -pie means a shared C library
  target_compile_options(${target} PRIVATE -fPIE)
  target_link_options(${target} PRIVATE -static-pie)
endfunction()

# Hardening. What the linker does costs nothing and applies to every build; the rest to optimised builds of what is
# installed.
add_link_options(LINKER:-z,relro,-z,now,-z,noexecstack)
string(REPLACE "-O3" "-O2" CMAKE_C_FLAGS_RELEASE "${CMAKE_C_FLAGS_RELEASE}")
string(REPLACE "-O3" "-O2" CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")
set(hardening -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86)$")
  list(APPEND hardening -fcf-protection)
endif()

# The product: no exceptions, no run-time types and no guards of local statics (it has one thread), so that the static
# library, too, needs nothing but the C library.
add_library(qorx_product INTERFACE)
target_include_directories(qorx_product INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(qorx_product INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions> $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>
  $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics> -fvisibility=hidden
  "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${hardening}>")
target_link_libraries(qorx_product INTERFACE qorx_warnings)

# qorx-inspect, which has all of C++.
add_library(qorx_complete_cpp INTERFACE)
target_compile_options(qorx_complete_cpp INTERFACE "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${hardening}>")
target_link_libraries(qorx_complete_cpp INTERFACE qorx_warnings)

if(QORX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(QORX_COVERAGE)
  add_compile_options(--coverage -O0 -fprofile-update=atomic)  # tests run several programs at once
  # A process that ends by _exit writes its counters too.
  add_library(qorx_counted_exit OBJECT ${CMAKE_CURRENT_LIST_DIR}/counted_exit.c)
  link_libraries($<TARGET_OBJECTS:qorx_counted_exit>)
  add_link_options(--coverage LINKER:--wrap=_exit)
  # What the compiler adds for exceptions would count as lines and branches of the source.
  target_compile_options(qorx_complete_cpp INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions>)
endif()
