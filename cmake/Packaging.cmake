# What cpack makes of an installation: an archive, and a Debian package where there are Debian's tools; scripts/package
# calls it. For a unit (USB_RX_UNIT_TARBALL) it is an archive to be unpacked over the unit's root folder.
# LayOutPackage.cmake adds to the files what each of them has besides.

option(USB_RX_UNIT_TARBALL "Pack the programs for a unit, with their start script" OFF)

set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VENDOR "usb_rx_ctrl maintainers")
set(CPACK_PACKAGE_CONTACT "usb_rx_ctrl maintainers <root@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/LayOutPackage.cmake)
set(CPACK_RX_SOURCE_DIR ${PROJECT_SOURCE_DIR})
set(CPACK_RX_UNIT_TARBALL ${USB_RX_UNIT_TARBALL})

set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_PROCESSOR})
if(USB_RX_UNIT_TARBALL)
  set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-unit-${CMAKE_SYSTEM_PROCESSOR})
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
endif()

find_program(DPKG_PROGRAM dpkg)
mark_as_advanced(DPKG_PROGRAM)
if(DPKG_PROGRAM AND NOT CMAKE_CROSSCOMPILING)
  list(APPEND CPACK_GENERATOR DEB)
endif()
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
set(CPACK_DEBIAN_PACKAGE_NAME usb-rx-ctrl) # Debian's names have no underscores
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "The daemon listens for USB devices that are plugged in, decides by the unit's
configuration whether they may be used, and runs a worker process for each.
The workers are programs of the unit and not in this package. With it come
usb_rx_explain, which says why a device is refused, quor_config, which reads
and changes the configuration, and usb_rx_recorder, which records a device.")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${debian}/conffiles ${debian}/postinst ${debian}/prerm ${debian}/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(NOT USB_RX_STATIC) # a static program needs no package
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()

# The sources are what is committed: git archive packs them.
set(CPACK_SOURCE_GENERATOR "")

include(CPack)
