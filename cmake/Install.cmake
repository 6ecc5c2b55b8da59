# Installs what a host needs: relocatable, found with find_package(Vantra CONFIG) or with pkg-config.
include(CMakePackageConfigHelpers)

set(VANTRA_DOCUMENTS share/doc/vantra CACHE STRING "Where documents are installed")
set(package lib/cmake/Vantra)

install(TARGETS Vantra EXPORT VantraTargets RUNTIME DESTINATION bin ARCHIVE DESTINATION lib)
install(FILES ${PROJECT_BINARY_DIR}/Vantra.dll.debug DESTINATION bin)
install(DIRECTORY include/vantra DESTINATION include)

install(EXPORT VantraTargets NAMESPACE Vantra:: DESTINATION ${package})
configure_package_config_file(cmake/package/VantraConfig.cmake.in VantraConfig.cmake
  INSTALL_DESTINATION ${package} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(VantraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VantraConfig.cmake ${PROJECT_BINARY_DIR}/VantraConfigVersion.cmake
  cmake/VantraCatalogue.cmake
  DESTINATION ${package})

configure_file(cmake/package/vantra.pc.in vantra.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vantra.pc DESTINATION lib/pkgconfig)

install(FILES CHANGELOG.md LICENSE SECURITY.md DESTINATION ${VANTRA_DOCUMENTS})
install(DIRECTORY docs examples DESTINATION ${VANTRA_DOCUMENTS})
