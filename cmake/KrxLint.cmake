# Builds nothing: each source is read by packaging/read-source, each library and program is an empty file. All that is
# made before a source can be compiled (moc, rcc, translations) is made here too.

# A change of what is asked reads everything again.
set(krxAsked "")
foreach(file IN ITEMS .clang-tidy tests/.clang-tidy packaging/read-source)
    file(SHA256 "${PROJECT_SOURCE_DIR}/${file}" hash)
    string(SUBSTRING "${hash}" 0 8 hash)
    string(APPEND krxAsked "${hash}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${file}")
endforeach()
set(CMAKE_CXX_COMPILER_LAUNCHER "${PROJECT_SOURCE_DIR}/packaging/read-source" ${krxAsked})

foreach(result IN ITEMS LINK_EXECUTABLE CREATE_SHARED_LIBRARY CREATE_SHARED_MODULE CREATE_STATIC_LIBRARY)
    set(CMAKE_CXX_${result} "<CMAKE_COMMAND> -E touch <TARGET>")
endforeach()
