# Read by cpack for each kind of package, before it installs into the staging folder.

# The revision tells two builds of one version apart and makes a newer one an update. Without one given by
# QORX_PACKAGE_REVISION: the number of commits and the last one's name, "+changes" if files differ from it; 1 outside git.
function(qorx_git output)
  execute_process(COMMAND git -C ${CPACK_QORX_SOURCE_DIR} ${ARGN}
    OUTPUT_VARIABLE text OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    set(text "")
  endif()
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

set(revision ${CPACK_QORX_REVISION})
if(NOT revision)
  set(revision 1)
  if(EXISTS ${CPACK_QORX_SOURCE_DIR}/.git)
    qorx_git(count rev-list --count HEAD)
    qorx_git(name rev-parse --short=10 HEAD)
    qorx_git(changes status --porcelain)
    if(name)
      set(revision ${count}.${name})
    endif()
    if(changes)
      string(APPEND revision +changes)
    endif()
  endif()
endif()
set(CPACK_QORX_FULL_VERSION ${CPACK_PACKAGE_VERSION}-${revision})

# The time of everything in the packages, so that two builds give the same bytes: of the last commit, or of the
# change log.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  set(time "")
  if(EXISTS ${CPACK_QORX_SOURCE_DIR}/.git)
    qorx_git(time log -1 --format=%ct)
  endif()
  if(NOT time)
    file(TIMESTAMP ${CPACK_QORX_SOURCE_DIR}/CHANGELOG.md time %s UTC)
  endif()
  set(ENV{SOURCE_DATE_EPOCH} ${time})
endif()

if(CPACK_GENERATOR STREQUAL DEB)
  set(CPACK_DEBIAN_PACKAGE_RELEASE ${revision})
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libqorx1 (= ${CPACK_QORX_FULL_VERSION})")
  set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/finish_deb.cmake)
elseif(CPACK_GENERATOR STREQUAL RPM)
  set(CPACK_RPM_PACKAGE_RELEASE ${revision})
  # Debian's folder of libraries is unknown to systems with rpm: there the packages of the library are built.
  if(CPACK_QORX_LIBDIR MATCHES "/")
    set(CPACK_COMPONENTS_ALL Tool)
  endif()
else()
  # An archive is one tree, to be unpacked in /usr/local or looked at.
  set(CPACK_PACKAGING_INSTALL_PREFIX "")
  set(CPACK_MONOLITHIC_INSTALL ON)
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)
  set(CPACK_PACKAGE_FILE_NAME ${CPACK_PACKAGE_NAME}-${CPACK_QORX_FULL_VERSION}-${CPACK_QORX_PROCESSOR})
endif()
