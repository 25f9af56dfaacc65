# What "cmake --install" lays down, in the components runtime, development, desk and service. Nothing of it knows the
# prefix that it was configured with, so the whole may be moved.
include(CMakePackageConfigHelpers)

set(package "${CMAKE_INSTALL_LIBDIR}/cmake/KRXFolders")

# Releases before 1.0 may change anything that a host is compiled with.
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(compatibility SameMinorVersion)
else()
    set(compatibility SameMajorVersion)
endif()
configure_package_config_file(cmake/KRXFoldersConfig.cmake.in "${PROJECT_BINARY_DIR}/KRXFoldersConfig.cmake"
    INSTALL_DESTINATION "${package}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KRXFoldersConfigVersion.cmake" COMPATIBILITY ${compatibility})
install(FILES "${PROJECT_BINARY_DIR}/KRXFoldersConfig.cmake" "${PROJECT_BINARY_DIR}/KRXFoldersConfigVersion.cmake"
    DESTINATION "${package}" COMPONENT development)
install(EXPORT KRXFolders NAMESPACE KRX:: FILE KRXFoldersTargets.cmake DESTINATION "${package}" COMPONENT development)

# pkg-config finds the prefix from where its file lies.
file(RELATIVE_PATH krxPrefixFromPc "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" krxPrefixFromPc "${krxPrefixFromPc}")
foreach(name IN ITEMS krx-folders krx-host-check)
    configure_file("cmake/${name}.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
        COMPONENT development)
endforeach()

# Manual pages and completion of the programs that are installed.
get_property(texts GLOBAL PROPERTY KRX_PROGRAM_TEXTS)
while(texts)
    list(POP_FRONT texts file place)
    if(file MATCHES "krx-desk")
        install(FILES "${file}" DESTINATION "${place}" COMPONENT desk)
    else()
        install(FILES "${file}" DESTINATION "${place}" COMPONENT service)
    endif()
endwhile()
