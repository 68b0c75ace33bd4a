# Every external dependency is looked for here, once, before any target is defined. A missing
# one stops the configure with the Debian package that provides it (scripts/setup.sh installs
# them all), instead of a compile or link error halfway through the build.

# zp_require(<found> <what> <package...>): stop unless <found> is true.
function(zp_require found what)
  if(NOT ${found})
    list(JOIN ARGN " " packages)
    message(FATAL_ERROR "${what} not found: apt-get install ${packages}")
  endif()
endfunction()

find_package(Threads QUIET)
zp_require(Threads_FOUND "POSIX threads" libc6-dev)

find_package(JPEG QUIET)
zp_require(JPEG_FOUND "libjpeg headers and library" libjpeg62-turbo-dev)

find_package(PNG QUIET)
zp_require(PNG_FOUND "libpng headers and library" libpng-dev)

# Debian's libcli11-dev ships the headers and a CMake package (CLI11::CLI11): both must be there.
find_package(CLI11 CONFIG QUIET)
find_path(ZP_CLI11_INCLUDE_DIR CLI/CLI.hpp)
if(NOT ZP_CLI11_INCLUDE_DIR)
  set(CLI11_FOUND FALSE)
endif()
zp_require(CLI11_FOUND "CLI11 headers" libcli11-dev)

# Man pages of the programs are made from their --help at build time. Sanitizer builds skip them.
if(ZP_SANITIZE STREQUAL "")
  find_program(ZP_HELP2MAN help2man)
  zp_require(ZP_HELP2MAN "help2man" help2man)
endif()

if(ZP_BUILD_TESTS)
  find_package(GTest QUIET)
  zp_require(GTest_FOUND "GoogleTest" libgtest-dev libgmock-dev)
  # The lossy-link download test loads a kernel packet filter compiled for the BPF target.
  find_program(ZP_CLANG NAMES clang clang-14)
  zp_require(ZP_CLANG "clang (BPF target)" clang)
  # The install test builds host programs against the installed tree through pkg-config.
  find_program(ZP_PKG_CONFIG pkg-config)
  zp_require(ZP_PKG_CONFIG "pkg-config" pkg-config)
  # The benchmarks reuse the test suite's simulator launcher, so they need the tests.
  if(ZP_BUILD_BENCH)
    find_package(benchmark CONFIG QUIET)
    zp_require(benchmark_FOUND "Google Benchmark" libbenchmark-dev)
  endif()
endif()
