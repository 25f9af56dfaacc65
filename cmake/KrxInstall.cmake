# What "cmake --install" lays down, in the components runtime, development, desk and service. Nothing of it knows the
# prefix that it was configured with, so the whole may be moved, but for the unit of systemd, which names its program by a
# whole path, and for what was given places of its own (CMAKE_INSTALL_LIBDIR and the like may be whole paths).
include(CMakePackageConfigHelpers)

set(krxPackage KRXFolders)
if(KRX_QT_SUFFIX)
    set(krxPackage KRXFoldersQt${KRX_QT_MAJOR})
endif()
set(package "${CMAKE_INSTALL_LIBDIR}/cmake/${krxPackage}")

# Releases before 1.0 may change anything that a host is compiled with.
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(compatibility SameMinorVersion)
else()
    set(compatibility SameMajorVersion)
endif()
configure_package_config_file(cmake/KRXFoldersConfig.cmake.in "${PROJECT_BINARY_DIR}/${krxPackage}Config.cmake"
    INSTALL_DESTINATION "${package}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/${krxPackage}ConfigVersion.cmake" COMPATIBILITY ${compatibility})
install(FILES "${PROJECT_BINARY_DIR}/${krxPackage}Config.cmake" "${PROJECT_BINARY_DIR}/${krxPackage}ConfigVersion.cmake"
    DESTINATION "${package}" COMPONENT development)
install(EXPORT KRXFolders NAMESPACE KRX:: FILE ${krxPackage}Targets.cmake DESTINATION "${package}" COMPONENT development)

# pkg-config finds the prefix from where its file lies, unless that place is a whole path and says nothing of the prefix.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(krxPcPrefix "${CMAKE_INSTALL_PREFIX}")
else()
    krx_installed_way(krxPcPrefix "${CMAKE_INSTALL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
    string(PREPEND krxPcPrefix "\${pcfiledir}/")
endif()
foreach(folder IN ITEMS LIB INCLUDE)
    set(krxPc${folder} "${CMAKE_INSTALL_${folder}DIR}")
    if(NOT IS_ABSOLUTE "${krxPc${folder}}")
        string(PREPEND krxPc${folder} "\${prefix}/")
    endif()
endforeach()
foreach(name IN ITEMS krx-folders krx-host-check)
    configure_file("cmake/${name}.pc.in" "${PROJECT_BINARY_DIR}/${name}${KRX_QT_SUFFIX}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${name}${KRX_QT_SUFFIX}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
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
