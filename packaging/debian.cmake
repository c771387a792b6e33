# Debian packages by CPack, one a component; `./run package` configures them with the prefix /usr.
# A package whose target is not built is left out.
set(version ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zelk)
set(CPACK_PACKAGE_VENDOR "Zelk Corner Pin")
set(CPACK_PACKAGE_CONTACT "Zelk Corner Pin maintainers <maintainers@zelk.invalid>" CACHE STRING
  "Who answers for the packages, as Debian writes it")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# Modes of files don't come from whoever built them.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# What programs and plug-ins link; our own library is found in the build.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY =)

# zelk_package(NAME SECTION SUMMARY TEXT): what all packages have in common.
set(CPACK_COMPONENTS_ALL)
function(zelk_package name section summary text)
  list(APPEND CPACK_COMPONENTS_ALL ${name})
  string(TOUPPER ${name} upper)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
  set(folder ${CMAKE_INSTALL_DATADIR}/doc/${name})
  install(FILES ${CMAKE_CURRENT_SOURCE_DIR}/copyright DESTINATION ${folder} COMPONENT ${name})
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz DESTINATION ${folder} COMPONENT ${name})
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${name}.lintian-overrides)
    install(FILES ${CMAKE_CURRENT_SOURCE_DIR}/${name}.lintian-overrides
      DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${name} COMPONENT ${name})
  endif()
endfunction()

execute_process(COMMAND gzip -9nc ${CMAKE_CURRENT_SOURCE_DIR}/changelog
  OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)

zelk_package(zelk graphics "high quality corner pin for compositing"
"Pins the corners of a picture into a frame, a plate or a sequence: the
perspective map between two quads, resampled at the quality that is asked for,
with edges that are anti-aliased by the area that they cover.
.
This package has the command zelk with the effect's module.")
# The shared library is made known to the loader, and forgotten.
file(CONFIGURE OUTPUT triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_ZELK_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers)
set(CPACK_DEBIAN_ZELK_PACKAGE_DEPENDS fonts-dejavu-core)
set(CPACK_DEBIAN_ZELK_PACKAGE_RECOMMENDS ffmpeg)

zelk_package(zelk-viewer graphics "viewer and editor of Zelk Corner Pin"
"Shows a corner pin as it is rendered, and edits it by mouse and keyboard: pins
over the frame, parameters, keyframes, tracks, export. The command `zelk view`
starts it.")
set(CPACK_DEBIAN_ZELK-VIEWER_PACKAGE_DEPENDS "zelk (= ${version})")
set(CPACK_DEBIAN_ZELK_PACKAGE_SUGGESTS zelk-viewer)

zelk_package(libzelk-dev libdevel "library of Zelk Corner Pin, for C++ programs"
"Renders scenes of a pinned picture into memory or to files: headers, static
libraries and what find_package(zelk) reads.")
set(CPACK_DEBIAN_LIBZELK-DEV_PACKAGE_DEPENDS "zelk (= ${version}), libfmt-dev, libhwy-dev, liblcms2-dev, \
libopencolorio-dev, libopenimageio-dev, nlohmann-json3-dev, pkgconf | pkg-config, zlib1g-dev")
set(CPACK_DEBIAN_LIBZELK-DEV_PACKAGE_SUGGESTS "cmake, g++")

if(TARGET ZelkCornerPinOfx)
  zelk_package(zelk-openfx graphics "Zelk Corner Pin as a plug-in for OpenFX hosts"
"The corner pin as the effect net.zelk.CornerPin, for compositing programs that
load OpenFX plug-ins.")
endif()
if(TARGET zelk_corner_pin)
  zelk_package(zelk-frei0r graphics "Zelk Corner Pin as plug-ins for frei0r hosts"
"The corner pin in its own frame and over another picture, for video editors
that load frei0r plug-ins.")
endif()
if(TARGET zelk_python)
  zelk_package(python3-zelk python "library of Zelk Corner Pin, for Python programs"
"Renders scenes of a pinned picture from NumPy arrays and files into arrays
and files.")
  set(CPACK_DEBIAN_PYTHON3-ZELK_PACKAGE_DEPENDS "zelk (= ${version}), python3 (>= 3.11), \
python3 (<< 3.12), python3-numpy")
  # Byte code is made with the package and goes with it.
  foreach(script postinst:py3compile prerm:py3clean)
    string(REPLACE ":" ";" script ${script})
    list(GET script 0 file)
    list(GET script 1 tool)
    file(CONFIGURE OUTPUT python3-zelk/${file}
      CONTENT "#!/bin/sh\nset -e\nif command -v ${tool} >/dev/null; then ${tool} -p python3-zelk; fi\n")
    file(CHMOD ${CMAKE_CURRENT_BINARY_DIR}/python3-zelk/${file} FILE_PERMISSIONS
      OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    list(APPEND CPACK_DEBIAN_PYTHON3-ZELK_PACKAGE_CONTROL_EXTRA
      ${CMAKE_CURRENT_BINARY_DIR}/python3-zelk/${file})
  endforeach()
endif()
include(CPack)
