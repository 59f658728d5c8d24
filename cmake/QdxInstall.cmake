# Installs the library (unstripped: its version stamp lives in the full symbol
# table), the public headers, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

set(QDX_CMAKE_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/QdxSDKWrapper")

install(TARGETS QdxSDKWrapper EXPORT QdxSDKWrapperTargets LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/QdxDesktopSDK"
        FILES_MATCHING PATTERN "*.h")
install(EXPORT QdxSDKWrapperTargets NAMESPACE QdxSDKWrapper:: DESTINATION "${QDX_CMAKE_PACKAGE_DIR}")

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/QdxSDKWrapperConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/QdxSDKWrapperConfig.cmake"
                              INSTALL_DESTINATION "${QDX_CMAKE_PACKAGE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/QdxSDKWrapperConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
# The pkg-config file finds the prefix from its own place, so the install can move.
file(RELATIVE_PATH QDX_PKGCONFIG_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file("${PROJECT_SOURCE_DIR}/cmake/qdxsdkwrapper.pc.in" "${PROJECT_BINARY_DIR}/qdxsdkwrapper.pc" @ONLY)

install(FILES "${PROJECT_BINARY_DIR}/QdxSDKWrapperConfig.cmake" "${PROJECT_BINARY_DIR}/QdxSDKWrapperConfigVersion.cmake"
        DESTINATION "${QDX_CMAKE_PACKAGE_DIR}")
install(FILES "${PROJECT_BINARY_DIR}/qdxsdkwrapper.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
