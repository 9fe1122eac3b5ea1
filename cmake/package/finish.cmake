# Runs on the staged files of the packages before they are packed.

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # of SOURCE_DATE_EPOCH where that is set
foreach(component Tool:qorx Library:libqorx1 Development:libqorx-dev)
  string(REPLACE ":" ";" component ${component})
  list(GET component 0 folder)
  list(GET component 1 package)
  set(stage ${CPACK_TEMPORARY_DIRECTORY}/${folder}/usr)

  file(GLOB_RECURSE pages ${stage}/share/man/*.[0-9])
  set(changelog ${stage}/share/doc/${package}/changelog)
  file(WRITE ${changelog} "qorx (${CPACK_PACKAGE_VERSION}) stable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  foreach(file ${pages} ${changelog})
    execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${stage}/share/doc/${package})
endforeach()
