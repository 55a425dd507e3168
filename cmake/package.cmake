# Debian packages from the install components (`cpack -G DEB` in the build
# folder; the README shows how):
#   halftone          the shared library, the halftone program and its man page
#   libhalftone-dev   the headers, the CMake package and halftone.pc
#   halftone-cups     the CUPS raster filter and its PPD (where CUPS is built)
# Their dependencies on other packages come from dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME halftone)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "halftone maintainers <maintainers@halftone.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The filter links the library of the halftone package: found in the build.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME halftone)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "halftone screening library and program
55 screens turn 8-bit grey planes into one-bit dots or two- and four-bit
dot-size codes, band by band: the shared library (a C API of screening jobs
and the host entry points) and the halftone program for print pipelines.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libhalftone-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "halftone screening library: development files
The headers, the CMake package (find_package(halftone)) and halftone.pc.")
if(HALFTONE_CUPS)
  list(APPEND CPACK_COMPONENTS_ALL cups)
  set(CPACK_DEBIAN_CUPS_PACKAGE_NAME halftone-cups)
  set(CPACK_DEBIAN_CUPS_PACKAGE_SECTION text)
  set(CPACK_COMPONENT_CUPS_DEPENDS runtime)
  set(CPACK_COMPONENT_CUPS_DESCRIPTION
    "halftone screening: CUPS raster filter
rastertohalftone screens CUPS raster pages with any of the library's
screens; with it, a PPD for a printer that takes its dots.")
endif()
include(CPack)
