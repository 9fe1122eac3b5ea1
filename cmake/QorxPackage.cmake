# cpack --preset package: qorx (the tool), libqorx1 (the shared library), libqorx-dev (headers, static library), as .deb
# and, where rpmbuild is found, as .rpm. cpack -G TGZ: everything in one tree. What is decided when cpack runs is in
# package/generator.cmake.

set(QORX_PACKAGE_MAINTAINER "qorx maintainers <maintainers@qorx.invalid>" CACHE STRING "Maintainer field of the packages")
set(QORX_PACKAGE_REVISION "" CACHE STRING "What follows the version in the packages' names; empty: by the commit")

find_program(QORX_RPMBUILD rpmbuild DOC "Makes .rpm packages; without it there are none")
mark_as_advanced(QORX_RPMBUILD)
set(CPACK_GENERATOR DEB)
if(QORX_RPMBUILD)
  list(APPEND CPACK_GENERATOR RPM)
endif()
set(CPACK_QORX_SOURCE_DIR ${PROJECT_SOURCE_DIR})
set(CPACK_QORX_REVISION ${QORX_PACKAGE_REVISION})
set(CPACK_QORX_LIBDIR ${CMAKE_INSTALL_LIBDIR})
set(CPACK_QORX_READELF ${CMAKE_READELF})
set(CPACK_QORX_PROCESSOR ${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/package/generator.cmake)
set(CPACK_PACKAGE_NAME qorx)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${QORX_PACKAGE_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL Tool Library Development)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# A cross build's packages are of its processor, and the tools to strip them too.
if(CMAKE_CROSSCOMPILING)
  set(architectures aarch64 arm64 armv7l armhf i686 i386 x86_64 amd64)
  list(FIND architectures ${CMAKE_SYSTEM_PROCESSOR} place)
  if(NOT place EQUAL -1)
    math(EXPR place "${place} + 1")
    list(GET architectures ${place} CPACK_DEBIAN_PACKAGE_ARCHITECTURE)
  endif()
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

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
# Which package programs need that are linked with the library. dpkg's trigger renews the loader's cache.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/package/shlibs CONTENT "libqorx 1 libqorx1 (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/package/shlibs ${PROJECT_SOURCE_DIR}/cmake/package/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
"library that identifies the Ethernet ports of network appliances
For programs that need to know which Ethernet port of an appliance sits in
which slot and behind which front-panel label.

This package contains the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqorx-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"development files of the library that identifies Ethernet ports
For programs that need to know which Ethernet port of an appliance sits in
which slot and behind which front-panel label.

This package contains the header, the static library, and the files for CMake
and pkg-config.")

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_LICENSE "All rights reserved")
set(CPACK_RPM_PACKAGE_GROUP System)
set(CPACK_RPM_TOOL_PACKAGE_NAME qorx)
set(CPACK_RPM_LIBRARY_PACKAGE_NAME libqorx1)
set(CPACK_RPM_DEVELOPMENT_PACKAGE_NAME libqorx-devel)
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION /usr/sbin /usr/share/man /usr/share/man/man1 /usr/share/man/man5
  /usr/share/man/man8 /usr/share/bash-completion /usr/share/bash-completion/completions /usr/share/zsh
  /usr/share/zsh/site-functions)
# Files go in as they were built, and nothing tells of the machine and the time of the build.
set(CPACK_RPM_SPEC_MORE_DEFINE "%global __os_install_post %{nil}
%global _build_id_links none
%global use_source_date_epoch_as_buildtime 1
%global clamp_mtime_to_source_date_epoch 1
%global _buildhost localhost")

include(CPack)
