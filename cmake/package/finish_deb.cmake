# Runs on the staged files of the Debian packages before they are packed: compressed manuals and change log, copyright.

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # of SOURCE_DATE_EPOCH
foreach(component Tool:qorx Library:libqorx1 Development:libqorx-dev)
  string(REPLACE ":" ";" component ${component})
  list(GET component 0 folder)
  list(GET component 1 package)
  set(stage ${CPACK_TEMPORARY_DIRECTORY}/${folder}/usr)
  set(documents ${stage}/share/doc/${package})

  file(WRITE ${documents}/changelog.Debian "qorx (${CPACK_QORX_FULL_VERSION}) stable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}; /usr/share/doc/qorx/changelog.gz tells what changed.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  if(EXISTS ${documents}/CHANGELOG.md)
    file(RENAME ${documents}/CHANGELOG.md ${documents}/changelog)
  endif()
  file(GLOB_RECURSE pages ${stage}/share/man/*.[0-9])
  file(GLOB logs ${documents}/changelog*)
  foreach(file ${pages} ${logs})
    execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${documents})
endforeach()

# The programs and the library load nothing but the C library (the tests see to it): how old it may be, by the versions
# of the functions that they use. dpkg-shlibdeps would say the same, but not for another processor.
function(qorx_c_library output)
  set(needed 2.0)
  foreach(file ${ARGN})
    execute_process(COMMAND ${CPACK_QORX_READELF} --wide --version-info ${file} OUTPUT_VARIABLE versions ERROR_QUIET)
    string(REGEX MATCHALL "GLIBC_[0-9.]+" versions "${versions}")
    foreach(version ${versions})
      string(REPLACE GLIBC_ "" version ${version})
      if(version VERSION_GREATER needed)
        set(needed ${version})
      endif()
    endforeach()
  endforeach()
  set(${output} "libc6 (>= ${needed})" PARENT_SCOPE)
endfunction()

set(stage ${CPACK_TEMPORARY_DIRECTORY})
file(GLOB programs ${stage}/Tool/usr/bin/* ${stage}/Tool/usr/sbin/*)
qorx_c_library(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS ${programs})
file(GLOB_RECURSE libraries ${stage}/Library/*.so.*)
qorx_c_library(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS ${libraries})
