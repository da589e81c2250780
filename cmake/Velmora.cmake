# Settings every target shares, and the two functions that the directories use to declare theirs.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_LINK_DEPENDS_NO_SHARED ON)

find_package(Threads REQUIRED)
find_package(Boost 1.81 REQUIRED)
find_package(ICU 72 REQUIRED COMPONENTS uc i18n)
find_package(SQLite3 3.40 REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(GIO REQUIRED IMPORTED_TARGET gio-unix-2.0)
pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
find_package(spdlog REQUIRED)
if(NOT VELMORA_HEADLESS)
  find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets Svg DBus Test)
endif()

find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # A precompiled header is cached only when ccache may ignore its time stamps.
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
      CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE})
endif()

add_library(velmora_options INTERFACE)
target_include_directories(velmora_options INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_definitions(velmora_options INTERFACE BOOST_ASIO_SEPARATE_COMPILATION BOOST_ASIO_NO_DEPRECATED QT_NO_KEYWORDS)
target_compile_options(velmora_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fPIC)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC's -Wtsan only says that fences are not modelled; Boost's headers have some. Under the
  # thread sanitizer it also takes the short form of a std::string for the only one there is.
  # GCC 12 hands a coroutine's frame to the matching delete but believes otherwise once it inlines.
  # It also gives the frame of an inline coroutine linkage, but not the lambdas in it. With -O2 it takes the other
  # alternatives of a std::variant that is moved for contents that were never set.
  target_compile_options(velmora_options INTERFACE -fpch-preprocess -Wno-mismatched-new-delete -Wno-subobject-linkage
    -Wno-maybe-uninitialized
    "$<$<BOOL:${VELMORA_TSAN}>:-Wno-tsan;-Wno-array-bounds;-Wno-stringop-overflow;-Wno-stringop-overread>")
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # The stable sorts of GCC 12's library call what it has itself marked as deprecated. GCC tells where we do.
  target_compile_options(velmora_options INTERFACE -Wno-deprecated-declarations)
endif()
if(VELMORA_CHECKS)
  target_compile_definitions(velmora_options INTERFACE VELMORA_CHECKS)
endif()

# velmora_library(name SOURCES ... LINKS ... [QT]): one layer, compiled with the shared options and precompiled header.
function(velmora_library name)
  cmake_parse_arguments(ARG "QT" "" "SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC velmora_options ${ARG_LINKS})
  velmora_precompile(${name} ${ARG_QT})
endfunction()

# Everything without Qt shares the header compiled for velmora_core; Qt's targets share the one compiled for velmora_views.
function(velmora_precompile name)
  if("${ARGN}" STREQUAL "TRUE")
    set(owner velmora_views)
    set(header "${CMAKE_SOURCE_DIR}/cmake/QtPrecompiled.h")
  else()
    set(owner velmora_core)
    set(header "${CMAKE_SOURCE_DIR}/cmake/Precompiled.h")
  endif()
  if(name STREQUAL owner OR "${ARGN}" STREQUAL "TRUE")
    target_precompile_headers(${name} PRIVATE "${header}")
  else()
    target_precompile_headers(${name} REUSE_FROM ${owner})
  endif()
endfunction()
