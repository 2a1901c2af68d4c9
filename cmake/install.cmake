# Installation: libraries, public headers, a CMake package (find_package(arko), targets arko::zur and arko::core) and a
# description for pkg-config.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/arko)
set_target_properties(arko_core PROPERTIES EXPORT_NAME core)
set_target_properties(arko_zur PROPERTIES EXPORT_NAME zur)
install(TARGETS arko_core arko_zur EXPORT arko
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/arko ${ARKO_GENERATED}/include/arko DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
install(EXPORT arko NAMESPACE arko:: FILE arko-config.cmake DESTINATION ${package})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/arko-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/arko-config-version.cmake DESTINATION ${package})
file(RELATIVE_PATH ARKO_PREFIX_OF_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/arko.pc.in ${CMAKE_BINARY_DIR}/arko.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/arko.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
