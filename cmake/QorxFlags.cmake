# Flags of every target of this project, as interface targets.

include(CheckPIESupported)
check_pie_supported()

# Warnings are errors.
add_library(qorx_warnings INTERFACE)
target_compile_options(qorx_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

# The product: no exceptions and no run-time types, so that nothing but the C library is loaded at start.
add_library(qorx_product INTERFACE)
target_include_directories(qorx_product INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(qorx_product INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions> $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti> -fvisibility=hidden)
target_link_libraries(qorx_product INTERFACE qorx_warnings)

if(QORX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
