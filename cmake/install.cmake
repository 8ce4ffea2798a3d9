# What is installed: headers, libraries, documents, manual pages, the CMake package and a pkg-config file for each library. The tree may be moved.
include(CMakePackageConfigHelpers)

set(libraries qvoseq)
set(headers include/qvoseq.h include/qvohost.h)
if(QVOSEQ_BUILD_VALUE)
  list(APPEND libraries qvovalue)
  list(APPEND headers include/qvovalue.h)
endif()
list(TRANSFORM libraries APPEND _static OUTPUT_VARIABLE archives)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qvoseq)
install(TARGETS ${libraries} ${archives} EXPORT qvoseqTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development)

install(FILES README.md CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Development)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Development)
configure_file(cmake/man/qvoseq.7.in qvoseq.7 @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qvoseq.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7 COMPONENT Development)
if(QVOSEQ_BUILD_SQLITE)
  configure_file(cmake/man/qvosqlite.7.in qvosqlite.7 @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/qvosqlite.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7 COMPONENT SQLite)
endif()

install(EXPORT qvoseqTargets NAMESPACE qvoseq:: DESTINATION ${package_dir} COMPONENT Development)
configure_package_config_file(cmake/qvoseqConfig.cmake.in qvoseqConfig.cmake INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(qvoseqConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qvoseqConfig.cmake ${PROJECT_BINARY_DIR}/qvoseqConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT Development)

# A pkg-config file names its places from where it lies itself, but for those that are given as absolute paths.
set(QVOSEQ_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
if(NOT IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  file(RELATIVE_PATH up /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" up ${up})
  set(QVOSEQ_PC_PREFIX "\${pcfiledir}/${up}")
endif()
foreach(dir INCLUDEDIR LIBDIR)
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${dir}})
    set(QVOSEQ_PC_${dir} ${CMAKE_INSTALL_${dir}})
  else()
    set(QVOSEQ_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
foreach(library ${libraries})
  configure_file(cmake/${library}.pc.in ${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
endforeach()
