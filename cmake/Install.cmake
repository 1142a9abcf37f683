# What is installed: the shared library, public headers, resources, the CMake package and the
# pkg-config file.

include(CMakePackageConfigHelpers)

set(BOKFOLIO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/BokfolioSDK)

install(TARGETS BokfolioSDK EXPORT BokfolioSDKTargets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/bokfolio DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.hpp" PATTERN internal EXCLUDE)
install(DIRECTORY ${BOKFOLIO_GENERATED}/bokfolio DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.hpp")
if(EXISTS ${PROJECT_SOURCE_DIR}/resources)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bokfolio)
endif()

install(EXPORT BokfolioSDKTargets NAMESPACE BokfolioSDK:: DESTINATION ${BOKFOLIO_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/BokfolioSDKConfig.cmake.in
  ${PROJECT_BINARY_DIR}/BokfolioSDKConfig.cmake INSTALL_DESTINATION ${BOKFOLIO_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/BokfolioSDKConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/BokfolioSDKConfig.cmake
  ${PROJECT_BINARY_DIR}/BokfolioSDKConfigVersion.cmake DESTINATION ${BOKFOLIO_CMAKE_DIR})

# The file finds its prefix from where it lies, so that an installed tree can be moved.
file(RELATIVE_PATH BOKFOLIO_PC_TO_PREFIX
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/BokfolioSDK.pc.in ${PROJECT_BINARY_DIR}/BokfolioSDK.pc
  @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/BokfolioSDK.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
