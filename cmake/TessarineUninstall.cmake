# Removes the files that `cmake --install` wrote, as listed in MANIFEST (its
# install_manifest.txt). Directories stay, as others may have put files there or expect them
# (an empty /usr/local/include, for instance). A file already gone is not an error; one that
# cannot be removed is.
#   cmake -DMANIFEST=<build>/install_manifest.txt -P TessarineUninstall.cmake
if(NOT EXISTS "${MANIFEST}")
    message(FATAL_ERROR "Nothing to uninstall: ${MANIFEST} does not exist (run cmake --install "
                        "first).")
endif()
file(STRINGS "${MANIFEST}" _files)
foreach(_file IN LISTS _files)
    if(IS_SYMLINK "${_file}" OR EXISTS "${_file}")
        message(STATUS "Removing ${_file}")
        file(REMOVE "${_file}")
        if(IS_SYMLINK "${_file}" OR EXISTS "${_file}")
            message(FATAL_ERROR "Cannot remove ${_file}")
        endif()
    endif()
endforeach()
