# Where an installation has its parts, below the prefix.

include(GNUInstallDirs)
set(DKOM_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/dkom)
set(DKOM_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/dkom)
set(DKOM_INSTALL_PKGCONFIGDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# Out of the loader's way: the embedded backends have the names of the vendors' libraries.
set(DKOM_INSTALL_EMBEDDEDDIR ${CMAKE_INSTALL_LIBDIR}/dkom/embedded)

# The tools find the libraries from where they are themselves, so that a prefix can be moved. In /usr the loader
# finds them, and the tools name no directory.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    file(RELATIVE_PATH lib_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set(CMAKE_INSTALL_RPATH "\$ORIGIN/${lib_from_bin}")
endif()
