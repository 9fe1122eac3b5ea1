# cmake --install: the tool, the library, and what a program needs to be built with it. The three components are the
# three packages of QorxPackage.cmake.

include(CMakePackageConfigHelpers)

if(EXISTS /etc/debian_version)
  set(zsh_functions ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
else()
  set(zsh_functions ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
endif()
set(QORX_BASH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  CACHE STRING "Where bash looks for completions")
set(QORX_ZSH_COMPLETION_DIR ${zsh_functions} CACHE STRING "Where zsh looks for completions")

# The tool, with the tools for recorded machines, manuals, completions and sample files.
install(TARGETS qorx RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT Tool)
install(TARGETS qorx-replay RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tool)
install(PROGRAMS tools/qorx-capture DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tool)
install(FILES completions/qorx.bash DESTINATION ${QORX_BASH_COMPLETION_DIR} RENAME qorx COMPONENT Tool)
install(FILES completions/_qorx DESTINATION ${QORX_ZSH_COMPLETION_DIR} COMPONENT Tool)
if(TARGET qorx-inspect)
  install(TARGETS qorx-inspect RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT Tool)
  install(FILES inspect/qorx-inspect-1.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/qorx COMPONENT Tool)
  install(PROGRAMS examples/fleet/qorx.fact examples/fleet/qorx-textfile
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/fleet COMPONENT Tool)
  install(FILES examples/fleet/README.md examples/fleet/differences.yml
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/fleet COMPONENT Tool)
  install(FILES completions/qorx-inspect.bash DESTINATION ${QORX_BASH_COMPLETION_DIR} RENAME qorx-inspect COMPONENT Tool)
  install(FILES completions/_qorx-inspect DESTINATION ${QORX_ZSH_COMPLETION_DIR} COMPONENT Tool)
endif()
file(GLOB samples CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
  examples/appliances/*/qorx.cfg examples/appliances/*/wmx_name.cfg examples/appliances/*/smbios.cfg)
foreach(sample ${samples})
  get_filename_component(folder ${sample} DIRECTORY)
  get_filename_component(appliance ${folder} NAME)
  install(FILES ${sample} DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/${appliance} COMPONENT Tool)
endforeach()
file(GLOB guides CONFIGURE_DEPENDS doc/*.md)
install(FILES ${guides} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Tool)

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
