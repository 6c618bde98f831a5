# One interface target carries the compile settings every Kelvane target shares.
add_library(kelvane_settings INTERFACE)
target_compile_features(kelvane_settings INTERFACE cxx_std_20)
target_compile_definitions(kelvane_settings INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CONTEXTLESS_CONNECT
    QT_NO_KEYWORDS)
target_include_directories(kelvane_settings INTERFACE ${PROJECT_SOURCE_DIR}/src)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(kelvane_settings INTERFACE -Wall -Wextra -Wpedantic -Wold-style-cast)
    if(KELVANE_WERROR)
        target_compile_options(kelvane_settings INTERFACE -Werror)
    endif()
endif()

# Sanitized builds: every Kelvane target, tests included, is compiled and linked with the
# sanitizers, and undefined behaviour stops the program instead of being reported and passed.
if(KELVANE_SANITIZE AND KELVANE_FUZZ)
    message(FATAL_ERROR "KELVANE_SANITIZE and KELVANE_FUZZ are separate builds: choose one")
endif()
if(KELVANE_SANITIZE OR KELVANE_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        message(FATAL_ERROR "The sanitized builds need GCC or clang")
    endif()
    set(kelvane_sanitizers -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    # These builds find faults, not speed: -O1 and line tables only (enough for the
    # sanitizers' stack traces) compile in half the time of -O2 -g.
    target_compile_options(kelvane_settings INTERFACE ${kelvane_sanitizers} -O1 -g1)
    target_link_options(kelvane_settings INTERFACE ${kelvane_sanitizers})
endif()
# The fuzz targets steer by the coverage of the code they reach, so all of it is instrumented;
# libFuzzer's own main is linked only into the targets (fuzz/CMakeLists.txt).
if(KELVANE_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "KELVANE_FUZZ needs clang (CC=clang CXX=clang++)")
    endif()
    target_compile_options(kelvane_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()
