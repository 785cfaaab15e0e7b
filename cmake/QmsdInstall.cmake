# What `cmake --install` puts where, and the packages made of it.

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(QMSD_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/qmsd7")
if(WIN32)
  # Modules lie beside the kernel. A package is a folder of its own, which opens with its documents.
  set(QMSD_MODULE_DESTINATION "${CMAKE_INSTALL_BINDIR}")
  set(QMSD_DOCUMENT_DESTINATION ".")
  set(system_files mingw-i686.cmake module_exports.def)
  set(QMSD_MODULE_CFLAGS "")
  set(QMSD_MODULE_LIBS "-static -Wl,--kill-at ")
else()
  # Modules lie in the folder in which the kernel looks for the family's own. Installed elsewhere it
  # finds them by its own place; the older kind of run path leaves that of the program in force.
  set(QMSD_MODULE_DESTINATION "${CMAKE_INSTALL_LIBDIR}/qm")
  set_target_properties(qmsd7 PROPERTIES
    INSTALL_RPATH "$ORIGIN/qm" BUILD_WITH_INSTALL_RPATH ON)
  target_link_options(qmsd7 PRIVATE -Wl,--disable-new-dtags)
  set(QMSD_DOCUMENT_DESTINATION "${CMAKE_INSTALL_DOCDIR}")
  set(system_files module_exports.map)
  set(QMSD_MODULE_CFLAGS "-fPIC -fvisibility=hidden")
  set(QMSD_MODULE_LIBS "-Wl,-Bsymbolic -Wl,--version-script=")
endif()

# The debugging information stays in the build folder. Stripping would stamp the time on the file.
install(CODE "set(CMAKE_INSTALL_DO_STRIP TRUE)
set(ENV{SOURCE_DATE_EPOCH} 0)")
install(TARGETS qmsd7 EXPORT qmsd7Targets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(FILES "${PROJECT_SOURCE_DIR}/include/qmsd7.h" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")

# The documents and the examples lie as they do in the sources, so that links hold.
foreach(name README.md CHANGELOG.md CONTRIBUTING.md LICENSE)
  install(FILES "${PROJECT_SOURCE_DIR}/${name}" DESTINATION "${QMSD_DOCUMENT_DESTINATION}")
endforeach()
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" "${PROJECT_SOURCE_DIR}/examples"
  DESTINATION "${QMSD_DOCUMENT_DESTINATION}")
if(NOT WIN32)
  set(links "${CMAKE_BINARY_DIR}/document_links/include")
  file(MAKE_DIRECTORY "${links}")
  file(RELATIVE_PATH headers
    "/${QMSD_DOCUMENT_DESTINATION}/include" "/${CMAKE_INSTALL_INCLUDEDIR}")
  foreach(name qm qmsd7.h)
    file(CREATE_LINK "${headers}/${name}" "${links}/${name}" SYMBOLIC)
  endforeach()
  install(DIRECTORY "${links}" DESTINATION "${QMSD_DOCUMENT_DESTINATION}")
endif()
install(DIRECTORY "${PROJECT_SOURCE_DIR}/toolkit/template"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/qmsd7")
# As pip takes it, and as it runs where it lies.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/toolkit/python"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/qmsd7"
  PATTERN tests EXCLUDE PATTERN .* EXCLUDE PATTERN __pycache__ EXCLUDE
  PATTERN "*.egg-info" EXCLUDE PATTERN build EXCLUDE)

install(EXPORT qmsd7Targets NAMESPACE qmsd7:: DESTINATION "${QMSD_PACKAGE_DIR}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/qmsd7Config.cmake.in"
  "${CMAKE_BINARY_DIR}/qmsd7Config.cmake"
  INSTALL_DESTINATION "${QMSD_PACKAGE_DIR}" PATH_VARS CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/qmsd7ConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
foreach(name ${system_files} QmAddModule.cmake module_leftovers.cpp module_version.c.in
    module_version.rc.in)
  install(FILES "${CMAKE_CURRENT_LIST_DIR}/${name}" DESTINATION "${QMSD_PACKAGE_DIR}")
endforeach()
foreach(name qmsd7Config.cmake qmsd7ConfigVersion.cmake)
  install(FILES "${CMAKE_BINARY_DIR}/${name}" DESTINATION "${QMSD_PACKAGE_DIR}")
endforeach()

list(GET system_files -1 QMSD_MODULE_EXPORTS)
get_target_property(QMSD_LINK_NAME qmsd7 OUTPUT_NAME)
if(NOT QMSD_LINK_NAME)
  set(QMSD_LINK_NAME qmsd7)
endif()
foreach(name qmsd7.pc qmsd7-module.pc)
  configure_file("${CMAKE_CURRENT_LIST_DIR}/${name}.in" "${CMAKE_BINARY_DIR}/${name}" @ONLY)
  install(FILES "${CMAKE_BINARY_DIR}/${name}" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endforeach()

set(CPACK_PACKAGE_NAME qmsd7)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VENDOR "the QMSD7 maintainers")
set(CPACK_PACKAGE_CONTACT "the QMSD7 maintainers <maintainers@qmsd7.invalid>")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_SOURCE_DIR}/build/packages")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_SYSTEM_NAME windows-x86)
else()
  set(CPACK_GENERATOR TGZ DEB)
  set(CPACK_SYSTEM_NAME linux-${CMAKE_SYSTEM_PROCESSOR})
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS "python3 (>= 3.9)")
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
