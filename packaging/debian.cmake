# Describes the Debian package to CPack; ../package.sh is what builds it.
#
# Names of libraries are computed from the programs, never written down here.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME rastertokestra)
set(CPACK_PACKAGE_VENDOR "the rastertokestra authors")
set(CPACK_PACKAGE_CONTACT "the rastertokestra authors <rastertokestra@example.org>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

# One package from all components.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_COMPONENTS_ALL program documents debian)

set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION text)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# The description's first line is the short one.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "CUPS filter for label and tattoo stencil thermal printers
Turns the pages of a print job into the dots of a thermal print head, for a
4-inch label head and an A4-wide stencil head: ten halftones, two of them for
stencils, tone, mirror and negative print, and sharper barcodes. Its backend
sends each label to the printer exactly once, over the network or a cable, also
when the print system is restarted or the printer is away for a while.
.
The program kestra-proof shows a page as a picture of its very dots,
kestra-testlabel prints a label that shows size, offset and heat,
kestra-delivery what waits and what is in doubt, and kestra-paper is a printer
without paper to try everything with.")

# cups brings the daemon, the list of drivers and what turns documents into pages. A text document
# needs a font as well.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS cups)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-dejavu-core, fontconfig")
if(CMAKE_SYSTEM_PROCESSOR STREQUAL aarch64)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()

set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/postinst
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/postrm
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/conffiles)

include(CPack)
