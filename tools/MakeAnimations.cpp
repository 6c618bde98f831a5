// Writes the three animations the forms play into a folder, for installing with the program:
//   make_animations FOLDER
#include "accessories/AviFiles.h"

#include <QDir>
#include <QSaveFile>
#include <cstdio>

using namespace Kelvane;
using namespace Qt::StringLiterals;

int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fputs("usage: make_animations FOLDER\n", stderr);
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    if (!folder.mkpath(u"."_s)) {
        std::fprintf(stderr, "make_animations: cannot make %s\n", argv[1]);
        return 1;
    }
    for (Animation animation : { Animation::FindFile, Animation::Search, Animation::FileMove }) {
        QSaveFile file(folder.filePath(animationFileName(animation)));
        if (!file.open(QIODevice::WriteOnly) || file.write(animationBytes(animation)) < 0 || !file.commit()) {
            std::fprintf(stderr, "make_animations: cannot write %s\n", qPrintable(file.fileName()));
            return 1;
        }
    }
    return 0;
}
