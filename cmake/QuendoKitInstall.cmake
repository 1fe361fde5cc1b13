# find_package(QuendoKit) and pkg-config for what is installed.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QuendoKit)
install(EXPORT QuendoKitTargets NAMESPACE QuendoKit:: DESTINATION ${package_dir})
configure_package_config_file(cmake/QuendoKitConfig.cmake.in ${PROJECT_BINARY_DIR}/QuendoKitConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuendoKitConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuendoKitConfig.cmake ${PROJECT_BINARY_DIR}/QuendoKitConfigVersion.cmake
              ${PROJECT_SOURCE_DIR}/cmake/Findcctz.cmake
        DESTINATION ${package_dir})

# The prefix is written relative to the file, so that `cmake --install --prefix` may choose another one.
file(RELATIVE_PATH PC_PREFIX_FROM_PCFILEDIR /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)

# quendokit_pkgconfig(FILE description "libraries" "required modules" "private libraries")
function(quendokit_pkgconfig file description libs requires libs_private)
    set(PC_NAME ${file})
    set(PC_DESCRIPTION "${description}")
    set(PC_LIBS "${libs}")
    set(PC_REQUIRES "${requires}")
    set(PC_LIBS_PRIVATE "${libs_private}")
    configure_file(${PROJECT_SOURCE_DIR}/cmake/pkgconfig.pc.in ${PROJECT_BINARY_DIR}/${file}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${file}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
quendokit_pkgconfig(quendokit "${PROJECT_DESCRIPTION}" "-lquendokit" "" "")
quendokit_pkgconfig(quendokit-event-loop "QuendoKit's run loop, main queue, notification centre and clock on the standard library" "-lquendokit_event_loop" "quendokit" "")
quendokit_pkgconfig(quendokit-sqlite "QuendoKit's object database on SQLite" "-lquendokit_sqlite" "quendokit sqlite3" "")
quendokit_pkgconfig(quendokit-cctz "QuendoKit's local time on cctz" "-lquendokit_cctz -lcctz" "quendokit" "")
quendokit_pkgconfig(quendokit-cloudkit-web "QuendoKit's cloud database over CloudKit's HTTP protocol" "-lquendokit_cloudkit_web"
    "quendokit libcurl" "")
quendokit_pkgconfig(quendokit-dbus "QuendoKit's desktop notifications and session signals on D-Bus" "-lquendokit_dbus"
    "quendokit sdbus-c++" "")
quendokit_pkgconfig(quendokit-files "QuendoKit's settings in a JSON file" "-lquendokit_files" "quendokit" "")
quendokit_pkgconfig(quendokit-gettext "QuendoKit's texts on GNU gettext" "-lquendokit_gettext" "quendokit" "")
quendokit_pkgconfig(quendokit-hostkit "What hosts need around QuendoKit" "-lquendokit_hostkit" "quendokit" "")
quendokit_pkgconfig(quendokit-icu "QuendoKit's names of the days on ICU" "-lquendokit_icu" "quendokit icu-i18n" "")
quendokit_pkgconfig(quendokit-linux "QuendoKit's adapters put together for Linux" "-lquendokit_linux"
    "quendokit-cctz quendokit-event-loop quendokit-files quendokit-gettext quendokit-icu quendokit-sqlite" "")
quendokit_pkgconfig(quendokit-testing "QuendoKit's test doubles and conformance suites" "-lquendokit_testing" "quendokit-hostkit" "")
