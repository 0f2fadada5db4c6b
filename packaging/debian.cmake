# Debian packages: cmake --build <dir> --target package

# What goes into every package's documentation folder.
set(telvar_debian_release 1)
configure_file(changelog.Debian.in changelog.Debian @ONLY)
set(documents ${CMAKE_CURRENT_SOURCE_DIR}/copyright)
find_program(TELVAR_GZIP gzip)

# telvar_gzip(<source> <name>): the build folder's packed <name>.gz; without name and time: equal input, equal package.
function(telvar_gzip source name)
  execute_process(COMMAND ${TELVAR_GZIP} -9nc ${source} COMMAND_ERROR_IS_FATAL ANY
                  OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/${name}.gz)
endfunction()

if(TELVAR_GZIP)
  telvar_gzip(${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian changelog.Debian)
  telvar_gzip(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog)
  list(APPEND documents ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)
endif()

# telvar_debian_package(<component> <package> <section>)
function(telvar_debian_package component package section)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  install(FILES ${documents} DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} COMPONENT ${component})
endfunction()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME telvar-wrappers)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "TelvarWrappers maintainers <maintainers@telvar.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/remove_search_paths.cmake)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_RELEASE ${telvar_debian_release})

set(runtime_name libtelvarwrappers${PROJECT_VERSION_MAJOR})
set(same_version "${runtime_name} (= ${PROJECT_VERSION}-${telvar_debian_release})")

telvar_debian_package(runtime ${runtime_name} libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Trainable machine-vision tools: shared libraries
A character reader with field matching, an image classifier and a pixel
segmenter, trained on the processor and used through one exported function.")

telvar_debian_package(development libtelvarwrappers-dev libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ${same_version})
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Trainable machine-vision tools: development files
Headers, CMake package and pkg-config file of the shared libraries.")

if(TARGET telvar_host)
  list(APPEND CPACK_COMPONENTS_ALL tools)
  telvar_debian_package(tools telvar-tools graphics)
  # Manual pages and completion are what the program itself says in its --help.
  find_package(Python3 COMPONENTS Interpreter)
  if(Python3_Interpreter_FOUND AND NOT CMAKE_CROSSCOMPILING)
    set(from_help ${CMAKE_CURRENT_BINARY_DIR}/from_help)
    add_custom_command(OUTPUT ${from_help}/telvar
      COMMAND ${Python3_EXECUTABLE} -B ${CMAKE_CURRENT_SOURCE_DIR}/from_help.py $<TARGET_FILE:telvar_host> ${from_help}
      DEPENDS telvar_host ${CMAKE_CURRENT_SOURCE_DIR}/from_help.py VERBATIM)
    add_custom_target(telvar_from_help ALL DEPENDS ${from_help}/telvar)
    install(DIRECTORY ${from_help}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools
      FILES_MATCHING PATTERN "*.1.gz")
    install(FILES ${from_help}/telvar DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  endif()
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS ${same_version})
  set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Trainable machine-vision tools: the program telvar
Checks data sets, trains, processes, evaluates and writes reports.")
endif()

if(TARGET telvar_python)
  list(APPEND CPACK_COMPONENTS_ALL python)
  telvar_debian_package(python python3-telvar python)
  # The extension module is built for one version of Python.
  math(EXPR next_python "${telvar_python_minor} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "${same_version}, python3 (>= 3.${telvar_python_minor}), python3 (<< 3.${next_python}), python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/python/postinst ${CMAKE_CURRENT_SOURCE_DIR}/python/prerm)
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION "Trainable machine-vision tools: Python package
The three tools over numpy images, with type stubs, and a reader of the state
files that the program telvar writes.")
endif()

include(CPack)
