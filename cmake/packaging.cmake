# What `cmake --install` puts where, the CMake package and the pkg-config
# files that let hosts find the library, and the Debian package of `make
# package`. Included from the top CMakeLists.txt on Linux.
#
# An install under PREFIX holds:
#   include/domparse.h, include/domparse_reader.h
#   lib/libdomparse.so.1 (the parser), lib/libdomparse_reader.so.1 (the image
#     reader), lib/libdomparse_guarded.so.1 (the guarded parser), each with its
#     development link libNAME.so
#   lib/cmake/domparse/    find_package(domparse CONFIG): domparse::domparse,
#                          domparse::reader, domparse::guarded
#   lib/pkgconfig/         domparse.pc, domparse-reader.pc, domparse-guarded.pc
#   lib/python3/dist-packages/domparse.py
#   bin/domparse, share/man/man1/domparse.1, share/doc/domparse/README.md
#
# Every file finds the others relative to itself (the tool through its run
# path, the CMake package and the pkg-config files through their own folder),
# so an install can be moved or unpacked anywhere.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The ABI number of the shared libraries: it changes only when a change of
# the exported functions or the record breaks hosts built before it. The file
# names carry it with the project's minor and patch numbers
# (libdomparse.so.1.0.0), and the loader looks for libdomparse.so.1. The
# unversioned libdomparse.so stays a link to it, which is also the name that
# the build folder's tools and tests open.
set(DOMPARSE_SOVERSION 1)
set(DOMPARSE_LIBRARY_VERSION
  ${DOMPARSE_SOVERSION}.${PROJECT_VERSION_MINOR}.${PROJECT_VERSION_PATCH})
set_target_properties(domparse PROPERTIES
  VERSION ${DOMPARSE_LIBRARY_VERSION} SOVERSION ${DOMPARSE_SOVERSION})

