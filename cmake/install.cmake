# Installation, the CMake package, the pkg-config file and the Debian package.
#
# A host finds the library with find_package(HIPGSpirit CONFIG REQUIRED) and links
# HIPGSpirit::hipgspirit, which brings the runtime and host support layers along (and
# HIPGSpirit::ipxact_catalog for the catalog, which brings the binding along), or with
# `pkg-config --cflags --libs hipgspirit` (`ipxact_catalog` for the catalog).

include(CMakePackageConfigHelpers)

set(IPXACT_LIBRARIES lmx60 tvo_common hipgspirit ipxact_catalog)
set_target_properties(${IPXACT_LIBRARIES} PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR})

install(TARGETS ${IPXACT_LIBRARIES} EXPORT HIPGSpiritTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS ipxact RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)

foreach(layer lmx60 common spirit catalog)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/ipxact/${layer}/
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ipxact/${layer}
          COMPONENT development
          FILES_MATCHING PATTERN "*.h"
          PATTERN "document_head.h" EXCLUDE
          PATTERN "read_document.h" EXCLUDE
          PATTERN "recent_by_address.h" EXCLUDE
          PATTERN "rules_support.h" EXCLUDE
          PATTERN "rules_tree.h" EXCLUDE
          PATTERN "vlnv_pattern.h" EXCLUDE)
endforeach()

set(IPXACT_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/HIPGSpirit)
install(EXPORT HIPGSpiritTargets NAMESPACE HIPGSpirit:: DESTINATION ${IPXACT_CMAKE_DIR}
        COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/HIPGSpiritConfig.cmake.in
  ${PROJECT_BINARY_DIR}/HIPGSpiritConfig.cmake
  INSTALL_DESTINATION ${IPXACT_CMAKE_DIR}
  PATH_VARS CMAKE_INSTALL_DATADIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/HIPGSpiritConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/HIPGSpiritConfig.cmake
              ${PROJECT_BINARY_DIR}/HIPGSpiritConfigVersion.cmake
        DESTINATION ${IPXACT_CMAKE_DIR} COMPONENT development)

# Relative to the file's own directory, so that the prefix given to `cmake --install` holds.
file(RELATIVE_PATH IPXACT_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
foreach(pc hipgspirit ipxact_catalog)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${pc}.pc.in ${PROJECT_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

# In the repository the vendor schema imports the standard's schema from ../shared; installed, it
# names the standard's published location instead, which a validator resolves through its catalog
# or by fetching it.
set(IPXACT_VENDOR_SCHEMA_FILES
  vorlix.xsd vorlix-common.xsd vorlix-core.xsd vorlix-info.xsd vorlix-instance.xsd
  vorlix-lists.xsd vorlix-options.xsd)
foreach(schema_file ${IPXACT_VENDOR_SCHEMA_FILES})
  set(source ${PROJECT_SOURCE_DIR}/schema/${schema_file})
  file(READ ${source} schema_text)
  string(REPLACE "../../shared/ipxact-1685-2009/index.xsd"
                 "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009/index.xsd"
                 schema_text "${schema_text}")
  file(WRITE ${PROJECT_BINARY_DIR}/schema/${schema_file} "${schema_text}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
  install(FILES ${PROJECT_BINARY_DIR}/schema/${schema_file}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/ipxact/schema COMPONENT runtime)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME hipgspirit)
set(CPACK_PACKAGE_VENDOR "vorlix")
set(CPACK_PACKAGE_CONTACT "ipxact maintainers <ipxact@vorlix.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "IP-XACT (IEEE 1685-2009) data binding: typed objects, reading and writing, the ipxact tool")
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libxml2 (>= 2.9), libgmp10, libstdc++6, libc6")
if(IPXACT_MIMALLOC)
  string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", libmimalloc2.0")
endif()
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
include(CPack)
