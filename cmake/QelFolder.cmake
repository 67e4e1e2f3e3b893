# How every target of the project is built, and the one way in which a folder becomes a library.

add_library(QelBuildOptions INTERFACE)
target_compile_features(QelBuildOptions INTERFACE cxx_std_20)
target_compile_options(QelBuildOptions INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2 -Wold-style-cast -Wcast-qual
  -Wnon-virtual-dtor -Woverloaded-virtual -Wundef -Wno-missing-field-initializers -Werror
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>
  $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)  # programs are linked as such too, whatever the compiler's own default

# What stands in the way of whoever finds a fault to exploit. Sanitizers bring their own, and see less through these; the
# checks of FORTIFY need an optimizer.
if(NOT QEL_SANITIZE AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize|-O0")
  target_compile_options(QelBuildOptions INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3>
    -fstack-protector-strong -fstack-clash-protection
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection>)
  target_link_options(QelBuildOptions INTERFACE -Wl,-z,relro,-z,now)
endif()

# A release's bytes do not tell where it was built.
target_compile_options(QelBuildOptions INTERFACE
  $<$<CONFIG:Release>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=>)

if(QEL_SANITIZE)
  target_compile_options(QelBuildOptions INTERFACE -fsanitize=${QEL_SANITIZE} -fno-omit-frame-pointer)
  # g++ takes the standard library's own code for uninitialized when it is instrumented.
  target_compile_options(QelBuildOptions INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  if(QEL_SANITIZE MATCHES "undefined")
    target_compile_options(QelBuildOptions INTERFACE -fno-sanitize-recover=undefined)
  endif()
  # Programs alone bring the sanitizer's runtime, and show it to the libraries that they open, which must not bring a second.
  set(QEL_SANITIZE_PROGRAM_OPTIONS -fsanitize=${QEL_SANITIZE}
    "-Wl,--export-dynamic-symbol=__?san_*" "-Wl,--export-dynamic-symbol=__sanitizer_*")
  # The sanitizer's dlopen stands between a program and the loader: only inside the program does its RUNPATH still count.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    if(QEL_SANITIZE MATCHES "address")
      list(APPEND QEL_SANITIZE_PROGRAM_OPTIONS -static-libasan)
    elseif(QEL_SANITIZE MATCHES "thread")
      list(APPEND QEL_SANITIZE_PROGRAM_OPTIONS -static-libtsan)
    endif()
  endif()
endif()

# qel_folder(<name> SOURCES <file>... [USES <library>...] [INCLUDES <dir>...])
# One folder of the house as one static library, whose public headers stand in the folder itself unless INCLUDES says
# where. It names the folders that it uses; those above it are neither found nor linked, which holds the floors.
function(qel_folder NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES;INCLUDES" ${ARGN})
  if(NOT ARG_INCLUDES)
    set(ARG_INCLUDES "${CMAKE_CURRENT_SOURCE_DIR}")
  endif()
  add_library(${NAME} STATIC ${ARG_SOURCES})
  target_include_directories(${NAME} PUBLIC ${ARG_INCLUDES})
  target_link_libraries(${NAME} PUBLIC ${ARG_USES} PRIVATE QelBuildOptions)
endfunction()

# CMake ends a program's RUNPATH with the separator, and the empty element behind that is the folder where the user stands:
# libraries of anybody would be loaded from there.
set(CMAKE_EXECUTABLE_RUNTIME_CXX_FLAG_SEP "")

# A program of the project; RUNPATH $ORIGIN in the build tree and nothing else, none when installed.
function(qel_program NAME)
  add_executable(${NAME} ${ARGN})
  target_link_libraries(${NAME} PRIVATE QelBuildOptions)
  target_link_options(${NAME} PRIVATE ${QEL_SANITIZE_PROGRAM_OPTIONS} -Wl,--enable-new-dtags)
  set_target_properties(${NAME} PROPERTIES BUILD_RPATH "$ORIGIN" INSTALL_RPATH "")
endfunction()
