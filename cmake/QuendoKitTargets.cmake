# How every target of this project is built, in one place.

add_library(quendokit_warnings INTERFACE)
target_compile_options(quendokit_warnings INTERFACE -Wall -Wextra -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 sees an overlap that is none in every optimised `"text" + std::string` (GCC bug 105651).
    target_compile_options(quendokit_warnings INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # libstdc++ 12 asks for a temporary buffer in std::stable_sort by a function that it calls deprecated itself.
    target_compile_options(quendokit_warnings INTERFACE -Wno-deprecated-declarations)
endif()
if(QUENDOKIT_WARNINGS_AS_ERRORS)
    target_compile_options(quendokit_warnings INTERFACE -Werror)
endif()

add_library(quendokit_sanitizers INTERFACE)
if(QUENDOKIT_SANITIZERS)
    target_compile_options(quendokit_sanitizers INTERFACE
        -fsanitize=${QUENDOKIT_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(quendokit_sanitizers INTERFACE -fsanitize=${QUENDOKIT_SANITIZERS})
endif()
if(QUENDOKIT_COVERAGE)
    target_compile_options(quendokit_sanitizers INTERFACE --coverage)
    target_link_options(quendokit_sanitizers INTERFACE --coverage)
endif()

add_library(quendokit_hardening INTERFACE)
target_compile_definitions(quendokit_hardening INTERFACE _GLIBCXX_ASSERTIONS)
target_compile_options(quendokit_hardening INTERFACE -fstack-protector-strong)
if(NOT QUENDOKIT_SANITIZERS)
    target_compile_options(quendokit_hardening INTERFACE $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE>
                           $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
endif()
target_link_options(quendokit_hardening INTERFACE -Wl,-z,relro,-z,now)

# Links what belongs to every target of ours and to nobody else's.
function(quendokit_target name)
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:quendokit_warnings> $<BUILD_INTERFACE:quendokit_sanitizers>
                          $<BUILD_INTERFACE:quendokit_hardening>)
endfunction()

# quendokit_library(NAME sqlite SOURCES … HEADERS …): a library that is installed as QuendoKit::sqlite, with its public
# headers as a file set whose include path is the root of this project.
function(quendokit_library)
    cmake_parse_arguments(ARG "" "NAME;TARGET" "SOURCES;HEADERS" ${ARGN})
    if(NOT ARG_TARGET)
        set(ARG_TARGET quendokit_${ARG_NAME})
    endif()
    add_library(${ARG_TARGET})
    add_library(QuendoKit::${ARG_NAME} ALIAS ${ARG_TARGET})
    set_target_properties(${ARG_TARGET} PROPERTIES EXPORT_NAME ${ARG_NAME} VERSION ${PROJECT_VERSION}
                          SOVERSION ${PROJECT_VERSION_MAJOR} VERIFY_INTERFACE_HEADER_SETS ON)
    target_compile_features(${ARG_TARGET} PUBLIC cxx_std_20)
    target_sources(${ARG_TARGET} PRIVATE ${ARG_SOURCES}
                   PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARG_HEADERS})
    target_include_directories(${ARG_TARGET} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                               $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/QuendoKit>)
    quendokit_target(${ARG_TARGET})
    install(TARGETS ${ARG_TARGET} EXPORT QuendoKitTargets
            FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/QuendoKit)
endfunction()
