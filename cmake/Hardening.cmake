# What makes a mistake in the programs harder to use for an attack: Debian's hardening flags, for the project's own
# programs. scripts/check-hardening reads from the built ones whether it is there.

target_compile_options(project_options INTERFACE -fstack-protector-strong)
add_link_options(LINKER:-z,relro,-z,now,-z,noexecstack)

# It needs an optimising compiler. A level that the environment's flags ask for is left alone.
if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
  set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  target_compile_options(project_options INTERFACE $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
endif()

# Another project that builds the libraries decides for itself what its programs are.
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()

# A static program stands at a fixed address. On x86-64 the daemon as static-pie takes 66 KB more, 26,000 instructions
# more at its start (43,000 without) and 60 KB more memory of its own: it relocates itself. Debian's C library for
# PowerPC and s390x has no start file for it at all. Code for a fixed address is 7 KB smaller on PowerPC.
if(USB_RX_STATIC)
  target_compile_options(project_options INTERFACE -fno-pie)
  add_link_options(-no-pie)
else()
  target_compile_options(project_options INTERFACE -fPIE)
  add_link_options(-pie)
endif()