set(DOMPARSE_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/domparse)
set(DOMPARSE_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(DOMPARSE_PYTHON_DIR lib/python3/dist-packages)

# The image reader for hosts: a shared library, so that a C host links it like
# any C library, without knowing that the reader is written in C++ (a static
# C++ archive would need the C++ runtime on the host's link line). It is built
# from the same sources as the static reader that the tools and tests use,
# with the tag name table compiled in, and exports the DOMImage_ functions
# only.
if(DOMPARSE_READER_SOURCES)
  add_library(domparse_reader_shared SHARED
    ${DOMPARSE_READER_SOURCES} ${DOMPARSE_READER_NAME_SOURCES})
  target_include_directories(domparse_reader_shared
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/tools/reader>
    PRIVATE ${PROJECT_SOURCE_DIR}/src)
  target_compile_options(domparse_reader_shared PRIVATE ${DOMPARSE_WARNINGS})
  set(DOMPARSE_READER_VERSION_SCRIPT ${PROJECT_SOURCE_DIR}/tools/reader/domparse_reader.map)
  target_link_options(domparse_reader_shared PRIVATE
    -Wl,--version-script=${DOMPARSE_READER_VERSION_SCRIPT} ${DOMPARSE_SHARED_NO_UNDEFINED})
  # The reader's header declares its functions without a visibility mark, so
  # this library is compiled with default visibility and the version script
  # alone decides what is exported.
  set_target_properties(domparse_reader_shared PROPERTIES
    OUTPUT_NAME domparse_reader
    EXPORT_NAME reader
    C_VISIBILITY_PRESET default
    CXX_VISIBILITY_PRESET default
    VERSION ${DOMPARSE_LIBRARY_VERSION}
    SOVERSION ${DOMPARSE_SOVERSION}
    LINK_DEPENDS ${DOMPARSE_READER_VERSION_SCRIPT})
endif()

set(DOMPARSE_EXPORTED_LIBRARIES domparse)
if(TARGET domparse_reader_shared)
  list(APPEND DOMPARSE_EXPORTED_LIBRARIES domparse_reader_shared)
endif()
if(TARGET domparse_guarded)
  # Installed, it finds libdomparse.so.1, whose block functions it uses,
  # beside itself.
  set_target_properties(domparse_guarded PROPERTIES
    EXPORT_NAME guarded
    VERSION ${DOMPARSE_LIBRARY_VERSION}
    SOVERSION ${DOMPARSE_SOVERSION}
    INSTALL_RPATH "$ORIGIN")
  list(APPEND DOMPARSE_EXPORTED_LIBRARIES domparse_guarded)
endif()

install(TARGETS ${DOMPARSE_EXPORTED_LIBRARIES} EXPORT domparseTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/domparse.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET domparse_reader_shared)
  install(FILES ${PROJECT_SOURCE_DIR}/tools/reader/domparse_reader.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endif()

# The tool finds the installed library through a run path relative to itself.
if(TARGET domparse_cli)
  file(RELATIVE_PATH DOMPARSE_BIN_TO_LIB
    /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(domparse_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${DOMPARSE_BIN_TO_LIB}")
  install(TARGETS domparse_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/tools/cli/domparse.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${PROJECT_SOURCE_DIR}/python/domparse.py DESTINATION ${DOMPARSE_PYTHON_DIR})

# The CMake package: find_package(domparse CONFIG) imports the exported
# targets under the namespace domparse::.
install(EXPORT domparseTargets NAMESPACE domparse::
  DESTINATION ${DOMPARSE_CMAKE_PACKAGE_DIR} FILE domparseTargets.cmake)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/domparseConfig.cmake.in
  ${PROJECT_BINARY_DIR}/packaging/domparseConfig.cmake
  INSTALL_DESTINATION ${DOMPARSE_CMAKE_PACKAGE_DIR})
# A host asking for 2.x takes any 2.y.z with y.z at least as high.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/packaging/domparseConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/packaging/domparseConfig.cmake
  ${PROJECT_BINARY_DIR}/packaging/domparseConfigVersion.cmake
  DESTINATION ${DOMPARSE_CMAKE_PACKAGE_DIR})

# pkg-config files. Each finds the install's prefix from its own folder
# (${pcfiledir}), so that they stay right wherever the install is unpacked.
file(RELATIVE_PATH DOMPARSE_PKGCONFIG_TO_PREFIX /prefix/${DOMPARSE_PKGCONFIG_DIR} /prefix)
string(REGEX REPLACE "/$" "" DOMPARSE_PKGCONFIG_TO_PREFIX ${DOMPARSE_PKGCONFIG_TO_PREFIX})
foreach(pc domparse domparse-reader domparse-guarded)
  string(REPLACE "-" "_" pc_target ${pc})
  if(pc STREQUAL "domparse-reader")
    set(pc_target domparse_reader_shared)
  endif()
  if(TARGET ${pc_target})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in
      ${PROJECT_BINARY_DIR}/packaging/${pc}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/packaging/${pc}.pc DESTINATION ${DOMPARSE_PKGCONFIG_DIR})
  endif()
endforeach()

# The Debian package: `make package` (or `cpack -G DEB` in the build folder)
# writes domparse_<version>_<architecture>.deb, everything above under /usr.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME domparse)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "HTML-style parser that returns the document tree as one binary image")
set(CPACK_PACKAGE_DESCRIPTION
  "domparse parses markup with an HTML-style tokenizer and tree constructor and hands
the finished tree back as one self-contained binary image. The package holds
the shared library with its C header, the image reader, the guarded library,
the CMake package and pkg-config files, the Python module and the domparse
command-line tool.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(DOMPARSE_PACKAGE_MAINTAINER "domparse developers <domparse@localhost>" CACHE STRING
  "Maintainer field of the Debian package")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${DOMPARSE_PACKAGE_MAINTAINER})
# The dependencies are named here rather than found by dpkg-shlibdeps, which
# would need the dpkg-dev package: the C library at least as new as the one
# built against, and the C++ runtime of the compiler's major version. Python
# is needed only for the module.
execute_process(COMMAND getconf GNU_LIBC_VERSION
  OUTPUT_VARIABLE DOMPARSE_GLIBC_VERSION OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
string(REGEX MATCH "[0-9]+\\.[0-9]+" DOMPARSE_GLIBC_VERSION "${DOMPARSE_GLIBC_VERSION}")
string(REGEX MATCH "^[0-9]+" DOMPARSE_CXX_MAJOR "${CMAKE_CXX_COMPILER_VERSION}")
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6")
if(DOMPARSE_GLIBC_VERSION)
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= ${DOMPARSE_GLIBC_VERSION})")
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS
    ", libstdc++6 (>= ${DOMPARSE_CXX_MAJOR}), libgcc-s1")
else()
  string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", libstdc++6, libgcc-s1")
endif()
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "python3")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
# Installing and packaging never build: `make package` builds first, and the
# package test must not relink what other tests are running.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
include(CPack)
