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
