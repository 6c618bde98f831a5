# What keeps a fresh build short on two cores. Kelvane's own code is small; the headers of Qt,
# the standard library and GoogleTest are most of every compiler run. So each kind of target
# compiles those headers once (a precompiled header its neighbours reuse), and each target
# compiles its sources in batches of eight (a unity build), which also instantiates the Qt
# and GoogleTest templates once per batch instead of once per file.
option(KELVANE_PCH "Precompile the Qt, standard library and GoogleTest headers" ON)
option(KELVANE_UNITY "Compile each target's sources in batches (unity build)" ON)
set(CMAKE_UNITY_BUILD ${KELVANE_UNITY})
set(CMAKE_UNITY_BUILD_BATCH_SIZE 8)

# The headers of the core: the standard library and Qt Core.
set(KELVANE_CORE_HEADERS
    <algorithm> <array> <chrono> <cstddef> <cstdint> <filesystem> <fstream> <functional> <map>
    <memory> <optional> <string> <string_view> <utility> <vector>
    <QByteArray> <QDir> <QFile> <QFileInfo> <QHash> <QList> <QSet> <QString> <QStringList>)
# The screens': the core's and the widgets they are built from.
set(KELVANE_WIDGET_HEADERS ${KELVANE_CORE_HEADERS}
    <QAction> <QApplication> <QComboBox> <QDialog> <QHBoxLayout> <QHeaderView> <QLabel>
    <QLineEdit> <QListView> <QListWidget> <QMenu> <QPlainTextEdit> <QPushButton> <QStatusBar>
    <QTimer> <QToolBar> <QVBoxLayout> <QWidget>)
# The tests': GoogleTest over the core's, or over the screens' with QTest.
set(KELVANE_TEST_HEADERS ${KELVANE_CORE_HEADERS} <QTemporaryDir> <gmock/gmock.h> <gtest/gtest.h>)
set(KELVANE_GUI_TEST_HEADERS ${KELVANE_WIDGET_HEADERS}
    <QSignalSpy> <QTemporaryDir> <QTest> <gmock/gmock.h> <gtest/gtest.h>)

# kelvane_precompile(TARGET HEADERS...): TARGET compiles HEADERS once, for itself and for the
# targets that reuse them. A macro defined on TARGET's command line must be defined on theirs
# too, or the compiler refuses the header: so TARGET is the one with the fewest definitions
# (the Qt modules and GoogleTest define theirs, and a reusing target may add its own).
function(kelvane_precompile target)
    if(KELVANE_PCH)
        target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
endfunction()

# kelvane_reuse_precompiled(TARGET FROM): TARGET uses the headers FROM compiled.
function(kelvane_reuse_precompiled target from)
    if(KELVANE_PCH)
        target_precompile_headers(${target} REUSE_FROM ${from})
    endif()
endfunction()

# ccache caches a compilation that uses a precompiled header only when told that the header's
# macros and time stamps may be trusted (its manual, "Precompiled headers"); without this,
# every build through ccache would compile everything again.
if(KELVANE_PCH AND CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env "CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime"
        ${CMAKE_CXX_COMPILER_LAUNCHER})
endif()
