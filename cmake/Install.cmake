# What `cmake --install` puts where, in two components: `tool` for who catalogs libraries, `core`
# for who builds a program on the core.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Documents keep their places to each other, so that their links work. Their directory has the name
# of the Debian package.
set(doc_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/vek-build-librar-ctg)
file(GLOB man1 CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/man/*.1)
file(GLOB man5 CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/man/*.5)
file(GLOB documents CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/*.md)

install(TARGETS vek_build_librar_ctg COMPONENT tool)
install(FILES ${man1} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
if(man5)
  install(FILES ${man5} DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT tool)
endif()
install(FILES ${documents} DESTINATION ${doc_dir} COMPONENT tool)
install(DIRECTORY docs examples DESTINATION ${doc_dir} COMPONENT tool)

# The core: #include "coretools/ctpfa/pfadir.h" as inside the tree.
set(core_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/vekcore)
set(core_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vekcore)

set_target_properties(vek_core PROPERTIES OUTPUT_NAME vekcore EXPORT_NAME core)
target_include_directories(vek_core INTERFACE $<INSTALL_INTERFACE:${core_include_dir}>)
target_compile_features(vek_core PUBLIC cxx_std_20)

install(TARGETS vek_core EXPORT vekcore COMPONENT core)
install(DIRECTORY basictk coretools DESTINATION ${core_include_dir} COMPONENT core
        FILES_MATCHING PATTERN "*.h" PATTERN "*.def" PATTERN "*_internal.h" EXCLUDE
        PATTERN "*src" EXCLUDE PATTERN "srccoll" EXCLUDE)
install(EXPORT vekcore NAMESPACE vekcore:: FILE vekcoreTargets.cmake
        DESTINATION ${core_package_dir} COMPONENT core)
configure_package_config_file(cmake/vekcoreConfig.cmake.in vekcoreConfig.cmake
                              INSTALL_DESTINATION ${core_package_dir})
write_basic_package_version_file(vekcoreConfigVersion.cmake COMPATIBILITY ExactVersion)
install(FILES ${PROJECT_BINARY_DIR}/vekcoreConfig.cmake
              ${PROJECT_BINARY_DIR}/vekcoreConfigVersion.cmake
        DESTINATION ${core_package_dir} COMPONENT core)
