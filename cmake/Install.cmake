# What `cmake --install` puts where. Nobody links the libraries, so no header and no CMake package is among it.

include(GNUInstallDirs)

install(TARGETS usb_rx_ctrl RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(TARGETS quor_config usb_rx_explain usb_rx_recorder RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

set(manuals ${PROJECT_SOURCE_DIR}/docs/man)
install(FILES ${manuals}/quor_config.1 ${manuals}/usb_rx_explain.1 ${manuals}/usb_rx_recorder.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${manuals}/quor.conf.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
install(FILES ${manuals}/usb_rx.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7)
install(FILES ${manuals}/usb_rx_ctrl.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)

# As in the sources, so that the documents' links to each other lead somewhere.
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES docs/architecture.md docs/development.md docs/faults.md docs/kernels.md docs/performance.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
install(FILES devices/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/devices)
install(FILES examples/quor.conf DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
install(FILES examples/systemd/usb_rx_ctrl.service examples/systemd/usb_rx_ctrl.default
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/systemd)
install(PROGRAMS examples/busybox/usb_rx_ctrl.init DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/busybox)

install(FILES completions/quor_config completions/usb_rx_explain
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# The programs over USB/IP are an example: cmake --install FOLDER --component usbip. Nothing else installs or packs them.
if(TARGET usb_rx_usbip)
  install(
    TARGETS usb_rx_usbip usb_tx_usbip
    RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR}
            COMPONENT usbip
            EXCLUDE_FROM_ALL)
  install(
    FILES examples/usbip/usb_rx_usbip.7
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man7
    COMPONENT usbip
    EXCLUDE_FROM_ALL)
endif()
