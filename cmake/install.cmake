# Installs the library, its headers, the tool with its man pages and completion, the CMake package
# (target vu::vu) and vu.pc. Nothing installed names the prefix that it was built for: the tree may
# be moved.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vu)
install(TARGETS vu EXPORT vuTargets)
if(TARGET vu_url)
  install(TARGETS vu_url EXPORT vuUrlTargets)
  install(EXPORT vuUrlTargets NAMESPACE vu:: DESTINATION ${package_dir})
endif()
if(VU_TOOL)
  install(TARGETS vu_tool)
  foreach(section 1 5)
    install(DIRECTORY man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
            FILES_MATCHING PATTERN "*.${section}")
  endforeach()
  install(FILES completion/vu.bash RENAME vu
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES completion/_vu DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
  install(FILES completion/vu.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()
install(DIRECTORY include/vu ${PROJECT_BINARY_DIR}/include/vu
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(EXPORT vuTargets NAMESPACE vu:: DESTINATION ${package_dir})

configure_package_config_file(cmake/vuConfig.cmake.in vuConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(vuConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vuConfig.cmake ${PROJECT_BINARY_DIR}/vuConfigVersion.cmake
              cmake/Find${VU_PCRE_PACKAGE}.cmake
        DESTINATION ${package_dir})

# pkg-config finds the prefix from where vu.pc stands, unless the folders are absolute.
file(RELATIVE_PATH VU_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(dir LIBDIR INCLUDEDIR)
  set(VU_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    set(VU_PC_${dir} "${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
# What libvu needs itself comes with a shared one; a static one leaves it to the final link.
set(VU_PC_REQUIRES "Requires.private: ${VU_PCRE_MODULE} libcrypto")
if(BUILD_SHARED_LIBS)
  set(VU_PC_REQUIRES "")
endif()
configure_file(cmake/vu.pc.in vu.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vu.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(TARGET vu_url)
  set(VU_PC_REQUIRES "Requires.private: icu-uc")
  if(BUILD_SHARED_LIBS)
    set(VU_PC_REQUIRES "")
  endif()
  configure_file(cmake/vu-url.pc.in vu-url.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/vu-url.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()
