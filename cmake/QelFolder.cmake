# Compiler and linker options for every target, and the functions that make a library of a folder and build a program.

add_library(QelBuildOptions INTERFACE)
target_compile_features(QelBuildOptions INTERFACE cxx_std_20)
target_compile_options(QelBuildOptions INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2 -Wold-style-cast -Wcast-qual
  -Wnon-virtual-dtor -Woverloaded-virtual -Wsuggest-override -Wundef -Wzero-as-null-pointer-constant
  -Wno-missing-field-initializers -Werror
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>
  $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)  # links programs as position independent too, whatever the compiler's default

# Hardening. Builds with sanitizers do without it: sanitizers have their own checks and find less with these. FORTIFY needs an
# optimized build.
if(NOT QEL_SANITIZE AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize|-O0")
  target_compile_options(QelBuildOptions INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3>
    -fstack-protector-strong -fstack-clash-protection
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection>)
  target_link_options(QelBuildOptions INTERFACE -Wl,-z,relro,-z,now)
endif()

# The same sources give the same bytes, whichever folder they are built in.
target_compile_options(QelBuildOptions INTERFACE
  $<$<CONFIG:Release>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=>)

if(QEL_SANITIZE)
  target_compile_options(QelBuildOptions INTERFACE -fsanitize=${QEL_SANITIZE} -fno-omit-frame-pointer)
  # g++ warns of uninitialized values in the standard library's own code when that is instrumented.
  target_compile_options(QelBuildOptions INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  if(QEL_SANITIZE MATCHES "undefined")
    target_compile_options(QelBuildOptions INTERFACE -fno-sanitize-recover=undefined)
  endif()
  # Only programs link the sanitizer's runtime. They export it to the libraries that they open, which must not load a second
  # one.
  set(QEL_SANITIZE_PROGRAM_OPTIONS -fsanitize=${QEL_SANITIZE}
    "-Wl,--export-dynamic-symbol=__?san_*" "-Wl,--export-dynamic-symbol=__sanitizer_*")
  # The sanitizer replaces dlopen. The program's RUNPATH counts only if that dlopen is part of the program, so link it
  # statically.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    if(QEL_SANITIZE MATCHES "address")
      list(APPEND QEL_SANITIZE_PROGRAM_OPTIONS -static-libasan)
    elseif(QEL_SANITIZE MATCHES "thread")
      list(APPEND QEL_SANITIZE_PROGRAM_OPTIONS -static-libtsan)
    endif()
  endif()
endif()

# qel_folder(<name> SOURCES <file>... [USES <library>...] [INCLUDES <dir>...])
# Makes a static library of one folder of the project. Its public headers are in the folder itself, or where INCLUDES says.
# USES names the folders that it uses. Folders of higher layers are neither found nor linked, which enforces the layers.
function(qel_folder NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES;INCLUDES" ${ARGN})
  if(NOT ARG_INCLUDES)
    set(ARG_INCLUDES "${CMAKE_CURRENT_SOURCE_DIR}")
  endif()
  add_library(${NAME} STATIC ${ARG_SOURCES})
  target_include_directories(${NAME} PUBLIC ${ARG_INCLUDES})
  target_link_libraries(${NAME} PUBLIC ${ARG_USES} PRIVATE QelBuildOptions)
endfunction()

# Without this, CMake ends a program's RUNPATH with a separator. The empty element after it means the current folder, so
# programs would load libraries from wherever the user is.
set(CMAKE_EXECUTABLE_RUNTIME_CXX_FLAG_SEP "")

# qel_program(<name> <file>...)
# Makes a program. Its RUNPATH is $ORIGIN in the build tree; an installed program has none.
function(qel_program NAME)
  add_executable(${NAME} ${ARGN})
  if(CMAKE_CXX_FLAGS MATCHES "--coverage")
    target_sources(${NAME} PRIVATE "${CMAKE_SOURCE_DIR}/cmake/CoverageExit.cpp")
    target_link_options(${NAME} PRIVATE -Wl,--wrap=_exit)
  endif()
  target_link_libraries(${NAME} PRIVATE QelBuildOptions)
  target_link_options(${NAME} PRIVATE ${QEL_SANITIZE_PROGRAM_OPTIONS} -Wl,--enable-new-dtags)
  set_target_properties(${NAME} PROPERTIES BUILD_RPATH "$ORIGIN" INSTALL_RPATH "")
endfunction()

# qel_compile_as_one(<library>...)
# Compiles all files of a library at once. That is for headers that take longer to compile than the files that include them.
# A tool that asks for the command line of each file gets each file on its own.
function(qel_compile_as_one)
  if(NOT CMAKE_EXPORT_COMPILE_COMMANDS)
    set_target_properties(${ARGN} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)
  endif()
endfunction()
