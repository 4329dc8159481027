# SPDX-License-Identifier: MIT
# What is installed: the libraries with their public headers, the package for find_package() and the files for
# pkg-config. All of it can be moved to another prefix.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Archives name what they need (src/CMakeLists.txt), and their headers are told that they are archives.
if(NOT BUILD_SHARED_LIBS)
    set(sito_static_needs Database)
    set(sito_static_modules sito-database)
    set(sito_static_flags " -DSITO_STATIC")
endif()

set(SITO_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/sito")
set(SITO_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/Sito")

# sito_install_headers(<folder>...)
# The headers of the folders, and of those below them, without the private ones.
function(sito_install_headers)
    install(DIRECTORY ${ARGN} DESTINATION "${SITO_INSTALL_INCLUDEDIR}" COMPONENT development
        FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE PATTERN "settingsmodelitem.h" EXCLUDE
        PATTERN "translations" EXCLUDE)
endfunction()

# sito_install_library(<target> <description> <module>...)
# The target of a component, and its file for pkg-config, which requires the modules.
function(sito_install_library target description)
    get_target_property(component ${target} EXPORT_NAME)
    if(NOT DEFINED CMAKE_INSTALL_RPATH)
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
    endif()
    install(TARGETS ${target} EXPORT Sito${component}
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
    sito_install_export(${component})

    get_target_property(link_options ${target} INTERFACE_LINK_OPTIONS)
    set(link_flags "")
    if(link_options)
        string(REPLACE "LINKER:" " -Wl," link_flags "${link_options}")
    endif()
    list(JOIN ARGN ", " requires)
    file(RELATIVE_PATH up "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
    string(REGEX REPLACE "/$" "" up "${up}")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/sito.pc.in" "${PROJECT_BINARY_DIR}/pkgconfig/${target}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/pkgconfig/${target}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()

function(sito_install_export component)
    install(EXPORT Sito${component} NAMESPACE Sito:: FILE Sito${component}Targets.cmake
        DESTINATION "${SITO_INSTALL_CMAKEDIR}" COMPONENT development)
endfunction()

configure_package_config_file(cmake/SitoConfig.cmake.in "${PROJECT_BINARY_DIR}/SitoConfig.cmake"
    INSTALL_DESTINATION "${SITO_INSTALL_CMAKEDIR}" NO_SET_AND_CHECK_MACRO
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/SitoConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/SitoConfig.cmake" "${PROJECT_BINARY_DIR}/SitoConfigVersion.cmake"
    DESTINATION "${SITO_INSTALL_CMAKEDIR}" COMPONENT development)

install(TARGETS sito_data EXPORT SitoData INCLUDES DESTINATION "${SITO_INSTALL_INCLUDEDIR}")
sito_install_export(Data)
sito_install_headers(src/data src/filterfuncs src/filters src/settings)
install(FILES src/sito_export.h src/sito_qt.h "${SITO_INCLUDE_DIR}/sito_version.h"
    DESTINATION "${SITO_INSTALL_INCLUDEDIR}" COMPONENT development)

sito_install_library(sito "Filters, record predicates and a settings model for tables of a trading database"
    ${sito_static_modules} Qt6Core Qt6Gui Qt6Widgets)
sito_install_library(sito-database "Tables of a trading database in memory" Qt6Core)
sito_install_headers(database)
if(SITO_BUILD_HOSTKIT)
    sito_install_library(sito-hostkit "Models and views for filtered tables and settings" sito)
    sito_install_headers(hostkit)
endif()
if(SITO_BUILD_SOURCES)
    sito_install_library(sito-sources "Tables of SQLite and CSV files, PostgreSQL and MariaDB servers"
        sito-database sito-hostkit Qt6Sql Qt6Widgets)
    sito_install_headers(sources)
endif()
if(SITO_BUILD_BROWSER)
    if(NOT DEFINED CMAKE_INSTALL_RPATH)
        file(RELATIVE_PATH libraries "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
        set_target_properties(sito-browser PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
    endif()
    install(TARGETS sito-browser RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT browser)
    if(UNIX AND NOT APPLE)
        install(FILES packaging/desktop/sito-browser.desktop
            DESTINATION "${CMAKE_INSTALL_DATADIR}/applications" COMPONENT browser)
        install(FILES packaging/desktop/sito-browser.metainfo.xml
            DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo" COMPONENT browser)
        install(FILES packaging/desktop/sito-browser.svg
            DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps" COMPONENT browser)
        foreach(language en ru)
            set(page "${PROJECT_BINARY_DIR}/man/${language}/sito-browser.1")
            set(help "${PROJECT_SOURCE_DIR}/browser/help/${language}.txt")
            set(script "${PROJECT_SOURCE_DIR}/packaging/desktop/manpage.awk")
            add_custom_command(OUTPUT "${page}"
                COMMAND "${CMAKE_COMMAND}" -E make_directory "${PROJECT_BINARY_DIR}/man/${language}"
                COMMAND awk -v version=${PROJECT_VERSION} -f "${script}" "${help}" > "${page}"
                DEPENDS "${script}" "${help}"
                VERBATIM)
            list(APPEND pages "${page}")
        endforeach()
        add_custom_target(sito-manpages ALL DEPENDS ${pages})
        install(FILES "${PROJECT_BINARY_DIR}/man/en/sito-browser.1"
            DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT browser)
        install(FILES "${PROJECT_BINARY_DIR}/man/ru/sito-browser.1"
            DESTINATION "${CMAKE_INSTALL_MANDIR}/ru/man1" COMPONENT browser)
    endif()
endif()
