# cpack -G DEB: qorx (the tool), libqorx1 (the shared library), libqorx-dev (headers, static library). For packages
# in the distribution's own layout configure with the preset "package" (prefix /usr).

set(QORX_PACKAGE_MAINTAINER "qorx maintainers <maintainers@qorx.invalid>" CACHE STRING "Maintainer field of the packages")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qorx)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${QORX_PACKAGE_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL Tool Library Development)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME qorx)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION admin)
set(CPACK_COMPONENT_TOOL_DESCRIPTION
"identify the Ethernet ports of network appliances
Finds every Ethernet port of a network appliance, works out in which slot and
behind which front-panel label it physically sits, and prints what it found as
a table. It reads sysfs, PCI configuration space and the firmware's slot
records; optional files correct what the firmware says.

With it come qorx-capture, which records what the tool reads on a machine, and
qorx-replay, which runs the tool on such a recording.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libqorx1)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/package/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
"library that identifies the Ethernet ports of network appliances
For programs that need to know which Ethernet port of an appliance sits in
which slot and behind which front-panel label.

This package contains the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqorx-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libqorx1 (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"development files of the library that identifies Ethernet ports
For programs that need to know which Ethernet port of an appliance sits in
which slot and behind which front-panel label.

This package contains the header, the static library, and the files for CMake
and pkg-config.")

# The libraries that the programs need, by the distribution's own tool where it is installed.
find_program(QORX_SHLIBDEPS dpkg-shlibdeps)
mark_as_advanced(QORX_SHLIBDEPS)
foreach(component TOOL LIBRARY)
  if(QORX_SHLIBDEPS)
    set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS ON)
  else()
    set(CPACK_DEBIAN_${component}_PACKAGE_DEPENDS libc6)
  endif()
endforeach()

# Debian's own rules for the contents: compressed manuals, change log, copyright.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/package/finish.cmake)

include(CPack)
