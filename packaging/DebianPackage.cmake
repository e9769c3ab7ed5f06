# The Debian package, made by CPack of what "cmake --install" installs.

# packages_of(KIND RESULT): the packages of a kind in tools/dependencies.txt, as a control file lists them.
function(packages_of KIND RESULT)
    file(STRINGS ${PROJECT_SOURCE_DIR}/tools/dependencies.txt lines REGEX "^${KIND} ")
    list(TRANSFORM lines REPLACE "^${KIND} +([^ ]+) .*" "\\1")
    list(JOIN lines ", " packages)
    set(${RESULT} ${packages} PARENT_SCOPE)
endfunction()
packages_of(run CPACK_DEBIAN_PACKAGE_DEPENDS)
packages_of(better CPACK_DEBIAN_PACKAGE_RECOMMENDS)
packages_of(optional CPACK_DEBIAN_PACKAGE_SUGGESTS)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/dependencies.txt)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${TAVLIN_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${TAVLIN_PROJECT_ADDRESS})
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "image browser for huge folders")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Tavlin shows the places of a computer in an outline and the pictures of the
selected folder as a grid of thumbnails. It opens any folder at once: the
window never waits for a disk, a network volume or a picture.
.
Pictures open in windows of their own beside their IPTC and EXIF metadata and
are printed together with it. Scripts of the user's own run on what is
selected. Image files are opened by confined processes only, so that a broken
or hostile one costs a thumbnail for a moment, never the program.")
include(CPack)
