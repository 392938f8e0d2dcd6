# Run by cpack when the files of one package are laid out: adds what that package has besides an installation's files.

set(ENV{DESTDIR} "") # for some kinds of package cpack has set it, and file(INSTALL) heeds it
set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
set(source ${CPACK_RX_SOURCE_DIR})
set(examples ${source}/examples)

# A unit has no use for documents. Unpacking an archive over / must not replace what was set there, so the arguments are an
# example: without the file, the start script has the same.
function(lay_out_unit)
  file(REMOVE_RECURSE ${root}/usr/share)
  file(INSTALL ${examples}/busybox/usb_rx_ctrl.init DESTINATION ${root}/etc/init.d USE_SOURCE_PERMISSIONS
       RENAME usb_rx_ctrl)
  file(INSTALL ${examples}/systemd/usb_rx_ctrl.default DESTINATION ${root}/etc/default RENAME usb_rx_ctrl.example)
endfunction()

# compress(FILE NEW-FILE): gzip without a name and a time in it, so that the same sources make the same package.
function(compress file new_file)
  execute_process(COMMAND gzip -9 --no-name --stdout ${file} OUTPUT_FILE ${new_file} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${file})
  file(CHMOD ${new_file} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

function(lay_out_debian)
  file(GLOB manuals ${root}/usr/share/man/man*/*)
  foreach(manual ${manuals})
    compress(${manual} ${manual}.gz)
  endforeach()

  # Debian's name for the folder is that of the package.
  set(documents ${root}/usr/share/doc/usb-rx-ctrl)
  file(RENAME ${root}/usr/share/doc/usb_rx_ctrl ${documents})
  compress(${documents}/CHANGELOG.md ${documents}/changelog.gz)
  file(INSTALL ${source}/packaging/debian/copyright DESTINATION ${documents})
  file(INSTALL ${source}/packaging/debian/changelog DESTINATION ${documents} RENAME changelog.Debian)
  compress(${documents}/changelog.Debian ${documents}/changelog.Debian.gz)
  file(INSTALL ${source}/packaging/debian/lintian-overrides DESTINATION ${root}/usr/share/lintian/overrides
       RENAME usb-rx-ctrl)

  file(INSTALL ${examples}/systemd/usb_rx_ctrl.service DESTINATION ${root}/usr/lib/systemd/system)
  file(INSTALL ${examples}/systemd/usb_rx_ctrl.default DESTINATION ${root}/etc/default RENAME usb_rx_ctrl)
endfunction()

if(CPACK_RX_UNIT_TARBALL)
  lay_out_unit()
elseif(CPACK_GENERATOR STREQUAL "DEB")
  lay_out_debian()
endif()
