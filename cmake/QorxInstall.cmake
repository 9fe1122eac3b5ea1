# cmake --install: the tool, the library, and what a program needs to be built with it. The three components are the
# three packages of QorxPackage.cmake.

include(CMakePackageConfigHelpers)

set(QORX_BASH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  CACHE STRING "Where bash looks for completions")

# zsh looks in site-functions; only for what lies in /usr itself Debian's looks in vendor-completions instead. The prefix
# is known when files are installed, and cpack installs them into a folder that ends in the prefix.
set(QORX_ZSH_FUNCTIONS_DIR "" CACHE STRING "Where zsh looks for completions; empty: by the prefix")
if(QORX_ZSH_FUNCTIONS_DIR)
  set(zsh_functions ${QORX_ZSH_FUNCTIONS_DIR})
else()
  set(zsh_functions "\${qorx_zsh_functions}")
  install(CODE "
    set(qorx_zsh_functions ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    if(EXISTS /etc/debian_version AND CMAKE_INSTALL_PREFIX MATCHES [[^(.*/_CPack_Packages/.*/DEB/.*)?/usr/?$]]
       AND NOT \"\$ENV{DESTDIR}\" MATCHES /_CPack_Packages/.*/RPM/)
      set(qorx_zsh_functions ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
    endif()" COMPONENT Tool)
endif()

# The tool, with the tools for recorded machines, manuals, completions and sample machines.
install(TARGETS qorx RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT Tool)
install(TARGETS qorx-replay RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tool)
install(PROGRAMS tools/qorx-capture DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tool)
if(TARGET qorx-inspect)
  install(TARGETS qorx-inspect RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT Tool)
  install(FILES inspect/qorx-inspect-1.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/qorx COMPONENT Tool)
  install(PROGRAMS examples/fleet/qorx.fact examples/fleet/qorx-textfile
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/fleet COMPONENT Tool)
  install(FILES examples/fleet/README.md examples/fleet/differences.yml
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/fleet COMPONENT Tool)
  install(FILES completions/qorx-inspect.bash DESTINATION ${QORX_BASH_COMPLETION_DIR} RENAME qorx-inspect COMPONENT Tool)
  install(FILES completions/_qorx-inspect DESTINATION ${zsh_functions} COMPONENT Tool)
endif()
# bash looks for a file of the command's name.
foreach(program qorx qorx-capture qorx-replay)
  install(FILES completions/qorx.bash DESTINATION ${QORX_BASH_COMPLETION_DIR} RENAME ${program} COMPONENT Tool)
endforeach()
install(FILES completions/_qorx DESTINATION ${zsh_functions} COMPONENT Tool)

# The sample machines as archives for qorx-replay, and their configuration files.
foreach(machine edge legacy)
  set(sample ${PROJECT_SOURCE_DIR}/examples/appliances/${machine})
  set(archive ${PROJECT_BINARY_DIR}/examples/${machine}/machine.tar.gz)
  file(GLOB_RECURSE recorded CONFIGURE_DEPENDS ${sample}/root/*)
  add_custom_command(OUTPUT ${archive} DEPENDS ${recorded}
    COMMAND tar --sort=name --mtime=@0 --owner=0 --group=0 --numeric-owner --mode=u=rwX,go=rX -C ${sample}/root
      -cf machine.tar .
    COMMAND gzip -9nf machine.tar
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/examples/${machine} VERBATIM)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/examples/${machine})
  list(APPEND archives ${archive})
  install(FILES ${archive} ${sample}/qorx.cfg ${sample}/smbios.cfg ${sample}/wmx_name.cfg
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/${machine} COMPONENT Tool)
endforeach()
add_custom_target(qorx_sample_machines ALL DEPENDS ${archives})

# The guides for users. Their links to what is not installed beside them become plain text.
foreach(guide doc/reliability.md doc/send-us-your-machine.md doc/troubleshooting.md CHANGELOG.md)
  get_filename_component(name ${guide} NAME)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${guide})
  file(READ ${guide} text)
  string(REGEX REPLACE "\\[([^]]*)\\]\\([^)]*/[^)]*\\)" "\\1" text "${text}")
  string(REGEX REPLACE "\\[([^]]*)\\]\\(architecture\\.md\\)" "\\1" text "${text}")
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/guides/${name} CONTENT "${text}" @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/guides/${name} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Tool)
endforeach()

# Manual pages: section 3 is for programmers.
file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/doc/man/*.[0-9])
if(NOT TARGET qorx-inspect)
  list(FILTER pages EXCLUDE REGEX "/qorx-inspect[^/]*$")
endif()
foreach(page ${pages})
  string(REGEX MATCH "[0-9]$" section ${page})
  set(component Tool)
  if(section EQUAL 3)
    set(component Development)
  endif()
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endforeach()

# The library: what runs in Library, what is needed to build in Development.
set_target_properties(qorx_shared PROPERTIES EXPORT_NAME qorx)
install(TARGETS qorx_shared qorx_static EXPORT qorxTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Library NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
install(FILES lib/qorx.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development)

# A library in a folder that the loader knows is found once its cache is new. Only where this is the system itself: the
# packages' own scripts do it for them.
install(CODE [[
  if(UNIX AND "$ENV{DESTDIR}" STREQUAL "" AND CMAKE_INSTALL_PREFIX MATCHES "^/usr(/local)?/?$")
    find_program(qorx_ldconfig ldconfig PATHS /sbin /usr/sbin)
    if(qorx_ldconfig)
      execute_process(COMMAND ${qorx_ldconfig} RESULT_VARIABLE qorx_status ERROR_QUIET)
      if(NOT qorx_status EQUAL 0)
        message(STATUS "ldconfig failed: run it as root before programs that use the library")
      endif()
    endif()
  endif()]] COMPONENT Library)

# find_package(qorx)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qorx)
install(EXPORT qorxTargets NAMESPACE qorx:: DESTINATION ${package_dir} COMPONENT Development)
configure_package_config_file(lib/qorxConfig.cmake.in ${PROJECT_BINARY_DIR}/qorxConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qorxConfigVersion.cmake
  VERSION ${QORX_LIBRARY_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qorxConfig.cmake ${PROJECT_BINARY_DIR}/qorxConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT Development)

# pkg-config qorx. Its folders are found from the place of the file, wherever the prefix ends up.
file(RELATIVE_PATH QORX_PREFIX_FROM_PC /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
string(REGEX REPLACE "/$" "" QORX_PREFIX_FROM_PC ${QORX_PREFIX_FROM_PC})
configure_file(lib/qorx.pc.in ${PROJECT_BINARY_DIR}/qorx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qorx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
