# SPDX-License-Identifier: MIT
# Run by CPack before it packs: a Debian package installs under /usr, and the
# desktop entry and systemd unit name the programs by the configured prefix.
if(NOT CPACK_PACKAGING_INSTALL_PREFIX STREQUAL "/usr")
  message(FATAL_ERROR
    "This build is configured for ${CPACK_PACKAGING_INSTALL_PREFIX}, but a Debian package installs under "
    "/usr. Run ./dev package, or configure with -DCMAKE_INSTALL_PREFIX=/usr and build again.")
endif()
