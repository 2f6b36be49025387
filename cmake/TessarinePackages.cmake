# Debian packages of an installation with the prefix /usr, made by CPack from the install
# components (tools/build-packages.sh configures, builds and packs):
#
#   lib   -> libtessarine1      libTessarine.so.1 and the file it names
#   dev   -> libtessarine-dev   headers, libTessarine.so, CMake package, tessarine.pc,
#                               valgrind suppressions; needs this very libtessarine1
#   tools -> tessarine-tools    the programs with their manual pages and completions
#
# Each carries the copyright file and the changelog that Debian's policy asks for, made from
# LICENSE and CHANGELOG.md. They are installed only when CPack installs the components one by
# one, so a `cmake --install` does not lay out directories named after the packages.

set(TESSARINE_MAINTAINER "Tessarine maintainers <maintainers@users.noreply.c-seed-30e8a8c0.example>"
    CACHE STRING "The packages' maintainer, as Name <address>")

set(_lib_package libtessarine${PROJECT_VERSION_MAJOR})
set(_dev_package libtessarine-dev)
set(_tools_package tessarine-tools)

# /usr/share/doc/<package>/copyright in the machine-readable format: the licence text of
# LICENSE below its title and copyright line, each empty line written as " .".
file(STRINGS ${PROJECT_SOURCE_DIR}/LICENSE _licence_copyright REGEX "^Copyright ")
string(REGEX REPLACE "^Copyright (\\(c\\) )?" "" TESSARINE_COPYRIGHT "${_licence_copyright}")
file(READ ${PROJECT_SOURCE_DIR}/LICENSE _licence)
string(REGEX REPLACE "^.*\n(Permission is hereby granted)" "\\1" _licence "${_licence}")
string(REGEX REPLACE "\n+$" "" _licence "${_licence}")
string(REGEX REPLACE "\n\n" "\n.\n" _licence "${_licence}")
string(REGEX REPLACE "\n" "\n " TESSARINE_LICENCE " ${_licence}")
set(_copyright ${PROJECT_BINARY_DIR}/debian/copyright)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/copyright.in ${_copyright} @ONLY)

# /usr/share/doc/<package>/changelog.gz: CHANGELOG.md in the Debian format, compressed without
# a time stamp so that the same sources give the same package.
set(_changelog ${PROJECT_BINARY_DIR}/debian/changelog)
add_custom_command(OUTPUT ${_changelog}.gz
    COMMAND ${CMAKE_COMMAND} -DINPUT=${PROJECT_SOURCE_DIR}/CHANGELOG.md -DOUTPUT=${_changelog}
            -DSOURCE=tessarine "-DMAINTAINER=${TESSARINE_MAINTAINER}"
            -P ${CMAKE_CURRENT_LIST_DIR}/DebianChangelog.cmake
    COMMAND gzip -9nf ${_changelog}
    DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${CMAKE_CURRENT_LIST_DIR}/DebianChangelog.cmake
    COMMENT "Debian changelog from CHANGELOG.md"
    VERBATIM)
add_custom_target(debian-changelog ALL DEPENDS ${_changelog}.gz)

foreach(_component IN ITEMS lib dev tools)
    install(FILES ${_copyright} ${_changelog}.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${_${_component}_package}
            COMPONENT ${_component} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tessarine)
set(CPACK_PACKAGE_VENDOR "The Tessarine developers")
set(CPACK_PACKAGE_CONTACT "${TESSARINE_MAINTAINER}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL lib dev tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# The run-time dependencies (libc6, libstdc++6, libgcc-s1) come from dpkg-shlibdeps; the
# packages of this build depend on each other at exactly this version.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The programs' libTessarine.so.1 is this build's, which belongs to no installed package yet.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEV_DEPENDS lib)
set(CPACK_COMPONENT_TOOLS_DEPENDS lib)
# Programs built on 1.x need at least the 1.x they were built on.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# dpkg runs ldconfig once after all packages of a run are in place; see debian/lintian-overrides
# on the calls that CPack adds anyway.
set(CPACK_DEBIAN_LIB_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/lintian-overrides
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${_lib_package}
        COMPONENT lib EXCLUDE_FROM_ALL)

set(CPACK_DEBIAN_LIB_PACKAGE_NAME ${_lib_package})
set(CPACK_DEBIAN_DEV_PACKAGE_NAME ${_dev_package})
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${_tools_package})
set(CPACK_DEBIAN_LIB_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
# CPack 3.25 writes no Multi-Arch field. The library and its development files lie in the
# multiarch directory and are the same on every architecture elsewhere, so both can be
# installed for several architectures at once; the field goes in on a line of its own after
# Priority.
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_LIB_PACKAGE_PRIORITY "optional\nMulti-Arch: same")
set(CPACK_DEBIAN_DEV_PACKAGE_PRIORITY "optional\nMulti-Arch: same")

set(_about "Tessarine is a C++17 library for programs that take plug-ins: a frame\n\
through which a host leases expressions from its plug-ins, wide text values and\n\
string lists, a reader of sectioned properties files and named property sets.")
set(CPACK_DEBIAN_LIB_DESCRIPTION "plug-in frame and properties files for C++ hosts\n${_about}\n\
.\nThis package holds the shared library.")
set(CPACK_DEBIAN_DEV_DESCRIPTION "plug-in frame and properties files for C++ hosts (development)\n\
${_about}\n.\nThis package holds the headers, the CMake package and the pkg-config file\n\
for building hosts and plug-ins, and the valgrind suppressions that hosts need.")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "tools for Tessarine plug-ins and properties files\n${_about}\n\
.\nThis package holds the command-line programs: tessarine-ini shows, checks and\n\
escapes properties files as the library reads them; tessarine-plugin shows,\n\
runs and checks plug-ins against their contract and starts new projects.")

include(CPack)
