# cpack -G DEB: a Debian package a component.

set(CPACK_PACKAGE_NAME dkom)
set(CPACK_PACKAGE_CONTACT "The developers of the OCI manager <root@localhost>" CACHE STRING
    "Maintainer of the packages, as Name <address>")
set(CPACK_PACKAGE_VENDOR "The developers of the OCI manager")
# Each package has a summary of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
# Modes do not depend on the umask of who builds.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_COMPONENTS_ALL "")
# dkom_package(COMPONENT NAME SECTION DEPENDS SUMMARY DESCRIPTION): DEPENDS are components, of this version.
macro(dkom_package component name section depends summary description)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    # The first line is the summary.
    set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${description}")
    set(CPACK_COMPONENT_${upper}_DEPENDS ${depends})
    # In packages only: an installation by hand has one directory of documents.
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

dkom_package(runtime libdkom${DKOM_ABI} libs ""
    "OCI manager: one OCI library in front of two"
    "A program written for Oracle's Call Interface (OCI) reaches an Oracle or a Dravik server through these libraries
without being changed: libdkom for programs that keep to its 70 calls, libdkomx for programs as they are. The
vendors' client libraries are loaded at run time.")
dkom_package(development libdkom-dev libdevel runtime
    "OCI manager: headers and files for building programs"
    "Headers of the published OCI, a CMake package, pkg-config files and documents.")
if(NOT DKOM_ONLY_LIBRARY)
    dkom_package(tools dkom-tools database runtime
        "OCI manager: SQL shell and tools"
        "A SQL shell, a check of an installation, and tools that read traces.")
    dkom_package(embedded dkom-embedded database ""
        "OCI manager: OCI client libraries over SQLite"
        "Stand-ins for the vendors' client libraries, for developing and testing with no database server at hand. They
are in a directory of their own, which DKOM_ORA_LIB_PATH and DKOM_DRK_LIB_PATH may name.")
endif()
if(DKOM_SPLIT_DEBUG)
    dkom_package(debug libdkom${DKOM_ABI}-dbgsym debug runtime
        "OCI manager: debug symbols of the libraries"
        "Debuggers find them by themselves.")
endif()
set(CPACK_DEBIAN_DEBUG_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)

include(CPack)
