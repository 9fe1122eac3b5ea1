# The versions stand in lib/version.h, for the programs and for CMake.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/lib/version.h)

# Stores the version that lib/version.h calls `name`, as "1.38".
function(qorx_read_version variable name)
  file(STRINGS ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../lib/version.h line REGEX "Version ${name}{")
  if(NOT line MATCHES "{([0-9]+), ([0-9]+)}")
    message(FATAL_ERROR "lib/version.h has no ${name}")
  endif()
  set(${variable} ${CMAKE_MATCH_1}.${CMAKE_MATCH_2} PARENT_SCOPE)
endfunction()
