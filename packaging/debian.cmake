# Debian packages: cmake --build <dir> --target package

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME telvar-wrappers)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "TelvarWrappers maintainers <maintainers@telvar.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Trainable machine-vision tools behind a small object interface")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)

set(runtime_name libtelvarwrappers${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_name})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Trainable machine-vision tools: shared libraries
 A character reader with field matching, an image classifier and a pixel
 segmenter, trained on the processor and used through one exported function.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtelvarwrappers-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_name} (= ${PROJECT_VERSION}-1)")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Trainable machine-vision tools: development files
 Headers, CMake package and pkg-config file of the shared libraries.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME telvar-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime_name} (= ${PROJECT_VERSION}-1)")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Trainable machine-vision tools: the program telvar
 Checks data sets, trains, processes, evaluates and writes reports.")

include(CPack)
