# Install rules: the shared library (soname libhw.so.<major>), the header, a CMake package
# (libhwConfig.cmake with its version file, giving the target libhw::hw) and libhw.pc.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(HW_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/libhw)

target_include_directories(hw INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS hw EXPORT libhwTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/hw.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(EXPORT libhwTargets NAMESPACE libhw:: DESTINATION ${HW_PACKAGE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/libhwConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/libhwConfig.cmake
                              INSTALL_DESTINATION ${HW_PACKAGE_DIR})
# The soname changes with the major version only, so any release of one major version will do.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/libhwConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/libhwConfig.cmake ${PROJECT_BINARY_DIR}/libhwConfigVersion.cmake
        DESTINATION ${HW_PACKAGE_DIR})

# libhw.pc finds the prefix from its own place (${pcfiledir}), so the installed tree may be
# moved, and `cmake --install --prefix` elsewhere than the configured prefix works.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(HW_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH hw_pc_up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" hw_pc_up "${hw_pc_up}")
  set(HW_PC_PREFIX "\${pcfiledir}/${hw_pc_up}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/libhw.pc.in ${PROJECT_BINARY_DIR}/libhw.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/libhw.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
