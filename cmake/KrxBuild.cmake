# What every target of the project has in common.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
# A header that is new to an already built tree is looked at by moc only when its stamp is gone.
file(GLOB krxMocStamps "${PROJECT_BINARY_DIR}/*/*_autogen/timestamp" "${PROJECT_BINARY_DIR}/*/*/*_autogen/timestamp")
if(krxMocStamps)
    file(REMOVE ${krxMocStamps})
endif()
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

# How it is compiled is for the project around this one to say, or for whoever configures it.
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()
string(STRIP "${CMAKE_CXX_FLAGS_DEBUG_INIT}" krxDebugFlags)
if(PROJECT_IS_TOP_LEVEL AND CMAKE_CXX_FLAGS_DEBUG STREQUAL krxDebugFlags)
    # Optimising is what shows the compiler values that nobody set. The address sanitizer sees more where nothing was
    # optimised away; -fsanitize=object-size, which needs optimising, has nothing to add to it.
    if("address" IN_LIST KRX_SANITIZE)
        set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g1")
    else()
        set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1")
    endif()
endif()

option(KRX_LINT "Read the sources with linters instead of compiling them" OFF)
if(KRX_LINT)
    include(KrxLint)
endif()

# Not unless it is asked for (the presets do): another linker writes other bytes than the one that everybody has.
option(KRX_FAST_BUILD "Compile by way of ccache and link with mold, where they are there" OFF)
if(KRX_FAST_BUILD)
    find_program(KRX_CCACHE ccache)
    include(CheckLinkerFlag)
    # A compiler that is older than the linker does not know its name.
    check_linker_flag(CXX -fuse-ld=mold KRX_MOLD_LINKS)
endif()
if(KRX_FAST_BUILD AND KRX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # The base folder makes a compile in one checkout serve another one; the sloppiness lets
    # precompiled headers be cached.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}
        CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        ${KRX_CCACHE})
endif()
if(KRX_FAST_BUILD AND KRX_MOLD_LINKS)
    add_link_options(-fuse-ld=mold)
endif()

# What is shipped does not say where it was built.
if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    add_compile_options("-ffile-prefix-map=${PROJECT_BINARY_DIR}=build" "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
endif()

if(KRX_SANITIZE)
    list(JOIN KRX_SANITIZE "," krxSanitizers)
    add_compile_options(-fsanitize=${krxSanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${krxSanitizers})
    if("address" IN_LIST KRX_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The same checks, as calls: written out at each place they are an eighth of the time of compiling.
        add_compile_options(--param=asan-instrumentation-with-call-threshold=0)
    endif()
endif()

# A project around this one has warnings of its own, and may have them be errors.
if(PROJECT_IS_TOP_LEVEL)
    add_compile_options(-Wall -Wextra)
    if(KRX_LINT OR KRX_WARNINGS_ARE_ERRORS)
        add_compile_options(-Wconversion -Wshadow)
    endif()
    add_compile_options(-Wnon-virtual-dtor -Woverloaded-virtual)
endif()
if(KRX_WARNINGS_ARE_ERRORS)
    add_compile_options(-Werror)
endif()

# The strict Qt dialect of our own Qt code (not of generated code that Qt's tools write).
add_library(krx_strict_qt INTERFACE)
target_compile_definitions(krx_strict_qt INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_FOREACH
    QT_USE_QSTRINGBUILDER
    QT_STRICT_ITERATORS)

option(KRX_PCH "Compile with precompiled Qt headers" ON)

# What is compiled once for all: single classes, as a source names them. The headers of whole modules (<QtWidgets>,
# <QtTest>) have the compiler work for half a second at each source, on templates that hardly any of them uses.
set(KRX_PCH_HEADERS
    <QApplication> <QCheckBox> <QComboBox> <QDir> <QDomDocument> <QFile> <QFileInfo> <QHash> <QLabel> <QLineEdit> <QList>
    <QMenu> <QPainter> <QPointer> <QPushButton> <QScrollArea> <QSet> <QSignalBlocker> <QString> <QStringList> <QTimer>
    <QTreeWidget> <QVBoxLayout> <QVariant> <QWidget>
    <algorithm> <array> <functional> <memory> <optional> <string> <string_view> <vector>)

# The way from one folder of what is installed to another, as both lie below the prefix or at places of their own.
function(krx_installed_way result from to)
    foreach(place IN ITEMS from to)
        if(NOT IS_ABSOLUTE "${${place}}")
            set(${place} "${CMAKE_INSTALL_PREFIX}/${${place}}")
        endif()
    endforeach()
    file(RELATIVE_PATH way "${from}" "${to}")
    string(REGEX REPLACE "/$" "" way "${way}")
    set(${result} "${way}" PARENT_SCOPE)
endfunction()

# The target that carries the precompiled header; a folder that compiles with other options or more headers sets one of
# its own.
set(KRX_PCH_TARGET krx_pch)
set(KRX_PCH_LIBS krx_strict_qt Threads::Threads)

# Gives a Qt Widgets target of ours the strict dialect and the one precompiled header that all of them share.
function(krx_qt_target target)
    target_link_libraries(${target} PRIVATE krx_strict_qt)
    if(KRX_PCH)
        if(NOT TARGET ${KRX_PCH_TARGET})
            file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/krx_pch.cpp"
                CONTENT "// Only carries the precompiled header.\n")
            add_library(${KRX_PCH_TARGET} OBJECT "${PROJECT_BINARY_DIR}/krx_pch.cpp")
            target_link_libraries(${KRX_PCH_TARGET} PRIVATE ${KRX_QT}::Core ${KRX_QT}::Gui ${KRX_QT}::Widgets ${KRX_QT}::Xml
                ${KRX_PCH_LIBS})
            set_target_properties(${KRX_PCH_TARGET} PROPERTIES AUTOMOC OFF AUTORCC OFF)
            target_precompile_headers(${KRX_PCH_TARGET} PRIVATE ${KRX_PCH_HEADERS})
        endif()
        target_precompile_headers(${target} REUSE_FROM ${KRX_PCH_TARGET})
    endif()
endfunction()
