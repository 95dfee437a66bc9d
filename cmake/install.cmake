# What cmake --install puts in place, and where. The folder may be moved afterwards: the packages find their way from
# where they lie.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(DIRECTORY include/kxcoreemb DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
foreach(kind shared static)
    set(target kxcoreemb)
    if(kind STREQUAL static)
        set(target kxcoreemb_static)
    endif()
    install(TARGETS ${target} EXPORT kxcoreemb-${kind}-targets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
    install(EXPORT kxcoreemb-${kind}-targets NAMESPACE kxcoreemb::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kxcoreemb)
endforeach()

# find_package(kxcoreemb CONFIG)
set(built ${CMAKE_CURRENT_BINARY_DIR}/cmake)
configure_package_config_file(cmake/kxcoreemb-config.cmake.in ${built}/kxcoreemb-config.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kxcoreemb NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${built}/kxcoreemb-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${built}/kxcoreemb-config.cmake ${built}/kxcoreemb-config-version.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kxcoreemb)

# pkg-config: kxcoreemb is the shared library, kxcoreemb-static the static one, for a folder that has both.
set(pc_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_prefix /prefix/${pc_folder} /prefix)
cmake_path(APPEND includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
cmake_path(APPEND libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
set(pc_needs "-lz -pthread")
if(KXC_DESKTOP)
    string(PREPEND pc_needs "-lSDL2 ")
endif()
foreach(kind "" -static)
    configure_file(cmake/kxcoreemb${kind}.pc.in ${built}/kxcoreemb${kind}.pc @ONLY)
    install(FILES ${built}/kxcoreemb${kind}.pc DESTINATION ${pc_folder})
endforeach()

# Documents beside the examples that they link to, so that the links hold.
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR}
    FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.1")
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} PATTERN "test.*" EXCLUDE PATTERN __pycache__ EXCLUDE)

if(KXC_BUILD_EXAMPLES)
    install(TARGETS kxcfl kxmem kxview DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES docs/man/kxcfl.1 docs/man/kxmem.1 docs/man/kxview.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
