# The Debian packages that scripts/package.sh makes: the tool, and the core for programs on it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Maintainers of vek_build_librar_ctg <maintainers@vek.example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL tool core)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DebianFiles.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME vek-build-librar-ctg)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "catalog builder for part libraries
 Walks a directory tree of model files and writes type, name and directory of
 each, sorted, as a fixed-width text file into the root of the tree.")

set(CPACK_DEBIAN_CORE_PACKAGE_NAME libvekcore-dev)
set(CPACK_DEBIAN_CORE_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_CORE_PACKAGE_DEPENDS libc6-dev)
set(CPACK_DEBIAN_CORE_DESCRIPTION "file access layer and containers of vek_build_librar_ctg
 Path records and locations, directories and their cache, memory managers,
 arrays and formatted output, as a static library with its headers and a CMake
 package.")

include(CPack)
