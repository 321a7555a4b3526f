include(CMakePackageConfigHelpers)
install(TARGETS vexa vexaobj EXPORT vexaobjTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/vexaobj/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/runtime/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${VEXA_GEN_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT vexaobjTargets NAMESPACE vexaobj::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vexaobj)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vexaobjConfig.cmake.in
  ${CMAKE_BINARY_DIR}/vexaobjConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vexaobj)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/vexaobjConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/vexaobjConfig.cmake ${CMAKE_BINARY_DIR}/vexaobjConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vexaobj)
