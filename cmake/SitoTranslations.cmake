# SPDX-License-Identifier: MIT
# The texts in the sources are Russian. The English catalogue of a library is inside of it, from where
# sito::Translations takes it: nothing is to be found at run time (docs/decisions/0014-catalogues-inside.md).
if(SITO_BUILD_TRANSLATIONS)
    find_package(Qt6 6.4 REQUIRED COMPONENTS LinguistTools)
    # Brings all catalogues up to date with the sources: cmake --build ... --target sito-update-translations
    add_custom_target(sito-update-translations)
endif()

# sito_embed_catalogue(<target> <file.ts>)
# Compiles a catalogue of the current folder into the target, as :/sito/translations/<file>.qm.
function(sito_embed_catalogue target source)
    get_filename_component(name "${source}" NAME_WE)
    set(source "${CMAKE_CURRENT_SOURCE_DIR}/${source}")
    set(compiled "${CMAKE_CURRENT_BINARY_DIR}/${name}.qm")
    add_custom_command(OUTPUT "${compiled}"
        COMMAND Qt6::lrelease -silent "${source}" -qm "${compiled}"
        DEPENDS "${source}"
        VERBATIM)
    set(list "${CMAKE_CURRENT_BINARY_DIR}/${name}.qrc")
    file(CONFIGURE OUTPUT "${list}" CONTENT [[
<RCC>
    <qresource prefix="/sito/translations">
        <file>@name@.qm</file>
    </qresource>
</RCC>
]] @ONLY)
    string(MAKE_C_IDENTIFIER "${name}" function)
    set(resource "${CMAKE_CURRENT_BINARY_DIR}/qrc_${function}.cpp")
    add_custom_command(OUTPUT "${resource}"
        COMMAND Qt6::rcc --name ${function} -o "${resource}" "${list}"
        DEPENDS "${list}" "${compiled}"
        VERBATIM)
    set_source_files_properties("${resource}" PROPERTIES SKIP_AUTOGEN ON SKIP_UNITY_BUILD_INCLUSION ON
        SKIP_PRECOMPILE_HEADERS ON COMPILE_OPTIONS -w)
    target_sources(${target} PRIVATE "${resource}")
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
        # Nothing refers to the resource: a linker would leave it in the archive.
        string(LENGTH "qInitResources_${function}" length)
        target_link_options(${target} INTERFACE LINKER:--undefined=_Z${length}qInitResources_${function}v)
    endif()
endfunction()

# sito_add_catalogue(<target> <name>)
# Compiles translations/<name>_en.ts, with the texts of all sources of the current folder, into the target.
function(sito_add_catalogue target name)
    if(NOT SITO_BUILD_TRANSLATIONS)
        return()
    endif()
    sito_embed_catalogue(${target} translations/${name}_en.ts)
    add_custom_target(sito-update-translations-${name}
        COMMAND Qt6::lupdate -silent -locations none -no-obsolete -source-language ru -target-language en
            -I "${PROJECT_SOURCE_DIR}" -I "${PROJECT_SOURCE_DIR}/src" "${CMAKE_CURRENT_SOURCE_DIR}"
            -ts "translations/${name}_en.ts"
        WORKING_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}"
        VERBATIM)
    add_dependencies(sito-update-translations sito-update-translations-${name})
endfunction()
