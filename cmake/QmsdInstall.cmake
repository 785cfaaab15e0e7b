# What `cmake --install` puts where: library, header, pkg-config file and CMake package.

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(QMSD_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/qmsd7")
# Modules lie beside the kernel.
if(WIN32)
  set(QMSD_MODULE_DESTINATION "${CMAKE_INSTALL_BINDIR}")
else()
  set(QMSD_MODULE_DESTINATION "${CMAKE_INSTALL_LIBDIR}")
endif()

# The debugging information stays in the build folder. Stripping would stamp the time on the file.
install(CODE "set(CMAKE_INSTALL_DO_STRIP TRUE)
set(ENV{SOURCE_DATE_EPOCH} 0)")
install(TARGETS qmsd7 EXPORT qmsd7Targets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(FILES "${PROJECT_SOURCE_DIR}/include/qmsd7.h" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}")

install(EXPORT qmsd7Targets NAMESPACE qmsd7:: DESTINATION "${QMSD_PACKAGE_DIR}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/qmsd7Config.cmake.in"
  "${CMAKE_BINARY_DIR}/qmsd7Config.cmake"
  INSTALL_DESTINATION "${QMSD_PACKAGE_DIR}" PATH_VARS CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/qmsd7ConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${CMAKE_BINARY_DIR}/qmsd7Config.cmake"
  "${CMAKE_BINARY_DIR}/qmsd7ConfigVersion.cmake"
  "${CMAKE_CURRENT_LIST_DIR}/QmAddModule.cmake"
  "${CMAKE_CURRENT_LIST_DIR}/module_leftovers.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/module_version.c.in"
  "${CMAKE_CURRENT_LIST_DIR}/module_version.rc.in"
  DESTINATION "${QMSD_PACKAGE_DIR}")

get_target_property(QMSD_LINK_NAME qmsd7 OUTPUT_NAME)
if(NOT QMSD_LINK_NAME)
  set(QMSD_LINK_NAME qmsd7)
endif()
configure_file("${CMAKE_CURRENT_LIST_DIR}/qmsd7.pc.in" "${CMAKE_BINARY_DIR}/qmsd7.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/qmsd7.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

set(CPACK_PACKAGE_NAME qmsd7)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VENDOR "the QMSD7 maintainers")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_SOURCE_DIR}/build/packages")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_SYSTEM_NAME windows-x86)
else()
  set(CPACK_GENERATOR TGZ)
  set(CPACK_SYSTEM_NAME linux-${CMAKE_SYSTEM_PROCESSOR})
endif()
include(CPack)
