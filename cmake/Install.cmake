# What an installation holds, and the packages that are made of it:
#
#   bin/ambrel-shp                  the tool
#   lib/libAmbrelDLL.so.<major>     the host library
#   lib/libShpReader.a              the plug-in's code, for applications that write shapefiles
#   lib/ambrel/libShpReader.so      the plug-in, out of the way of the linker
#   include/Ambrel, include/ShpReader
#   lib/cmake/Ambrel, lib/pkgconfig
#   share/...                       examples, documents, man page, completions
include(CMakePackageConfigHelpers)

set(plugin_dir ${CMAKE_INSTALL_LIBDIR}/ambrel)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Ambrel)

# The tree can be moved as a whole: everything finds its neighbours relative to itself.
file(RELATIVE_PATH lib_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
# The same paths serve the build tree, which has no folder for the architecture. Paths that differ
# would be padded to one length with an empty entry, which means the current folder.
set_target_properties(ambrel-shp PROPERTIES
    INSTALL_RPATH "$ORIGIN/${lib_from_bin};$ORIGIN/../lib" BUILD_WITH_INSTALL_RPATH ON)
set_target_properties(ShpReader PROPERTIES
    INSTALL_RPATH "$ORIGIN/.." BUILD_WITH_INSTALL_RPATH ON)

install(TARGETS AmbrelDLL ShpReaderStatic ambrel-shp EXPORT AmbrelTargets)
install(TARGETS ShpReader LIBRARY DESTINATION ${plugin_dir})
# What stands in the archive for optimising across files is of use to the very same compiler alone;
# others refuse to link it.
if(CMAKE_OBJCOPY)
    install(CODE "execute_process(
        COMMAND \"${CMAKE_OBJCOPY}\" --wildcard --remove-section=.gnu.lto_*
                --remove-section=.gnu.debuglto_* --strip-symbol=__gnu_lto_*
                \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/$<TARGET_FILE_NAME:ShpReaderStatic>\"
        COMMAND_ERROR_IS_FATAL ANY)")
endif()
install(DIRECTORY host/include/Ambrel TYPE INCLUDE FILES_MATCHING PATTERN "*.h")

# Of the plug-in's headers, those that hosts name, and what these include.
set(headers
    ShpReader/BShpFeatureCollection.h
    ShpReader/dbf/BDbfFile.h
    ShpReader/format/Findings.h
    ShpReader/shp/BShpFile.h)
if(EXISTS ${PROJECT_SOURCE_DIR}/ShpReader/writing/ShapefileWriter.h)
    list(APPEND headers ShpReader/writing/ShapefileWriter.h)
endif()
while(headers)
    list(POP_FRONT headers header)
    if(NOT header IN_LIST installed_headers)
        list(APPEND installed_headers ${header})
        set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
        get_filename_component(folder ${header} DIRECTORY)
        install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
        file(STRINGS ${PROJECT_SOURCE_DIR}/${header} lines REGEX "^#include \"ShpReader/")
        list(TRANSFORM lines REPLACE "^#include \"(.*)\"$" "\\1")
        list(APPEND headers ${lines})
    endif()
endwhile()

install(EXPORT AmbrelTargets NAMESPACE Ambrel:: DESTINATION ${package_dir})
configure_package_config_file(cmake/AmbrelConfig.cmake.in ${PROJECT_BINARY_DIR}/AmbrelConfig.cmake
    INSTALL_DESTINATION ${package_dir}
    PATH_VARS plugin_dir
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/AmbrelConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/AmbrelConfig.cmake ${PROJECT_BINARY_DIR}/AmbrelConfigVersion.cmake
    DESTINATION ${package_dir})

# pkg-config finds the prefix from where the file stands.
file(RELATIVE_PATH prefix_from_pkgconfig
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(name IN ITEMS ambrel ambrel-shpreader)
    configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/ambrel)
set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/ambrel)
install(FILES README.md DESTINATION ${doc_dir})
install(FILES LICENSE DESTINATION ${doc_dir})
install(FILES LICENSE DESTINATION ${doc_dir} RENAME copyright)
install(FILES docs/architecture.md docs/embedding.md docs/messages.md docs/performance.md docs/robustness.md docs/map.png
    DESTINATION ${doc_dir}/docs)
install(FILES docs/ambrel-shp.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES tools/completions/ambrel-shp.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ambrel-shp)
install(FILES tools/completions/_ambrel-shp DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)

set(CPACK_PACKAGE_NAME ambrel)
set(CPACK_PACKAGE_VENDOR "The Ambrel developers")
set(CPACK_PACKAGE_CONTACT "The Ambrel developers <ambrel@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Shapefile reader, its host library and command-line tool")
set(CPACK_PACKAGE_DESCRIPTION
"ambrel-shp shows what ESRI shapefiles hold, checks and draws them, and exports
them to GeoJSON and CSV. The package also holds the Ambrel core library, the
plug-in that reads shapefiles for its hosts, and what is needed to develop them.")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
# What a program needs that is built against the headers.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "g++, cmake, make, qtbase5-dev")
include(CPack)
