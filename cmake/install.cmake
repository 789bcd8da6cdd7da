# cmake --install: docs/install.md lists what goes where. The components are also the Debian packages.

include(CMakePackageConfigHelpers)

# --- the libraries, and what builds against them

install(TARGETS dkom dkomx oci_headers EXPORT dkom
    LIBRARY
        DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
        NAMELINK_COMPONENT development)
install(EXPORT dkom
    NAMESPACE dkom:: FILE dkomTargets.cmake
    DESTINATION ${DKOM_INSTALL_CMAKEDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/
    DESTINATION ${DKOM_INSTALL_INCLUDEDIR} COMPONENT development
    FILES_MATCHING PATTERN *.h)
install(FILES ${PROJECT_BINARY_DIR}/include/dkom_version.h
    DESTINATION ${DKOM_INSTALL_INCLUDEDIR} COMPONENT development)

set(config_directory ${PROJECT_BINARY_DIR}/package)
configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/package/dkomConfig.cmake.in ${config_directory}/dkomConfig.cmake
    INSTALL_DESTINATION ${DKOM_INSTALL_CMAKEDIR}
    PATH_VARS DKOM_INSTALL_EMBEDDEDDIR)
write_basic_package_version_file(${config_directory}/dkomConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${config_directory}/dkomConfig.cmake ${config_directory}/dkomConfigVersion.cmake
    DESTINATION ${DKOM_INSTALL_CMAKEDIR} COMPONENT development)

# pkg-config: the prefix is found from the file itself, so that it can be moved. An absolute directory stays.
file(RELATIVE_PATH prefix_from_pkgconfig
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
cmake_path(APPEND pkgconfig_includedir "\${prefix}" "${DKOM_INSTALL_INCLUDEDIR}")
cmake_path(APPEND pkgconfig_libdir "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
cmake_path(APPEND pkgconfig_embeddeddir "\${prefix}" "${DKOM_INSTALL_EMBEDDEDDIR}")
foreach(library dkom dkomx)
    set(edition $<IF:$<STREQUAL:${library},dkom>,exact,extended>)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/package/dkom.pc.in ${config_directory}/${library}.pc.in @ONLY)
    file(GENERATE OUTPUT ${config_directory}/${library}.pc INPUT ${config_directory}/${library}.pc.in)
    install(FILES ${config_directory}/${library}.pc
        DESTINATION ${DKOM_INSTALL_PKGCONFIGDIR} COMPONENT development)
endforeach()

install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
    PATTERN man EXCLUDE)

# --- manuals: of libraries with what builds against them, of commands with the commands

foreach(section_and_component 1:tools 7:development)
    string(REPLACE ":" ";" section_and_component ${section_and_component})
    list(GET section_and_component 0 section)
    list(GET section_and_component 1 component)
    file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.${section})
    if(pages AND NOT (DKOM_ONLY_LIBRARY AND component STREQUAL tools))
        install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
    endif()
endforeach()

if(DKOM_ONLY_LIBRARY)
    return()
endif()

# --- the tools: every program that is built below tools/, and its completion/

get_property(tool_directories DIRECTORY ${PROJECT_SOURCE_DIR}/tools PROPERTY SUBDIRECTORIES)
foreach(directory IN LISTS tool_directories)
    get_property(targets DIRECTORY ${directory} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
        get_target_property(type ${target} TYPE)
        if(type STREQUAL EXECUTABLE)
            install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
        endif()
    endforeach()
endforeach()

# dkom-check.bash is installed as dkom-check, dkom-check.zsh as _dkom-check: the names by which the shells load them.
file(GLOB completions CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/tools/*/completion/*.bash
    ${PROJECT_SOURCE_DIR}/tools/*/completion/*.zsh
    ${PROJECT_SOURCE_DIR}/tools/*/completion/_*)
foreach(file IN LISTS completions)
    cmake_path(GET file STEM name)
    if(file MATCHES "\\.bash$")
        set(directory ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    else()
        set(directory ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
        string(REGEX REPLACE "^_" "" name ${name})
        string(PREPEND name _)
    endif()
    install(FILES ${file} DESTINATION ${directory} RENAME ${name} COMPONENT tools)
endforeach()

# --- the embedded backends

install(TARGETS sqlite_oci_clntsh sqlite_oci_dkoci
    LIBRARY DESTINATION ${DKOM_INSTALL_EMBEDDEDDIR} COMPONENT embedded)
