# Finds the installed libsodium, which proves keys between the programs of examples/usbip, and makes the target
# `libsodium::libsodium`. Where the programs are built for another architecture it is not looked for.

if(NOT CMAKE_CROSSCOMPILING)
  find_path(LIBSODIUM_INCLUDE_DIR sodium.h)
  if(USB_RX_STATIC)
    find_library(LIBSODIUM_LIBRARY libsodium.a)
  else()
    find_library(LIBSODIUM_LIBRARY sodium)
  endif()
  mark_as_advanced(LIBSODIUM_INCLUDE_DIR LIBSODIUM_LIBRARY)
endif()
if(NOT LIBSODIUM_INCLUDE_DIR OR NOT LIBSODIUM_LIBRARY)
  message(STATUS "The programs of examples/usbip are left out: libsodium was not found (package libsodium-dev).")
  return()
endif()

add_library(libsodium::libsodium UNKNOWN IMPORTED)
set_target_properties(libsodium::libsodium PROPERTIES IMPORTED_LOCATION ${LIBSODIUM_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES
                                                                                             ${LIBSODIUM_INCLUDE_DIR})
