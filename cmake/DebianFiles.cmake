# Run by CPack before it packs: adds to each component what Debian asks of every package.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)

foreach(component TOOL CORE)
  string(TOLOWER ${component} directory)
  set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${directory}/usr)
  set(package ${CPACK_DEBIAN_${component}_PACKAGE_NAME})
  set(doc ${root}/share/doc/${package})

  file(WRITE ${doc}/copyright
"Files of ${package}
Copyright 2026 the owner of vek_build_librar_ctg

The owner has not chosen a licence yet. Until then no right to copy, change or
pass on these files is given.
")
  file(WRITE ${doc}/changelog
"${package} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * See CHANGELOG.md in the documents of vek-build-librar-ctg.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  file(GLOB pages ${root}/share/man/*/*.[1-9])
  execute_process(COMMAND gzip -9n ${doc}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
