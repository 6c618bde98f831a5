#include "accessories/AnimationControl.h"
#include "accessories/AviFiles.h"
#include "platform/FileNames.h"
#include "support/TestBoard.h"

#include <QtTest>
#include <QtWidgets>
#include <random>

namespace Kelvane::Testing {
namespace {

constexpr Animation AllAnimations[] = { Animation::FindFile, Animation::Search, Animation::FileMove };

QString writeFile(const QTemporaryDir& directory, const QByteArray& bytes)
{
    const QString path = directory.filePath(u"test.avi"_s);
    TestBoard::writeFile(pathFromUnicode(path), bytes.toStdString());
    return path;
}

void putU32(QByteArray& bytes, qsizetype at, quint32 value)
{
    for (int shift = 0; shift < 32; shift += 8)
        bytes[at + shift / 8] = static_cast<char>(value >> shift);
}

TEST(Animation, EveryAnimationPlaysBackAsDrawnAndDamagedFilesOpenNothingOrAWholeOne)
{
    QTemporaryDir directory;
    for (Animation animation : AllAnimations) {
        SCOPED_TRACE(animationFileName(animation).toStdString());
        const QByteArray bytes = animationBytes(animation);
        ASSERT_TRUE(bytes.startsWith("RIFF"));
        EXPECT_EQ(qFromLittleEndian<quint32>(bytes.constData() + 4), static_cast<quint32>(bytes.size() - 8));

        AnimationControl control;
        ASSERT_TRUE(control.open(writeFile(directory, bytes)));
        EXPECT_GE(control.frameCount(), 8);
        const QImage first = control.pixmap().toImage();
        EXPECT_EQ(first.size(), QSize(64, 48));
        if (animation == Animation::FileMove) {
            // Rows are stored bottom up: the folders stand at the bottom, under white sky.
            EXPECT_EQ(first.pixel(4, 43), qRgb(0xe6, 0xbe, 0x3c));
            EXPECT_EQ(first.pixel(4, 2), qRgb(0xff, 0xff, 0xff));
        }
        control.play();
        EXPECT_TRUE(QTest::qWaitFor([&] { return control.currentFrame() != 0; }, 2000));
        EXPECT_NE(control.pixmap().toImage(), first); // the frames differ: something moves
        control.stop();
        EXPECT_FALSE(control.isPlaying());
        EXPECT_EQ(control.currentFrame(), 0);
    }

    // Damaged files never crash: they open nothing or a whole animation.
    enum Outcome { Refused, Plays, Either };
    const QByteArray good = animationBytes(Animation::FindFile);
    const qsizetype mainHeader = good.indexOf("avih");
    const qsizetype format = good.indexOf("strf");
    const qsizetype firstFrame = good.indexOf("00dc");
    const std::vector<std::tuple<const char*, Outcome, std::function<void(QByteArray&)>>> cases {
        { "missing file", Refused, [](QByteArray&) {} },
        { "empty", Refused, [](QByteArray& b) { b.clear(); } },
        { "header only", Refused, [](QByteArray& b) { b.truncate(11); } },
        { "cut in the headers", Refused, [&](QByteArray& b) { b.truncate(format + 20); } },
        { "cut in the frames", Plays, [](QByteArray& b) { b.truncate(b.size() / 2); } },
        { "cut at the end", Either, [](QByteArray& b) { b.chop(3); } },
        { "not RIFF", Refused, [](QByteArray& b) { b.replace(0, 4, "RIFX"); } },
        { "not AVI", Refused, [](QByteArray& b) { b.replace(8, 4, "WAVE"); } },
        { "huge RIFF size", Plays, [](QByteArray& b) { putU32(b, 4, 0xffffffff); } },
        { "huge main header", Either, [&](QByteArray& b) { putU32(b, mainHeader + 4, 0xfffffff0); } },
        { "huge format", Either, [&](QByteArray& b) { putU32(b, format + 4, 0x7ffffff0); } },
        { "huge frame chunk", Refused, [&](QByteArray& b) { putU32(b, firstFrame + 4, 0xfffffff0); } },
        { "huge width", Refused, [&](QByteArray& b) { putU32(b, format + 12, 0x7fffffff); } },
        { "most negative height", Refused, [&](QByteArray& b) { putU32(b, format + 16, 0x80000000); } },
        { "huge palette", Either, [&](QByteArray& b) { putU32(b, format + 8 + 32, 0xffffffff); } },
        { "unknown compression", Refused, [&](QByteArray& b) { putU32(b, format + 8 + 16, 7); } },
        { "zero frames", Refused, [](QByteArray& b) { b.replace("00dc", "01dc"); } },
        { "runs past the frame", Either,
          [&](QByteArray& b) {
              // Long runs, a delta far off the picture and an absolute run longer than the chunk.
              const QByteArray stream = QByteArray::fromHex("ff03ff04ff05000200ff0000ff01ff01ff01fe06");
              const qsizetype size = qFromLittleEndian<quint32>(b.constData() + firstFrame + 4);
              for (qsizetype i = 0; i < size; ++i)
                  b[firstFrame + 8 + i] = stream[i % stream.size()];
          } },
        { "absolute run past the chunk", Either,
          [&](QByteArray& b) { b.replace(firstFrame + 8, 2, QByteArray::fromHex("00fe")); } },
    };

    auto check = [&](const std::string& name, Outcome outcome, const QString& path) {
        SCOPED_TRACE(name);
        AnimationControl control;
        const bool opened = control.open(path);
        EXPECT_EQ(opened, control.isOpen());
        if (outcome != Either) {
            EXPECT_EQ(opened, outcome == Plays);
        }
        if (opened) {
            EXPECT_GE(control.frameCount(), 1);
            EXPECT_FALSE(control.pixmap().isNull());
        } else {
            EXPECT_EQ(control.frameCount(), 0);
        }
    };
    for (const auto& [name, outcome, damage] : cases) {
        QByteArray bytes = good;
        damage(bytes);
        const bool missing = std::string_view(name) == "missing file";
        check(name, outcome, missing ? directory.filePath(u"none.avi"_s) : writeFile(directory, bytes));
    }
    // And bytes changed at random, over and over.
    std::mt19937 random(20240601);
    for (int round = 0; round < 300; ++round) {
        QByteArray bytes = good;
        for (int change = 0; change < 8; ++change)
            bytes[static_cast<qsizetype>(random() % static_cast<quint32>(bytes.size()))] = static_cast<char>(random());
        check("random " + std::to_string(round), Either, writeFile(directory, bytes));
    }
}

TEST(Animation, WritesOnlyTheMissingFilesAndNeverThrows)
{
    // The operator's folder and file, named in another case, count as the program's.
    QTemporaryDir directory;
    const fs::path home = pathFromUnicode(directory.path());
    TestBoard::writeFile(home / "avi" / "Search.avi", "the operator's own");

    writeMissingAnimations(home);

    EXPECT_EQ(std::distance(fs::directory_iterator(home / "avi"), {}), 3); // no temporary left behind
    EXPECT_EQ(TestBoard::readFile(home / "avi" / "Search.avi"), "the operator's own");
    for (Animation animation : { Animation::FindFile, Animation::FileMove }) {
        AnimationControl control;
        EXPECT_TRUE(control.open(unicodeFromPath(home / "avi") + u'/' + animationFileName(animation)));
    }

    // A program directory below a plain file cannot be made.
    TestBoard::writeFile(home / "plain", "");
    EXPECT_NO_THROW(writeMissingAnimations(home / "plain" / "below"));
    EXPECT_NO_THROW(writeMissingAnimations(home / "plain"));
}

TEST(Animation, CopiesTheInstalledFilesAndDrawsTheRest)
{
    // Installed files live in share/kelvane/AVI beside the program's bin folder: here, beside
    // the folder of this test program. A test running at the same time may copy them, so each
    // one appears whole and any it copies still plays.
    const QString installed = QDir::cleanPath(QCoreApplication::applicationDirPath() + u"/../share/kelvane/AVI"_s);
    if (QDir(installed).exists())
        GTEST_SKIP() << "animations are already installed at " << installed.toStdString();
    if (!QDir().mkpath(installed))
        GTEST_SKIP() << "cannot make " << installed.toStdString();
    const auto removeInstalled = qScopeGuard([&] {
        QDir(installed).removeRecursively();
        QDir().rmpath(QDir::cleanPath(installed + u"/.."_s)); // and share/kelvane, when left empty
    });
    auto install = [&](const QString& name, const QByteArray& bytes) {
        QSaveFile file(installed + u'/' + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        ASSERT_TRUE(file.commit());
    };
    const QByteArray moving = animationBytes(Animation::FileMove);
    install(u"FINDFILE.AVI"_s, moving);
    install(u"SEARCH.AVI"_s, QByteArray()); // unusable: drawn instead

    QTemporaryDir directory;
    writeMissingAnimations(pathFromUnicode(directory.path()));

    auto written = [&](Animation animation) {
        QFile file(directory.filePath(u"AVI/"_s + animationFileName(animation)));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    EXPECT_EQ(written(Animation::FindFile), moving);
    EXPECT_EQ(written(Animation::Search), animationBytes(Animation::Search));
    EXPECT_EQ(written(Animation::FileMove), moving);
}

} // namespace
} // namespace Kelvane::Testing
